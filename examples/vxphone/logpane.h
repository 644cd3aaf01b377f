#pragma once

#include <common/logger/logger.h>

#include <QPlainTextEdit>

/// A logger in front of log4cpp that emits each line, too, from any thread.
class PaneLogger : public QObject, public common::logger::Logger
{
    Q_OBJECT

public:
    PaneLogger() { SetLevel(common::logger::Info); }

    void Write(const common::logger::IMessage& message) override;

Q_SIGNALS:
    void written(const QString& line);
};

/// Shows the newest lines of a log.
class LogPane : public QPlainTextEdit
{
public:
    explicit LogPane(const PaneLogger& logger);

protected:
    void showEvent(QShowEvent* event) override;
};
