#pragma once

#include <QNetworkReply>
#include <QObject>

namespace common::http
{

/**
 * Finds the first moment at which a reply can be deleted.
 *
 * Qt goes on working in a reply after it has emitted a signal, so a reply must not be deleted from a slot
 * that hangs on one of its signals, however far down the stack. A reply of Qt does its work while it handles
 * an event or inside its own abort() and close(). The guard takes every event of the reply to see it begin
 * and end.
 *
 * It is a child of the reply and dies with it.
 */
class ReplyGuard final : public QObject
{
    Q_OBJECT

public:
    explicit ReplyGuard(QNetworkReply* reply_);

    /// Tells that a signal of `reply` is on the stack. Only needed where it was not emitted from an event.
    static void NoteEmission(QNetworkReply* reply);

    /// Aborts `reply` if it still runs, and deletes it: now, or, if work of the reply is on the stack, as
    /// soon as that has returned.
    static void Delete(QNetworkReply* reply);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void NoteWork();
    void EndWork();

    QNetworkReply* reply;
    int depth = 0; ///< How many events of the reply, and other work in it, are on the stack.
    bool deleteRequested = false;
};

} // namespace common::http
