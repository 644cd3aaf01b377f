#include "panels.h"

#include <QAction>
#include <QListWidget>
#include <QLocale>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace
{

QListWidget* CreateList(const QString& textIfEmpty, CallBanner& banner)
{
    auto* const list = new QListWidget;
    list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    QLabel* const explanation = CreateExplanation(textIfEmpty, list);
    QObject::connect(list->model(), &QAbstractItemModel::modelReset, explanation, &QWidget::show);
    QObject::connect(list->model(), &QAbstractItemModel::rowsInserted, explanation, &QWidget::hide);
    QObject::connect(list, &QListWidget::itemActivated, &banner, [&banner](const QListWidgetItem* item) {
        banner.Call(item->data(Qt::UserRole).toString());
    });
    return list;
}

/// Adds an entry that shows `details` below its title.
void AddEntry(QListWidget* list, const QString& title, const QString& details, const QString& address)
{
    const QIcon icon = SymbolIcon(ReadAddress(address).symbol);
    auto* const item = new QListWidgetItem(icon, title + u'\n' + details, list);
    item->setToolTip(Qt::convertFromPlainText(item->text()));
    item->setData(Qt::UserRole, address);
}

void ShowBook(const PhoneBook& book, QListWidget* contacts, QListWidget* calls)
{
    const int contactRow = contacts->currentRow();
    const int callRow = calls->currentRow();
    contacts->clear();
    for (const Contact& contact : book.Contacts()) {
        AddEntry(contacts, contact.name, ReadAddress(contact.address).shown, contact.address);
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

} // namespace

QWidget* CreatePeoplePanel(PhoneBook& book, CallBanner& banner)
{
    auto* const panel = new QWidget;
    auto* const contacts = CreateList(QWidget::tr("No contacts yet.\nType an address and add it."), banner);
    auto* const calls = CreateList(QWidget::tr("No calls yet."), banner);
    auto* const layout = new QVBoxLayout(panel);
    layout->setContentsMargins(12, 12, 0, 6);
    layout->addWidget(CreateTitle(QWidget::tr("C&ontacts"), contacts));
    layout->addWidget(contacts, 3);
    layout->addWidget(CreateTitle(QWidget::tr("&Recent calls"), calls));
    layout->addWidget(calls, 2);

    QAction* const remove =
        contacts->addAction(QWidget::tr("&Delete contact"), QKeySequence::Delete, &book,
                            [&book, contacts] { book.RemoveContact(contacts->currentRow()); });
    remove->setShortcutContext(Qt::WidgetShortcut);
    contacts->setContextMenuPolicy(Qt::ActionsContextMenu);
    panel->addAction(remove);
    panel->addAction(QWidget::tr("&Undo delete"), QKeySequence::Undo, &book, &PhoneBook::RestoreContact);

    const auto showBook = [&book, contacts, calls] { ShowBook(book, contacts, calls); };
    QObject::connect(&book, &PhoneBook::changed, panel, showBook);
    showBook();
    return panel;
}
