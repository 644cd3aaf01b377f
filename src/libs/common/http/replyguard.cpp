#include "replyguard.h"

#include <QPointer>
#include <QThread>

namespace common::http
{

namespace
{

ReplyGuard* GuardOf(const QNetworkReply* reply)
{
    return reply->findChild<ReplyGuard*>(QString(), Qt::FindDirectChildrenOnly);
}

} // namespace

ReplyGuard::ReplyGuard(QNetworkReply* reply_)
    : QObject(reply_)
    , reply(reply_)
{
    reply->installEventFilter(this);
    // The first signal of both abort() and close().
    connect(reply, &QNetworkReply::aboutToClose, this, &ReplyGuard::NoteWork);
}

void ReplyGuard::NoteEmission(QNetworkReply* reply)
{
    GuardOf(reply)->NoteWork();
}

void ReplyGuard::Delete(QNetworkReply* reply)
{
    const QPointer<ReplyGuard> guard = GuardOf(reply);
    if (reply->isRunning()) {
        ++guard->depth;
        reply->abort();
        if (guard.isNull()) {
            return;
        }
        --guard->depth;
    }
    if (guard->depth > 0) {
        guard->deleteRequested = true;
    } else {
        delete reply;
    }
}

bool ReplyGuard::eventFilter(QObject* watched, QEvent* event)
{
    const QPointer<ReplyGuard> self = this;
    ++depth;
    watched->event(event);
    if (!self.isNull()) {
        EndWork();
    }
    return true;
}

void ReplyGuard::NoteWork()
{
    if (depth > 0) {
        return;
    }
    ++depth;
    // Qt runs a deferred deletion in the loop that it was asked for in, not in one nested in it. Without any
    // loop that does not hold: such a reply is left to its manager.
    if (QThread::currentThread()->loopLevel() > 0) {
        auto* mark = new QObject;
        connect(mark, &QObject::destroyed, this, &ReplyGuard::EndWork);
        mark->deleteLater();
    }
}

void ReplyGuard::EndWork()
{
    if (--depth == 0 && deleteRequested) {
        delete reply;
    }
}

} // namespace common::http
