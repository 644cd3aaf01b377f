#pragma once

#include "phonebook.h"
#include "widgets.h"

#include <common/idle/idlewatcher.h>

#include <QElapsedTimer>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSharedPointer>
#include <QStatusBar>
#include <QThreadPool>
#include <QTimer>

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
    void contactDeleted(const QString& name);

private:
    void CreateActions();
    void DeleteContact();
    void ShowBook();

    PhoneBook& book;
    QListWidget* contacts;
    QListWidget* calls;
};

/// Creates a chat with an echo. QDesktopServices opens its links.
QWidget* CreateChatPanel();

/// Presence of the user, the schemes of call links that open with this program, and the date.
class StatusLine : public QStatusBar
{
    Q_OBJECT

public:
    StatusLine();

    void HandleLinks(bool handle); ///< Makes this program the handler of call links, or no longer.

private:
    void ShowPresence(int idleSeconds);
    void ShowDate();
    void ShowSchemes();

    QSharedPointer<common::IdleWatcher> idleWatcher;
    Line* presence;
    QLabel* schemes;
    QLabel* date;
    QThreadPool schemeWorker; ///< The desktop may be slow. Of one thread, to keep the order of changes.
};
