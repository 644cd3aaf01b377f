#pragma once

#include <QProcess>
#include <QStringList>

/// Runs a virtual X server and sets DISPLAY to it.
class XServer
{
public:
    XServer()
    {
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        // Xvfb selects a free display and writes its number to the descriptor as soon as it accepts clients.
        process.start("Xvfb",
                      {"-displayfd", "1", "-screen", "0", "640x480x24", "-nolisten", "tcp", "-noreset"});
        process.waitForReadyRead(30000);
        qputenv("DISPLAY", ':' + process.readAllStandardOutput().trimmed());
    }
    ~XServer()
    {
        qunsetenv("DISPLAY");
        process.terminate();
        process.waitForFinished();
    }

    /// Sends input through xdotool. Returns whether that worked.
    static bool Act(const QStringList& action) { return QProcess::execute("xdotool", action) == 0; }

private:
    QProcess process;
};
