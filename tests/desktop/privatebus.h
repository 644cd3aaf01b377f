#pragma once

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

/// A separate D-Bus daemon without access restrictions.
class PrivateBus
{
public:
    /// @param type "session" or "system"; sets the environment variable of that bus to this one
    explicit PrivateBus(const QByteArray& type)
    {
        QFile config(dir.filePath("bus.conf"));
        static_cast<void>(config.open(QIODevice::WriteOnly));
        config.write("<busconfig><type>" + type + "</type><listen>unix:path=" + Path() +
                     "</listen><auth>EXTERNAL</auth><policy context=\"default\">"
                     "<allow send_destination=\"*\" eavesdrop=\"true\"/><allow eavesdrop=\"true\"/>"
                     "<allow own=\"*\"/></policy></busconfig>");
        config.close();
        process.start("dbus-daemon", {"--nofork", "--print-address", "--config-file=" + config.fileName()});
        process.waitForReadyRead(30000);
        qputenv("DBUS_" + type.toUpper() + "_BUS_ADDRESS", "unix:path=" + Path());
    }
    ~PrivateBus()
    {
        process.terminate();
        process.waitForFinished();
    }

    bool IsRunning() const { return process.state() == QProcess::Running; }
    qint64 ProcessId() const { return process.processId(); }
    QByteArray Path() const { return QFile::encodeName(dir.filePath("bus")); }

private:
    QTemporaryDir dir;
    QProcess process;
};
