#pragma once

#include <common/logger/logger.h>

#include <QPlainTextEdit>

#include <atomic>

namespace vxphone
{

/// Shows the newest log lines.
class LogPane : public QPlainTextEdit
{
    Q_OBJECT

public:
    explicit LogPane(QWidget* parent = nullptr);

private:
    bool followsEnd = true; ///< Until the user scrolls away from it.
};

/// A logger in front of the real one that shows its lines in a pane, too. Lines may come from any thread.
class PaneLogger : public QObject, public common::logger::ILogger
{
    Q_OBJECT

public:
    PaneLogger(common::logger::ILogger& next, LogPane* pane);

    void Write(const common::logger::IMessage& message) override;
    int GetLevel() const override;
    void SetLevel(int level) override;
    bool IsSourceShown() const override;
    void SetSourceShown(bool shown) override;
    bool Configure(int level, unsigned int targets, unsigned int options, const QString& pattern,
                   const QString& qtChannel, const QString& configFile, const QString& logFile,
                   const QString& shortLogFile, std::size_t maxFileSize, int maxBackups) override;
    bool LoadConfiguration(const QString& configFile) override;
    void SetFileLoggingEnabled(bool enabled) override;

Q_SIGNALS:
    void written(const QString& line);

private:
    common::logger::ILogger& next;
    std::atomic<int> paneLevel = common::logger::Info; ///< The real one keeps its threshold to itself.
};

} // namespace vxphone
