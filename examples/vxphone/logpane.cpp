#include "logpane.h"

#include <QFontDatabase>
#include <QScrollBar>
#include <QTime>

namespace vxphone
{

namespace
{

constexpr int maxLines = 1000;

QString LevelText(int level)
{
    static const char* const names[] = {"FATAL", "ALERT", "CRIT", "ERROR", "WARN", "NOTICE", "INFO", "DEBUG"};
    const bool known = level >= common::logger::Fatal && level <= common::logger::Debug;
    return known ? QString::fromLatin1(names[level]) : QString::number(level);
}

} // namespace

LogPane::LogPane(QWidget* parent)
    : QPlainTextEdit(parent)
{
    setReadOnly(true);
    setTabChangesFocus(true);
    setLineWrapMode(QPlainTextEdit::NoWrap);
    setMaximumBlockCount(maxLines);
    setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    setAccessibleName(tr("Log"));

    QScrollBar* const bar = verticalScrollBar();
    connect(bar, &QScrollBar::valueChanged, this,
            [this, bar](int value) { followsEnd = value == bar->maximum(); });
    connect(bar, &QScrollBar::rangeChanged, this, [this, bar](int /*minimum*/, int maximum) {
        if (followsEnd) {
            bar->setValue(maximum);
        }
    });
}

PaneLogger::PaneLogger(common::logger::ILogger& next_, LogPane* pane)
    : next(next_)
{
    // Queued, and through the event loop, which knows whether the pane still lives.
    connect(this, &PaneLogger::written, pane, &QPlainTextEdit::appendPlainText, Qt::QueuedConnection);
}

void PaneLogger::Write(const common::logger::IMessage& message)
{
    next.Write(message);
    if (message.GetLevel() > paneLevel) {
        return;
    }
    const common::logger::Channel* const channel = message.GetChannel();
    const QString name = channel != nullptr ? QString::fromUtf8(channel->name) : QString();
    Q_EMIT written(QStringLiteral("%1  %2  %3: %4")
                       .arg(QTime::currentTime().toString(QStringLiteral("HH:mm:ss")),
                            LevelText(message.GetLevel()).leftJustified(6), name, *message.GetText()));
}

int PaneLogger::GetLevel() const
{
    return next.GetLevel();
}

void PaneLogger::SetLevel(int level)
{
    paneLevel = level;
    next.SetLevel(level);
}

bool PaneLogger::IsSourceShown() const
{
    return next.IsSourceShown();
}

void PaneLogger::SetSourceShown(bool shown)
{
    next.SetSourceShown(shown);
}

bool PaneLogger::Configure(int level, unsigned int targets, unsigned int options, const QString& pattern,
                           const QString& qtChannel, const QString& configFile, const QString& logFile,
                           const QString& shortLogFile, std::size_t maxFileSize, int maxBackups)
{
    paneLevel = level;
    return next.Configure(level, targets, options, pattern, qtChannel, configFile, logFile, shortLogFile,
                          maxFileSize, maxBackups);
}

bool PaneLogger::LoadConfiguration(const QString& configFile)
{
    return next.LoadConfiguration(configFile);
}

void PaneLogger::SetFileLoggingEnabled(bool enabled)
{
    next.SetFileLoggingEnabled(enabled);
}

} // namespace vxphone
