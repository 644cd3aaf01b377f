#pragma once

#include <QWidget>

class QLabel;
class QLineEdit;
class QPushButton;

namespace vxphone
{

/// The field for what to call, what the library reads in it, and the call button.
class DialPanel : public QWidget
{
    Q_OBJECT

public:
    explicit DialPanel(QWidget* parent = nullptr);

    /// Puts an address, or a link such as "tel:..." that leads to one, into the field.
    void SetAddress(const QString& address);

Q_SIGNALS:
    void callChanged(bool inCall, const QString& displayText);
    void keepAsked(const QString& address); ///< The address shall become a contact.

private:
    void ShowReading();
    void ToggleCall();

    QLineEdit* address;
    QLabel* kind;
    QLabel* dialled;
    QLabel* shown;
    QPushButton* call;
    QPushButton* keep;
    bool inCall = false;
    QString waiting; ///< An address that came during the call.
};

} // namespace vxphone
