#pragma once

#include <common/vxcommon_export.h>

#include <QObject>
#include <QString>

#include <memory>

class QtLocalPeerPrivate;

/**
 * One of several processes of a program. They determine which one is the primary instance, and send messages
 * to it.
 *
 * The claim is the write lock on a file in the temporary directory. The primary instance listens on a local
 * socket (a Unix domain socket or a named pipe) that only processes of its user can open. Processes of other
 * users, and on Windows of other logon sessions, form separate groups.
 *
 * All members belong to the thread of the object, which needs a running event loop to receive. Failures are
 * reported by qWarning.
 */
class VXCOMMON_EXPORT QtLocalPeer : public QObject
{
    Q_OBJECT

public:
    /**
     * Claims nothing before the first call of isSecondary or sendMessage.
     *
     * @param appId Identity that the processes of the program share; empty for the path of the executable.
     */
    QtLocalPeer(QObject* parent, const QString& appId);
    /// The primary instance stops listening before it gives up its claim. Each message that has been
    /// acknowledged, but not delivered yet, is delivered here.
    ~QtLocalPeer() override;

    /**
     * Returns whether another process is the primary instance. If there is none, this process becomes it, for
     * the lifetime of the object.
     *
     * Returns true, with a warning, if the lock file cannot be opened. If a file of another user occupies its
     * path, or listening fails, this process counts as the primary instance, and no other process can reach
     * it.
     */
    bool isSecondary();

    /**
     * Sends a message to the primary instance and blocks until it is acknowledged. Returns false in the
     * primary instance, and so in a process that becomes it by this call.
     *
     * @param message Up to 16 MiB as UTF-8; the primary instance refuses longer ones.
     * @param timeout Milliseconds: half of it for each of two attempts to connect, 250 ms apart, all of it
     * for the message to be written, and once more for the reply. Negative: no limit for writing and the
     * reply.
     * @return Whether the message was acknowledged. False does not rule out that it arrived.
     */
    bool sendMessage(const QString& message, int timeout);

    /// Returns the identity: as given or, if that was empty, the path of the executable in lower case.
    const QString& applicationId() const;

Q_SIGNALS:
    /// Emitted when a message has been acknowledged and its sender has closed the connection, after 1 s at
    /// the latest.
    void messageReceived(const QString& message);

private Q_SLOTS:
    void receiveConnection();

private:
    Q_DISABLE_COPY(QtLocalPeer)
    friend class QtLocalPeerPrivate;

    const std::unique_ptr<QtLocalPeerPrivate> d;
};
