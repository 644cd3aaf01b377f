#include "panels.h"

#include <QLocale>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace
{

constexpr int addressRole = Qt::UserRole;

QListWidget* CreateList(const QString& textIfEmpty)
{
    auto* const list = new QListWidget;
    list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    list->setVerticalScrollMode(QListWidget::ScrollPerPixel);
    list->setContextMenuPolicy(Qt::ActionsContextMenu);
    QLabel* const explanation = CreateExplanation(textIfEmpty, list);
    QObject::connect(list->model(), &QAbstractItemModel::modelReset, explanation, &QWidget::show);
    QObject::connect(list->model(), &QAbstractItemModel::rowsInserted, explanation, &QWidget::hide);
    return list;
}

/// `details` are shown below the title.
void AddEntry(QListWidget* list, const QString& title, const QString& details, const QString& address)
{
    const QIcon icon = SymbolIcon(ReadAddress(address).symbol);
    auto* const item = new QListWidgetItem(icon, title + u'\n' + details, list);
    item->setToolTip(item->text());
    item->setData(addressRole, address);
}

} // namespace

PeoplePanel::PeoplePanel(PhoneBook& book_)
    : book(book_)
    , contacts(CreateList(tr("No contacts yet.\nType an address and add it.")))
    , calls(CreateList(tr("No calls yet.")))
{
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(12, 12, 0, 6);
    layout->addWidget(CreateTitle(tr("C&ontacts"), contacts));
    layout->addWidget(contacts, 3);
    layout->addWidget(CreateTitle(tr("&Recent calls"), calls));
    layout->addWidget(calls, 2);
    connect(&book, &PhoneBook::changed, this, &PeoplePanel::ShowBook);
    CreateActions();
    ShowBook();
}

void PeoplePanel::CreateActions()
{
    for (QListWidget* const list : {contacts, calls}) {
        const auto call = [this, list] {
            if (const QListWidgetItem* const item = list->currentItem(); item != nullptr) {
                Q_EMIT callAsked(item->data(addressRole).toString());
            }
        };
        connect(list, &QListWidget::itemActivated, this, call);
        list->addAction(tr("Call"), this, call);
    }
    QAction* const remove =
        contacts->addAction(tr("&Delete contact"), QKeySequence::Delete, this, &PeoplePanel::DeleteContact);
    calls->addAction(tr("Clear recent calls"), &book, &PhoneBook::ClearCalls);
    for (QAction* const action : contacts->actions() + calls->actions()) {
        action->setShortcutContext(Qt::WidgetShortcut);
    }
    addAction(remove);
    addAction(tr("&Undo delete"), QKeySequence::Undo, &book, &PhoneBook::RestoreContact);
}

void PeoplePanel::DeleteContact()
{
    if (const int row = contacts->currentRow(); row >= 0) {
        Q_EMIT contactDeleted(book.Contacts().at(row).ShownName());
        book.RemoveContact(row);
    }
}

void PeoplePanel::ShowBook()
{
    const int contactRow = contacts->currentRow();
    const int callRow = calls->currentRow();
    contacts->clear();
    for (const Contact& contact : book.Contacts()) {
        AddEntry(contacts, contact.ShownName(), ReadAddress(contact.address).shown, contact.address);
    }
    calls->clear();
    for (const RecentCall& call : book.Calls()) {
        const QString start = QLocale().toString(call.start.toLocalTime(), QLocale::ShortFormat);
        AddEntry(calls, book.NameOf(call.address), u"%1 · %2"_s.arg(start, DurationText(call.seconds)),
                 call.address);
    }
    contacts->setCurrentRow(qMin(contactRow, contacts->count() - 1));
    calls->setCurrentRow(qMin(callRow, calls->count() - 1));
}
