#pragma once

#include <common/logger/logger.h>

#include <QFontDatabase>
#include <QPlainTextEdit>
#include <QTime>

/// A logger in front of log4cpp that emits each line, too, from any thread.
class PaneLogger : public QObject, public common::logger::Logger
{
    Q_OBJECT

public:
    PaneLogger() { SetLevel(common::logger::Info); }

    void Write(const common::logger::IMessage& message) override
    {
        common::logger::GetLog4cpp()->Write(message);
        if (message.GetLevel() <= GetLevel()) {
            const QString time = QTime::currentTime().toString(Qt::ISODate);
            const QString grade = message.GetLevel() <= common::logger::Error ? tr("Error") : QString();
            const auto* const channel = message.GetChannel();
            Q_EMIT written(QStringLiteral("%1  %2  %3: %4")
                               .arg(time, grade.leftJustified(5),
                                    QString::fromUtf8(channel != nullptr ? channel->name : ""),
                                    *message.GetText()));
        }
    }

Q_SIGNALS:
    void written(const QString& line);
};

/// Shows the newest lines of a log.
class LogPane : public QPlainTextEdit
{
public:
    explicit LogPane(const PaneLogger& logger)
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

protected:
    void showEvent(QShowEvent* event) override
    {
        QPlainTextEdit::showEvent(event);
        moveCursor(QTextCursor::End); // A hidden pane does not follow its text.
    }
};
