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

/// Reads through the C library: QFile takes a pipe that is empty for now, or at its end, for a failure.
bool ReadStandardInput(QByteArray& bytes)
{
    std::array<char, 65536> chunk;
    for (std::size_t size = 1; size > 0;) {
        size = std::fread(chunk.data(), 1, chunk.size(), stdin);
        bytes.append(chunk.data(), static_cast<qsizetype>(size));
    }
    return std::ferror(stdin) == 0 || FailRead(QStringLiteral("standard input"), qt_error_string());
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
    QFile input;
    if (!input.open(stdin, QIODevice::ReadOnly)) {
        return false;
    }
    for (QByteArray line = input.readLine(); !line.isEmpty(); line = input.readLine()) {
        if (line.endsWith('\n')) {
            line.chop(1);
        }
        if (line.endsWith('\r')) {
            line.chop(1);
        }
        allValid = handle(QString::fromUtf8(line)) && allValid;
    }
    return allValid;
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
