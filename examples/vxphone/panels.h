#pragma once

#include "phonebook.h"
#include "widgets.h"

#include <QElapsedTimer>
#include <QPushButton>
#include <QStatusBar>
#include <QTimer>

/// The current call; hidden if there is none. The call is simulated: no sound is sent.
class CallBanner : public QWidget
{
    Q_OBJECT

public:
    explicit CallBanner(PhoneBook& book);

    /// Offers an address or link for a call. Any process of the user may have sent it. Ignores an empty one.
    void TakeAddress(const QString& link);
    /// Calls an address. During a call to another address, offers it afterwards.
    void Call(const QString& address);
    void HangUp();

Q_SIGNALS:
    void began();
    void offered(const QString& address); ///< Also emitted at the end of each call; may then be empty.

private:
    bool IsInCall() const { return ticker.isActive(); }

    PhoneBook& book;
    QString called; ///< The address of the running or last call.
    QString next;
    Line* name;
    Line* details;
    QLabel* time;
    Line* nextLine;
    Line* tones;
    QPushButton* mute;
    QPushButton* hangUp;
    QTimer ticker;
    QElapsedTimer clock;
};

/// Creates the field for the address to call, with the library's interpretation of it. Hidden during a call.
QWidget* CreateDialPanel(PhoneBook& book, CallBanner& banner);

/// Creates the lists of contacts and recent calls. Its actions are those of the menu "Edit".
QWidget* CreatePeoplePanel(PhoneBook& book, CallBanner& banner);

/// Creates a chat with an echo. Its call links are offered for a call.
QWidget* CreateChatPanel(CallBanner& banner);

/// Creates the line with presence, date, and the schemes of call links. Its actions change the schemes.
QStatusBar* CreateStatusLine();
