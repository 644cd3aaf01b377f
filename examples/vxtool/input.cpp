#include "input.h"

#include "output.h"

#include <QFile>

#include <array>
#include <cstddef>
#include <cstdio>

namespace vxtool
{

namespace
{

bool FailRead(const QString& name, const QString& reason)
{
    PrintError(QStringLiteral("vxtool: %1 cannot be read: %2").arg(name, reason));
    return false;
}

// Standard input is read through the C library: QFile takes a pipe that is empty for now for its end.

/// Tells whether reading has come to the end and not to an error, about which it complains.
bool StandardInputWasRead()
{
    return std::ferror(stdin) == 0 || FailRead(QStringLiteral("standard input"), qt_error_string());
}

/// Reads up to the next line feed, which it drops; false at the end.
bool ReadLine(QByteArray& line)
{
    line.clear();
    int byte = std::getc(stdin);
    const bool atEnd = byte == EOF;
    for (; byte != EOF && byte != '\n'; byte = std::getc(stdin)) {
        line.append(static_cast<char>(byte));
    }
    return !atEnd;
}

bool ReadStandardInput(QByteArray& bytes)
{
    std::array<char, 65536> chunk;
    for (std::size_t size = 1; size > 0;) {
        size = std::fread(chunk.data(), 1, chunk.size(), stdin);
        bytes.append(chunk.data(), static_cast<qsizetype>(size));
    }
    return StandardInputWasRead();
}

} // namespace

bool ForEachInput(const QStringList& arguments, const std::function<bool(const QString&)>& handle)
{
    bool allValid = true;
    if (!arguments.isEmpty()) {
        for (const QString& argument : arguments) {
            allValid = handle(argument) && allValid;
        }
        return allValid;
    }
    for (QByteArray line; ReadLine(line);) {
        if (line.endsWith('\r')) {
            line.chop(1);
        }
        allValid = handle(QString::fromUtf8(line)) && allValid;
    }
    return StandardInputWasRead() && allValid;
}

bool ReadInput(const QStringList& arguments, QByteArray& bytes)
{
    if (arguments.isEmpty()) {
        return ReadStandardInput(bytes);
    }
    QFile file(arguments.constFirst());
    if (!file.open(QIODevice::ReadOnly)) {
        return FailRead(file.fileName(), file.errorString());
    }
    bytes = file.readAll();
    return file.error() == QFileDevice::NoError || FailRead(file.fileName(), file.errorString());
}

} // namespace vxtool
