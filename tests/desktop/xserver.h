#pragma once

#include <QProcess>
#include <QStringList>

/// An X server without a screen, and the DISPLAY of this process as long as it lives.
class XServer
{
public:
    XServer()
    {
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        // It picks a free display and writes its number to the descriptor when it is ready.
        process.start("Xvfb",
                      {"-displayfd", "1", "-screen", "0", "640x480x24", "-nolisten", "tcp", "-noreset"});
        if (process.waitForReadyRead(30000)) {
            qputenv("DISPLAY", ':' + process.readAllStandardOutput().trimmed());
            running = true;
        }
    }
    ~XServer()
    {
        qunsetenv("DISPLAY");
        process.terminate();
        if (!process.waitForFinished()) {
            process.kill();
            process.waitForFinished();
        }
    }

    bool IsRunning() const { return running; }

    /// Acts as the user, by xdotool; whether that worked.
    static bool Act(const QStringList& action) { return QProcess::execute("xdotool", action) == 0; }

private:
    Q_DISABLE_COPY(XServer)

    QProcess process;
    bool running = false;
};
