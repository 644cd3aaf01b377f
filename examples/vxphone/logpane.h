#pragma once

#include <common/logger/logger.h>

#include <QFontDatabase>
#include <QPlainTextEdit>
#include <QTime>

/// A logger that shows the latest lines and forwards all lines to log4cpp.
class LogPane : public QPlainTextEdit, public common::logger::Logger
{
public:
    LogPane()
    {
        SetLevel(common::logger::Info);
        setReadOnly(true);
        setTabChangesFocus(true);
        setLineWrapMode(NoWrap);
        setMaximumBlockCount(1000);
        setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
        setAccessibleName(tr("Log"));
    }

    void Write(const common::logger::IMessage& message) override ///< Can be called from any thread.
    {
        common::logger::GetLog4cpp()->Write(message);
        if (message.GetLevel() <= GetLevel()) {
            const auto* const channel = message.GetChannel();
            const QString name = QString::fromUtf8(channel != nullptr ? channel->name : "");
            const QString time = QTime::currentTime().toString();
            const QString line = QStringLiteral("%1  %2: %3").arg(time, name, *message.GetText());
            QMetaObject::invokeMethod(
                this, [this, line] { appendPlainText(line); }, Qt::QueuedConnection);
        }
    }

protected:
    void showEvent(QShowEvent* event) override
    {
        QPlainTextEdit::showEvent(event);
        moveCursor(QTextCursor::End); // A hidden pane does not scroll to new lines.
    }
};
