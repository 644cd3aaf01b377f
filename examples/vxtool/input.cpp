#include "input.h"

#include "command.h"

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
    return Complain(u"cannot read %1: %2"_s.arg(name, reason));
}

// Standard input is read through the C library, because QFile treats an empty pipe as the end of the input.

/// Returns whether standard input was read without an error. If not, prints the error.
bool StandardInputWasRead()
{
    return std::ferror(stdin) == 0 || FailRead(u"standard input"_s, qt_error_string());
}

/// Reads the next line, without its line feed. Returns false at the end of the input.
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

bool ReadInput(const QString& path, QByteArray& bytes)
{
    if (path == "-"_L1) {
        return ReadStandardInput(bytes);
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return FailRead(path, file.errorString());
    }
    bytes = file.readAll();
    return file.error() == QFileDevice::NoError || FailRead(path, file.errorString());
}

bool ReadInput(const QStringList& arguments, QByteArray& bytes)
{
    return arguments.size() > 1 ? Complain(u"only one file can be read"_s)
                                : ReadInput(arguments.value(0, u"-"_s), bytes);
}

bool ReadNumber(const QCommandLineParser& parser, const Option& option, qint64 least, qint64 most,
                qint64& number)
{
    if (!parser.isSet(option)) {
        return true;
    }
    bool ok = false;
    number = parser.value(option).toLongLong(&ok);
    return (ok && number >= least && number <= most) ||
           Misused(
               u"--%1 takes a number from %2 to %3"_s.arg(option.names().constLast()).arg(least).arg(most));
}

bool ReadSeconds(const QCommandLineParser& parser, const Option& option, double& seconds)
{
    constexpr double day = 24 * 60 * 60;
    if (!parser.isSet(option)) {
        return true;
    }
    bool ok = false;
    seconds = parser.value(option).toDouble(&ok);
    return (ok && seconds >= 0 && seconds <= day) ||
           Misused(u"--%1 takes seconds, from 0 to %2"_s.arg(option.names().constLast()).arg(day));
}

} // namespace vxtool
