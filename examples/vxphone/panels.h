#pragma once

#include <QElapsedTimer>
#include <QListWidget>
#include <QTimer>

#include <functional>

class QLabel;
class QLineEdit;
class QPushButton;
class QStatusBar;

namespace common
{
class IdleWatcher;
}

namespace vxphone
{

class Line;
class PhoneBook;

/// The field for the address to call, what the library reads in it, and the call button.
class DialPanel : public QWidget
{
    Q_OBJECT

public:
    explicit DialPanel(const PhoneBook& book);

    void SetAddress(const QString& address);

Q_SIGNALS:
    void callAsked(const QString& address);
    void addAsked(const QString& address); ///< The user wants the address to become a contact.

private:
    void ShowReading();

    const PhoneBook& book;
    QLineEdit* field;
    QPushButton* call;
    QPushButton* add;
    Line* reading;
};

/// The call that is going on. No sound is sent anywhere: the call is simulated.
class CallBanner : public QWidget
{
    Q_OBJECT

public:
    CallBanner();

    void Begin(const QString& name, const QString& address);
    void ShowNext(const QString& name); ///< The party to call after this call.
    void HangUp();
    bool IsInCall() const { return clock.isValid(); }

Q_SIGNALS:
    void ended(int seconds);

private:
    void CreateSwitches(); ///< Mute and keypad.
    void CreateKeypad();
    void ShowTime();

    QLabel* avatar;
    Line* name;
    Line* details;
    QLabel* time;
    Line* next;
    Line* tones;
    QPushButton* mute;
    QPushButton* keypadButton;
    QPushButton* hangUp;
    QWidget* keypad;
    QTimer ticker;
    QElapsedTimer clock; ///< Valid during a call.
};

/// A list of two-line entries, each with a picture, that explains itself when it is empty.
class PeopleList : public QListWidget
{
    Q_OBJECT

public:
    PeopleList(const QString& emptySymbol, const QString& emptyText);

    /// Without a symbol, the picture is the avatar of the name.
    void AddEntry(const QString& title, const QString& subtitle, const QString& symbol = QString());
    void AddMenuAction(const QString& text, const QKeySequence& key, const std::function<void()>& action);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString emptySymbol;
    QString emptyText;
};

/// Contacts and recent calls.
class PeoplePanel : public QWidget
{
    Q_OBJECT

public:
    explicit PeoplePanel(PhoneBook& book);

    void DeleteContact();
    void UndoDelete();

Q_SIGNALS:
    void callAsked(const QString& address);

private:
    void CreateMenus();
    void ShowBook();

    PhoneBook& book;
    PeopleList* contacts;
    PeopleList* calls;
    QWidget* undoBar; ///< Visible for a moment after a contact was deleted.
    Line* undoText;
    QTimer undoTimer;
};

/// Creates a chat with an echo, with `actions` as buttons above it. `call` takes the links that lead to an
/// address to call.
QWidget* CreateChatPanel(const QList<QAction*>& actions,
                         const std::function<void(const QString& link)>& call);

/// Creates the status bar: presence of the user, `schemeState`, and the date. `idleWatcher` is not owned.
QStatusBar* CreateStatusLine(const common::IdleWatcher& idleWatcher, QWidget* schemeState);

} // namespace vxphone
