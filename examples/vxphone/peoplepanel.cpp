#include "panels.h"

#include "address.h"
#include "appearance.h"
#include "phonebook.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLocale>
#include <QPushButton>

namespace vxphone
{

namespace
{

QString CallText(const RecentCall& call)
{
    const QDateTime start = call.start.toLocalTime();
    const QString time = QLocale().toString(start.time(), QLocale::ShortFormat);
    const bool isToday = start.date() == QDate::currentDate();
    const QString moment =
        isToday ? time : QLocale().toString(start.date(), QLocale::ShortFormat) + u' ' + time;
    return QStringLiteral("%1 · %2:%3")
        .arg(moment)
        .arg(call.seconds / 60)
        .arg(call.seconds % 60, 2, 10, QChar(u'0'));
}

QLabel* CreateTitle(const QString& text, QWidget* buddy)
{
    auto* const title = new QLabel(text);
    title->setObjectName(QStringLiteral("title"));
    title->setBuddy(buddy);
    return title;
}

} // namespace

PeoplePanel::PeoplePanel(PhoneBook& book_)
    : book(book_)
    , contacts(new PeopleList(QStringLiteral("person"), tr("No contacts yet.\nType an address and add it.")))
    , calls(new PeopleList(QStringLiteral("clock"), tr("No calls yet.")))
    , undoBar(new QWidget)
    , undoText(new Line)
{
    auto* const undo = new QPushButton(tr("Undo"));
    auto* const undoLayout = new QHBoxLayout(undoBar);
    undoLayout->setContentsMargins(0, 0, 0, 0);
    undoLayout->addWidget(undoText, 1);
    undoLayout->addWidget(undo);
    undoBar->hide();
    contacts->setAccessibleName(tr("Contacts"));
    calls->setAccessibleName(tr("Recent calls"));

    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(CreateTitle(tr("C&ontacts"), contacts));
    layout->addWidget(contacts, 3);
    layout->addWidget(undoBar);
    layout->addWidget(CreateTitle(tr("&Recent calls"), calls));
    layout->addWidget(calls, 2);

    connect(undo, &QPushButton::clicked, this, &PeoplePanel::UndoDelete);
    undoTimer.setSingleShot(true);
    undoTimer.setInterval(10'000);
    connect(&undoTimer, &QTimer::timeout, undoBar, &QWidget::hide);
    connect(&book, &PhoneBook::changed, this, &PeoplePanel::ShowBook);
    CreateMenus();
    ShowBook();
}

void PeoplePanel::CreateMenus()
{
    const auto addressOf = [this](const PeopleList* list) {
        const int row = list->currentRow();
        return row < 0            ? QString()
               : list == contacts ? book.Contacts().at(row).address
                                  : book.Calls().at(row).address;
    };
    for (PeopleList* const list : {contacts, calls}) {
        const auto call = [this, list, addressOf] {
            if (const QString address = addressOf(list); !address.isEmpty()) {
                Q_EMIT callAsked(address);
            }
        };
        connect(list, &QListWidget::itemActivated, this, call);
        list->AddMenuAction(tr("Call"), QKeySequence(), call);
        list->AddMenuAction(tr("Copy address"), QKeySequence::Copy,
                            [list, addressOf] { QGuiApplication::clipboard()->setText(addressOf(list)); });
    }
    contacts->AddMenuAction(tr("Delete contact"), QKeySequence::Delete, [this] { DeleteContact(); });
    calls->AddMenuAction(tr("Clear recent calls"), QKeySequence(), [this] { book.ClearCalls(); });
}

void PeoplePanel::DeleteContact()
{
    if (const int row = contacts->currentRow(); row >= 0) {
        undoText->Show(tr("%1 deleted").arg(book.Contacts().at(row).ShownName()));
        undoBar->show();
        undoTimer.start();
        book.RemoveContact(row);
    }
}

void PeoplePanel::UndoDelete()
{
    undoBar->hide();
    book.RestoreContact();
}

void PeoplePanel::ShowBook()
{
    const int contactRow = contacts->currentRow();
    const int callRow = calls->currentRow();
    contacts->clear();
    for (const Contact& contact : book.Contacts()) {
        contacts->AddEntry(contact.ShownName(), Read(contact.address).shown);
    }
    calls->clear();
    for (const RecentCall& call : book.Calls()) {
        calls->AddEntry(book.NameOf(call.address), CallText(call), QStringLiteral("outgoing"));
    }
    contacts->setCurrentRow(qMin(contactRow, contacts->count() - 1));
    calls->setCurrentRow(qMin(callRow, calls->count() - 1));
}

} // namespace vxphone
