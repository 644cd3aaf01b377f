#include "logpane.h"

#include <QFontDatabase>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTime>

#include <algorithm>

namespace vxphone
{

PaneLogger::PaneLogger(common::logger::ILogger& next_)
    : next(next_)
    , pane(new QPlainTextEdit)
{
    constexpr int maxLines = 1000;
    SetLevel(common::logger::Info);
    pane->setReadOnly(true);
    pane->setTabChangesFocus(true);
    pane->setLineWrapMode(QPlainTextEdit::NoWrap);
    pane->setMaximumBlockCount(maxLines);
    pane->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    pane->setAccessibleName(tr("Log"));

    // The pane's own following stops while it is hidden.
    QScrollBar* const bar = pane->verticalScrollBar();
    connect(bar, &QScrollBar::valueChanged, pane,
            [this, bar](int value) { followsEnd = value == bar->maximum(); });
    connect(bar, &QScrollBar::rangeChanged, pane, [this, bar](int /*minimum*/, int maximum) {
        if (followsEnd) {
            bar->setValue(maximum);
        }
    });
    // Queued, and through the event loop, which knows whether the pane still lives.
    connect(this, &PaneLogger::written, pane, &QPlainTextEdit::appendPlainText, Qt::QueuedConnection);
}

void PaneLogger::Write(const common::logger::IMessage& message)
{
    next.Write(message);
    if (message.GetLevel() > GetLevel()) {
        return;
    }
    static const char* const names[] = {"FATAL", "ALERT", "CRIT", "ERROR", "WARN", "NOTICE", "INFO", "DEBUG"};
    const int known = std::clamp<int>(message.GetLevel(), common::logger::Fatal, common::logger::Debug);
    const common::logger::Channel* const channel = message.GetChannel();
    Q_EMIT written(QStringLiteral("%1  %2  %3: %4")
                       .arg(QTime::currentTime().toString(QStringLiteral("HH:mm:ss")),
                            QString::fromLatin1(names[known]).leftJustified(6),
                            QString::fromUtf8(channel != nullptr ? channel->name : ""), *message.GetText()));
}

} // namespace vxphone
