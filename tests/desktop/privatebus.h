#pragma once

#include <files/filetree.h>

#include <QProcess>
#include <QTemporaryDir>

/// A separate D-Bus daemon without access restrictions.
class PrivateBus
{
public:
    /// @param type "session" or "system"; selects the environment variable that receives the address
    explicit PrivateBus(const QByteArray& type)
    {
        const QString config = dir.filePath("bus.conf");
        filetree::Write(config,
                        "<busconfig><type>" + type + "</type><listen>unix:path=" + Path() +
                            "</listen><auth>EXTERNAL</auth><policy context=\"default\">"
                            "<allow send_destination=\"*\" eavesdrop=\"true\"/><allow eavesdrop=\"true\"/>"
                            "<allow own=\"*\"/></policy></busconfig>");
        process.start("dbus-daemon", {"--nofork", "--print-address", "--config-file=" + config});
        process.waitForReadyRead(30000);
        qputenv("DBUS_" + type.toUpper() + "_BUS_ADDRESS", "unix:path=" + Path());
    }
    ~PrivateBus()
    {
        process.terminate();
        process.waitForFinished();
    }

    qint64 ProcessId() const { return process.processId(); }
    QByteArray Path() const { return QFile::encodeName(dir.filePath("bus")); }

private:
    QTemporaryDir dir;
    QProcess process;
};
