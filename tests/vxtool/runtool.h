#pragma once

#include <QByteArray>
#include <QProcess>
#include <QStringList>

/// How a run of vxtool ended; the exit code is -1 if it crashed or did not end.
struct Result
{
    int exitCode;
    QByteArray output;
    QByteArray error;
};

inline Result RunTool(const QStringList& arguments, const QByteArray& input = QByteArray())
{
    QProcess process;
    process.start(QStringLiteral(VXTOOL_PROGRAM), arguments);
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit) {
        return {-1, process.readAllStandardOutput(), process.errorString().toUtf8()};
    }
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
}
