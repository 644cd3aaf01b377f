#pragma once

#include <files/filetree.h>

#include <QMap>
#include <QProcess>
#include <QRegularExpression>
#include <QSettings>
#include <QTemporaryDir>

#include <memory>

/// Sets up a separate home directory, and reads the user's settings tree in the system's format.
class UserTree
{
public:
    UserTree()
    {
        qputenv("HOME", QFile::encodeName(home.path()));
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(ConfigPath()));
        qputenv("XDG_DATA_HOME", QFile::encodeName(DataPath()));
        qputenv("DISPLAY", ":none"); // The tools check that it is set, but do not connect.
        for (const char* variable : {"XDG_CURRENT_DESKTOP", "DBUS_SESSION_BUS_ADDRESS"}) {
            qunsetenv(variable);
        }
    }

    QString ConfigPath(const QString& name = QString()) const { return home.filePath("config/" + name); }
    QString DataPath(const QString& name = QString()) const { return home.filePath("data/" + name); }

    static std::unique_ptr<QSettings> Open()
    {
#ifdef Q_OS_WIN
        return std::make_unique<QSettings>("HKEY_CURRENT_USER", QSettings::NativeFormat);
#else
        return std::make_unique<QSettings>(qEnvironmentVariable("XDG_CONFIG_HOME") + "/vxcommon/registry.ini",
                                           QSettings::IniFormat);
#endif
    }

    /// Returns all values below `key`.
    static QMap<QString, QString> Below(const QString& key)
    {
        QMap<QString, QString> values;
        const auto tree = Open();
        tree->beginGroup(key);
        for (const QString& name : tree->allKeys()) {
            // On Windows, QSettings lists unnamed registry values as ".".
            values.insert(QString(name).replace(QRegularExpression("(^|/)\\.$"), "\\1Default"),
                          tree->value(name).toString());
        }
        return values;
    }

    /// Returns the output of a program, or "failed: " and its error output.
    static QByteArray Run(const QString& program, const QStringList& arguments)
    {
        QProcess process;
        process.start(program, arguments);
        const bool done = process.waitForFinished(60000) && process.exitCode() == 0;
        return done ? process.readAllStandardOutput().trimmed() : "failed: " + process.readAllStandardError();
    }

private:
    QTemporaryDir home;
};
