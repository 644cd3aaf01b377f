#pragma once

#include <QJsonArray>
#include <QWidget>

#include <functional>

class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QStatusBar;

namespace common
{
class IdleWatcher;
}

namespace vxphone
{

/// The field for what to call, what the library reads in it, and the call button.
class DialPanel : public QWidget
{
    Q_OBJECT

public:
    DialPanel();

    /// Puts an address, or a link such as "tel:..." that leads to one, into the field; during a call not
    /// until it has ended.
    void SetAddress(const QString& text);

Q_SIGNALS:
    void callChanged(bool inCall, const QString& displayText);
    void addressWaits(const QString& address); ///< For the end of the call.
    void keepAsked(const QString& address);    ///< The address shall become a contact.

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

/// The contacts, kept in an enciphered JSON file.
class ContactPanel : public QWidget
{
    Q_OBJECT

public:
    explicit ContactPanel(const QString& fileName);

    void Add(const QString& address); ///< Asks for the name.

Q_SIGNALS:
    void chosen(const QString& address);

private:
    void Load();
    void Save() const;
    void Insert(const QJsonObject& contact);

    QString fileName;
    QJsonArray contacts; ///< In the order of the list.
    bool saves = true;   ///< Off while a file that cannot be read stands in the way.
    QListWidget* list;
};

/// Makes a chat with oneself, whose links can be clicked. `call` takes those that lead to an address to call.
QWidget* CreateChatPanel(const std::function<void(const QString& link)>& call);

/// Makes the status bar: what the system tells of the user, of sleep and of the date, and `schemeState`.
/// `idleWatcher` is not owned.
QStatusBar* CreateStatusLine(const common::IdleWatcher& idleWatcher, QLabel* schemeState);

} // namespace vxphone
