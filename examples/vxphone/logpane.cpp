#include "logpane.h"

#include <QFontDatabase>
#include <QTime>

using namespace Qt::StringLiterals;
using namespace common::logger;

void PaneLogger::Write(const IMessage& message)
{
    GetLog4cpp()->Write(message);
    static const QStringList names{u"FATAL"_s, u"ALERT"_s,  u"CRIT"_s, u"ERROR"_s,
                                   u"WARN"_s,  u"NOTICE"_s, u"INFO"_s, u"DEBUG"_s};
    if (message.GetLevel() <= GetLevel()) {
        const Channel* const channel = message.GetChannel();
        Q_EMIT written(u"%1  %2  %3: %4"_s.arg(
            QTime::currentTime().toString(u"HH:mm:ss"_s), names.value(message.GetLevel()).leftJustified(6),
            QString::fromUtf8(channel != nullptr ? channel->name : ""), *message.GetText()));
    }
}

LogPane::LogPane(const PaneLogger& logger)
{
    constexpr int maxLines = 1000;
    setReadOnly(true);
    setTabChangesFocus(true);
    setLineWrapMode(NoWrap);
    setMaximumBlockCount(maxLines);
    setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    setAccessibleName(tr("Log"));
    // Queued, and through the event loop, which knows whether the pane still lives.
    connect(&logger, &PaneLogger::written, this, &QPlainTextEdit::appendPlainText, Qt::QueuedConnection);
}

void LogPane::showEvent(QShowEvent* event)
{
    QPlainTextEdit::showEvent(event);
    moveCursor(QTextCursor::End); // A hidden pane does not follow its text.
}
