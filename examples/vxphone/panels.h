#pragma once

#include "phonebook.h"
#include "widgets.h"

#include <QElapsedTimer>
#include <QPushButton>
#include <QStatusBar>
#include <QTimer>

/// Shows the current call; hidden if there is none. The call is simulated: no sound is sent.
class CallBanner : public QWidget
{
    Q_OBJECT

public:
    explicit CallBanner(PhoneBook& book);

    /// Offers an address or link for a call, unless it is empty. Any process of the user may have sent it.
    void TakeAddress(const QString& link);
    /// Calls an address. During a call to another address, offers the new address when that call ends.
    void Call(const QString& address);
    void HangUp();

Q_SIGNALS:
    void began();
    void offered(const QString& address); ///< Also emitted when a call ends; `address` may then be empty.

private:
    bool IsInCall() const { return ticker.isActive(); }

    PhoneBook& book;
    QString called; ///< The address of the current or last call.
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

/// Creates the field for the address to call and a line that shows how the address is interpreted. Hidden
/// during a call.
QWidget* CreateDialPanel(PhoneBook& book, CallBanner& banner);

/// Creates the panel with contacts and recent calls. The actions of the panel form the menu "Edit".
QWidget* CreatePeoplePanel(PhoneBook& book, CallBanner& banner);

/// Creates a chat that echoes every message. Clicking a call link offers the address for a call.
QWidget* CreateChatPanel(CallBanner& banner);

/// Creates the status bar with presence, call link schemes and date. The actions of the status bar change
/// the schemes.
QStatusBar* CreateStatusLine();
