#pragma once

#include <common/idle/idlewatcher.h>

#include <QSharedPointer>
#include <QStatusBar>

class QLabel;

namespace vxphone
{

/// The status bar: what the system tells of the user, of sleep and of the date.
class StatusLine : public QStatusBar
{
    Q_OBJECT

public:
    explicit StatusLine(QWidget* parent = nullptr);

    void ShowSchemes(const QStringList& schemes);

private:
    void ShowDate();

    QSharedPointer<common::IdleWatcher> idleWatcher;
    QLabel* presence;
    QLabel* power;
    QLabel* schemeState;
    QLabel* date;
};

} // namespace vxphone
