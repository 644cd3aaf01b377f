#pragma once

#include <QElapsedTimer>
#include <QTimer>
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

    void Begin(const QString& party, const QString& address);
    void ShowNext(const QString& party); ///< The party to call after this call.
    void HangUp();
    bool IsInCall() const { return clock.isValid(); }

Q_SIGNALS:
    void ended(int seconds);

private:
    void CreateLayout();
    void CreateKeypad();
    void ShowTime();

    QLabel* avatar;
    Line* name;
    Line* details;
    QLabel* time;
    Line* next;
    QPushButton* mute;
    QPushButton* keypadSwitch;
    QPushButton* hangUp;
    QWidget* keypad;
    Line* tones;
    QTimer ticker;
    QElapsedTimer clock; ///< Valid during a call.
};

/// Contacts and recent calls. Its actions are those of the menu "Edit".
class PeoplePanel : public QWidget
{
    Q_OBJECT

public:
    explicit PeoplePanel(PhoneBook& book);

Q_SIGNALS:
    void callAsked(const QString& address);

private:
    void CreateActions();
    void DeleteContact();
    void UndoDelete();
    void ShowBook();

    PhoneBook& book;
    QListWidget* contacts;
    QListWidget* calls;
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
