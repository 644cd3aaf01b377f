#include "panels.h"

#include <QLocale>
#include <QPainter>
#include <QStyledItemDelegate>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace
{

constexpr int addressRole = Qt::UserRole;
constexpr int subtitleRole = Qt::UserRole + 1;

/// Draws a quiet second line below the title of an entry, which has an empty line there.
class EntryDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        QStyledItemDelegate::paint(painter, option, index);
        QStyleOptionViewItem entry(option);
        initStyleOption(&entry, index);
        const QStyle* const style = option.widget->style();
        QRect line = style->subElementRect(QStyle::SE_ItemViewItemText, &entry, option.widget);
        const int margin = style->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, option.widget) + 1;
        line.adjust(margin, line.height() / 2, -margin, 0);
        const QString subtitle = index.data(subtitleRole).toString();
        painter->setPen(ToneColour(option.palette, Tone::Quiet));
        painter->drawText(line, Qt::AlignTop,
                          option.fontMetrics.elidedText(subtitle, Qt::ElideRight, line.width()));
    }
};

QListWidget* CreateList(const QString& textIfEmpty)
{
    constexpr int pictureSize = 32;
    auto* const list = new QListWidget;
    list->setItemDelegate(new EntryDelegate(list));
    list->setIconSize({pictureSize, pictureSize});
    list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    list->setVerticalScrollMode(QListWidget::ScrollPerPixel);
    list->setContextMenuPolicy(Qt::ActionsContextMenu);
    QLabel* const explanation = CreateExplanation(textIfEmpty, list);
    QObject::connect(list->model(), &QAbstractItemModel::modelReset, explanation, &QWidget::show);
    QObject::connect(list->model(), &QAbstractItemModel::rowsInserted, explanation, &QWidget::hide);
    return list;
}

void AddEntry(QListWidget* list, const QString& title, const QString& subtitle, const QString& address)
{
    const QPixmap avatar = Avatar(title, list->iconSize().height());
    QIcon icon(avatar);
    icon.addPixmap(avatar, QIcon::Selected); // Not tinted.
    auto* const item = new QListWidgetItem(icon, title + u'\n', list);
    item->setToolTip(title + u'\n' + subtitle);
    item->setData(addressRole, address);
    item->setData(subtitleRole, subtitle);
    item->setData(Qt::AccessibleTextRole, title);
    item->setData(Qt::AccessibleDescriptionRole, subtitle);
}

QString CallText(const RecentCall& call)
{
    const QDateTime start = call.start.toLocalTime();
    const QString moment = start.date() == QDate::currentDate()
                               ? QLocale().toString(start.time(), QLocale::ShortFormat)
                               : QLocale().toString(start.date(), QLocale::ShortFormat);
    return u"%1 · %2"_s.arg(moment, DurationText(call.seconds));
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
        AddEntry(calls, book.NameOf(call.address), CallText(call), call.address);
    }
    contacts->setCurrentRow(qMin(contactRow, contacts->count() - 1));
    calls->setCurrentRow(qMin(callRow, calls->count() - 1));
}
