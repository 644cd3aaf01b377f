#pragma once

#include <QObject>
#include <QThread>

class QGridLayout;
class QLabel;
class QLineEdit;
class QProgressBar;
class QPushButton;

namespace common
{
class FileCopier;
}

namespace vxphone
{

/// One row of the transfers: copies a folder with all that is in it.
class CopyRow : public QObject
{
    Q_OBJECT

public:
    /// Puts its widgets into rows `row` and `row` + 1 of `grid`; copies come into `folder`.
    CopyRow(QGridLayout* grid, int row, const QString& folder, QObject* parent);
    ~CopyRow() override;

    bool IsRunning() const { return copier != nullptr; }
    void Abort(); ///< Ends after the file at hand.

Q_SIGNALS:
    void ended();

private:
    void Toggle();
    void Start();
    void End(const QString& text);

    QString folder;
    QThread thread; ///< The copier's: to abort is to wait for the file at hand, and the window must not wait.
    common::FileCopier* copier = nullptr; ///< Of the running job.
    QLineEdit* source;
    QProgressBar* bar;
    QPushButton* button;
    QLabel* status;
};

} // namespace vxphone
