#pragma once

#include <common/singleapp/qtlocalpeer.h>

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <functional>
#include <memory>

/// Work on a thread of its own, since a lock may belong to a thread. Join keeps the event loop of this one
/// going.
class Thread
{
public:
    explicit Thread(const std::function<void()>& work)
        : thread(QThread::create(work))
    {
        thread->start();
    }
    ~Thread() { Join(); }

    void Join()
    {
        while (!thread->wait(1)) {
            QCoreApplication::processEvents();
        }
    }

private:
    Q_DISABLE_COPY(Thread)

    const std::unique_ptr<QThread> thread;
};

/// What a second process does: hands over a text; whether it was told that it arrived.
inline bool SendFromElsewhere(const QString& appId, const QString& text, int timeout = 20000)
{
    bool sent = false;
    Thread([&] { sent = QtLocalPeer(nullptr, appId).sendMessage(text, timeout); }).Join();
    return sent;
}

/// Whether a newcomer would be a second process.
inline bool IsTaken(const QString& appId)
{
    bool taken = false;
    Thread([&] { taken = QtLocalPeer(nullptr, appId).isSecondary(); }).Join();
    return taken;
}

/// The socket's name, which the lock file has, too; makes that file.
inline QString SocketName(const QString& appId)
{
    const QStringList before = QDir::temp().entryList(QDir::Files);
    const QtLocalPeer peer(nullptr, appId);
    QStringList after = QDir::temp().entryList(QDir::Files);
    for (const QString& name : before) {
        after.removeOne(name);
    }
    const QString name = after.value(0);
    return name.endsWith("-lockfile") ? name.chopped(9) : QString();
}

/// A temporary folder for this run only, which children inherit.
class PrivateTemp : public QTemporaryDir
{
public:
    PrivateTemp()
    {
        for (const char* variable : {"TMPDIR", "TMP", "TEMP"}) {
            qputenv(variable, path().toLocal8Bit());
        }
    }
};
