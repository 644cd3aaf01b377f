#pragma once

#include <common/singleapp/qtlockedfile.h>
#include <common/vxcommon_export.h>

#include <QList>
#include <QObject>
#include <QString>
#include <QTimer>

class QLocalServer;
class QLocalSocket;

namespace QtLP_Private
{
class MessageReceiver;
}

/**
 * One of several processes of a program, which find out who came first and pass texts to that one.
 *
 * The claim of being first is the write lock on a file in the temporary folder; the first process listens on
 * a local socket (a Unix domain socket or a named pipe) that only processes of its user can open. Processes
 * of other users, and on Windows of other logon sessions, form groups of their own.
 *
 * Everything happens on the thread of the object, which needs a running event loop to receive. Complaints go
 * through qWarning.
 */
class VXCOMMON_EXPORT QtLocalPeer : public QObject
{
    Q_OBJECT

public:
    /**
     * Undecided until the first call of isSecondary or sendMessage.
     *
     * @param appId what the processes of a program have in common; empty for the path of the executable
     */
    QtLocalPeer(QObject* parent, const QString& appId);
    ~QtLocalPeer() override; ///< The first process stops listening before it gives up its claim.

    /**
     * Whether another process is the first. If none is, this one becomes it, for the life of the object.
     *
     * True, with a warning, if the lock file cannot be opened. If a file of another user stands in its place,
     * or the socket cannot be opened, this process counts as the first, and nobody can reach it.
     */
    bool isSecondary();

    /**
     * Hands a text to the first process; blocks until that has it. False in the first process, and so in a
     * process that this call makes the first. The first process refuses texts of more than 16 MiB.
     *
     * @param timeout milliseconds: half of it for each of two tries to connect, and the whole for the text to
     * be written and for the answer to it. Negative: no limit, as long as there is a first process. On
     * Windows a try lasts up to 5 s while all instances of the pipe are busy. False does not rule out that
     * the text arrived.
     */
    bool sendMessage(const QString& message, int timeout);

    const QString& applicationId() const { return id; } ///< As given or, if that was empty, as made up.

Q_SIGNALS:
    /// A text has arrived, and its sender has been told so.
    void messageReceived(const QString& message);

private Q_SLOTS:
    void receiveConnection();

private:
    Q_DISABLE_COPY(QtLocalPeer)

    void OpenLockFile();
    void Listen();
    bool Connect(QLocalSocket& socket, int timeout);
    bool HasRoom();
    void OnReceiverFinished(QtLP_Private::MessageReceiver* receiver);

    QString id;
    QString socketName;
    QLocalServer* server;
    QString lockPath; ///< Empty without a temporary folder.
    QtLP_Private::QtLockedFile lockFile;
    bool foreignLockFile = false;
    QList<QtLP_Private::MessageReceiver*> receivers; ///< Oldest first.
    qint64 longTexts = 0;                            ///< Bytes of long texts promised to the receivers.
    QTimer roomTimer{this};                          ///< Runs while clients wait for others to go.
    QTimer listenTimer{this};                        ///< Runs in the first process.
    QString listenProblem;                           ///< Why the last try to listen failed, if it did.
};
