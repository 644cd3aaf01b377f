#include "replyguard.h"

#include <QPointer>

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
    } else if (guard->unseenWork) {
        reply->deleteLater();
    } else {
        delete reply;
    }
}

bool ReplyGuard::eventFilter(QObject* watched, QEvent* event)
{
    const QPointer<ReplyGuard> self = this;
    ++depth;
    watched->event(event);
    if (!self.isNull() && --depth == 0 && deleteRequested) {
        delete reply;
    }
    return true;
}

void ReplyGuard::NoteWork()
{
    unseenWork = unseenWork || depth == 0;
}

} // namespace common::http
