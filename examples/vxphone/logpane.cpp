#include "logpane.h"

#include <QFontDatabase>
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
}

void LogPane::Append(int level, const QString& channel, const QString& text)
{
    appendPlainText(QStringLiteral("%1  %2  %3: %4")
                        .arg(QTime::currentTime().toString(QStringLiteral("HH:mm:ss")),
                             LevelText(level).leftJustified(6), channel, text));
}

PaneLogger::PaneLogger(common::logger::ILogger& next_, LogPane& pane_)
    : next(next_)
    , pane(pane_)
{}

void PaneLogger::Write(const common::logger::IMessage& message)
{
    next.Write(message);
    if (message.GetLevel() > paneLevel) {
        return;
    }
    const common::logger::Channel* const channel = message.GetChannel();
    const QString name = channel != nullptr ? QString::fromUtf8(channel->name) : QString();
    QMetaObject::invokeMethod(
        &pane,
        [&pane = pane, level = message.GetLevel(), name, text = *message.GetText()] {
            pane.Append(level, name, text);
        },
        Qt::QueuedConnection);
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
