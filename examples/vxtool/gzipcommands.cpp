#include "command.h"
#include "input.h"
#include "output.h"

#include <common/tools/qcompressor.h>

namespace vxtool
{

namespace
{

using tools::QCompressor;

const QString levelOption = QStringLiteral("level");
const QString gzipName = QStringLiteral("gzip");
const QString gunzipName = QStringLiteral("gunzip");

void AddGzipOptions(QCommandLineParser& parser)
{
    parser.addOption({levelOption,
                      QStringLiteral("Compression level N, from 0 to 9; zlib's default if not given."),
                      QStringLiteral("N"), QStringLiteral("-1")});
}

int Gzip(const QCommandLineParser& parser)
{
    bool isNumber = false;
    const int level = parser.value(levelOption).toInt(&isNumber);
    if (!isNumber) {
        return FailUsage(QStringLiteral("--level takes a number"), gzipName);
    }
    if (parser.positionalArguments().size() > 1) {
        return FailUsage(QStringLiteral("one file at a time"), gzipName);
    }
    QByteArray input;
    QByteArray output;
    if (!ReadInput(parser.positionalArguments(), input)) {
        return SomeFailed;
    }
    if (!QCompressor::gzipCompress(input, output, level)) {
        PrintError(QStringLiteral("vxtool gzip: the input cannot be packed"));
        return SomeFailed;
    }
    PrintBytes(output);
    return AllValid;
}

int Gunzip(const QCommandLineParser& parser)
{
    if (parser.positionalArguments().size() > 1) {
        return FailUsage(QStringLiteral("one file at a time"), gunzipName);
    }
    QByteArray input;
    QByteArray output;
    if (!ReadInput(parser.positionalArguments(), input)) {
        return SomeFailed;
    }
    const bool isWhole = QCompressor::gzipDecompress(input, output);
    PrintBytes(output);
    if (!isWhole) {
        PrintError(QStringLiteral("vxtool gunzip: the input is no gzip, is damaged or ends too early"));
        return SomeFailed;
    }
    return AllValid;
}

const CommandRegistration registration{
    {gzipName, QStringLiteral("[FILE]"), QStringLiteral("Pack a file or standard input to standard output."),
     AddGzipOptions, Gzip},
    {gunzipName, QStringLiteral("[FILE]"),
     QStringLiteral("Unpack a file or standard input to standard output."), [](QCommandLineParser&) {},
     Gunzip},
};

} // namespace

} // namespace vxtool
