#pragma once

#include <common/vxcommon_export.h>

#include <QObject>
#include <QString>

#include <memory>

class QtLocalPeerPrivate;

/**
 * Represents one of several processes of a program. The processes determine which of them is the primary
 * instance, and send messages to it.
 *
 * The claim is the write lock on a file in the temporary directory. The primary instance listens on a local
 * socket (a Unix domain socket or a named pipe) that only processes of its user can open. Processes of other
 * users, and on Windows of other logon sessions, form separate groups.
 *
 * Call all members on the object's thread, which needs a running event loop to receive messages. Failures are
 * logged with qWarning.
 */
class VXCOMMON_EXPORT QtLocalPeer : public QObject
{
    Q_OBJECT

public:
    /**
     * Does not claim to be the primary instance before the first call of isSecondary or sendMessage.
     *
     * @param appId Identity that the processes of the program share; empty for the path of the executable.
     */
    QtLocalPeer(QObject* parent, const QString& appId);
    /// Stops listening, delivers all acknowledged messages that have not been delivered yet, and then gives
    /// up the claim.
    ~QtLocalPeer() override;

    /**
     * Returns whether another process is the primary instance. If there is none, this process becomes the
     * primary instance for the lifetime of the object.
     *
     * Returns true, with a warning, if the lock file cannot be opened. If a file of another user occupies the
     * path, or listening fails, this process acts as the primary instance, but no other process can reach it.
     */
    bool isSecondary();

    /**
     * Sends a message to the primary instance and blocks until the message is acknowledged. Returns false if
     * this process is the primary instance or becomes the primary instance during the call.
     *
     * @param message Up to 16 MiB as UTF-8; the primary instance refuses longer ones.
     * @param timeout In milliseconds. Each of the two connection attempts, 250 ms apart, may take half of
     * the timeout; writing the message and waiting for the reply may each take the full timeout. Negative
     * values set no limit for writing and waiting.
     * @return Whether the message was acknowledged. If the result is false, the message may still have
     * arrived.
     */
    bool sendMessage(const QString& message, int timeout);

    /// Returns the identity: `appId` or, if it was empty, the path of the executable in lower case.
    const QString& applicationId() const;

Q_SIGNALS:
    /// Emitted after a message has been acknowledged, when its sender closes the connection, or after 1 s at
    /// the latest.
    void messageReceived(const QString& message);

private Q_SLOTS:
    void receiveConnection();

private:
    Q_DISABLE_COPY(QtLocalPeer)
    friend class QtLocalPeerPrivate;

    const std::unique_ptr<QtLocalPeerPrivate> d;
};
