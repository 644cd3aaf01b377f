#pragma once

#include <common/logger/logger.h>

#include <QObject>

class QPlainTextEdit;

namespace vxphone
{

/// A logger in front of the real one that shows the newest lines in a pane, too. Lines may come from any
/// thread.
class PaneLogger : public QObject, public common::logger::Logger
{
    Q_OBJECT

public:
    explicit PaneLogger(common::logger::ILogger& next);

    void Write(const common::logger::IMessage& message) override;
    QPlainTextEdit* Pane() const { return pane; } ///< For a window, which then owns it.

Q_SIGNALS:
    void written(const QString& line);

private:
    common::logger::ILogger& next;
    QPlainTextEdit* pane;
    bool followsEnd = true; ///< Until the user scrolls away from it.
};

} // namespace vxphone
