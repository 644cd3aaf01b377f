#include "panels.h"

#include "address.h"
#include "phonebook.h"
#include "widgets.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QListWidget>
#include <QLocale>
#include <QPainter>
#include <QPushButton>
#include <QStyledItemDelegate>

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

/// A list of two-line entries, each with a picture, that explains itself when it is empty.
class PeopleList : public QListWidget
{
public:
    PeopleList(const QString& emptySymbol_, const QString& emptyText_)
        : emptySymbol(emptySymbol_)
        , emptyText(emptyText_)
    {
        constexpr int pictureSize = 32;
        setItemDelegate(new EntryDelegate(this));
        setIconSize({pictureSize, pictureSize});
        setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        setVerticalScrollMode(ScrollPerPixel);
        setContextMenuPolicy(Qt::ActionsContextMenu);
    }

protected:
    void paintEvent(QPaintEvent* event) override
    {
        QListWidget::paintEvent(event);
        if (count() == 0) {
            PaintEmptyState(viewport(), emptySymbol, emptyText);
        }
    }

private:
    QString emptySymbol;
    QString emptyText;
};

void AddEntry(QListWidget* list, const QString& title, const QString& subtitle, const QString& address)
{
    auto* const item = new QListWidgetItem(Avatar(title, list->iconSize().height()), title + u'\n', list);
    item->setToolTip(title + u'\n' + subtitle);
    item->setData(addressRole, address);
    item->setData(subtitleRole, subtitle);
    item->setData(Qt::AccessibleTextRole, title);
    item->setData(Qt::AccessibleDescriptionRole, subtitle);
}

QString CallText(const RecentCall& call)
{
    const QDateTime start = call.start.toLocalTime();
    const QString time = QLocale().toString(start.time(), QLocale::ShortFormat);
    const QString date = QLocale().toString(start.date(), QLocale::ShortFormat);
    const QString moment = start.date() == QDate::currentDate() ? time : date + u' ' + time;
    return u"%1 · %2"_s.arg(moment, DurationText(call.seconds));
}

} // namespace

PeoplePanel::PeoplePanel(PhoneBook& book_)
    : book(book_)
    , contacts(new PeopleList(u"person"_s, tr("No contacts yet.\nType an address and add it.")))
    , calls(new PeopleList(u"clock"_s, tr("No calls yet.")))
    , undoBar(new QWidget)
    , undoText(new Line)
{
    constexpr int undoTime = 10'000; // Milliseconds.
    auto* const undo = new QPushButton(tr("Undo"));
    auto* const undoLayout = new QHBoxLayout(undoBar);
    undoLayout->setContentsMargins(0, 0, 0, 0);
    undoLayout->addWidget(undoText, 1);
    undoLayout->addWidget(undo);
    undoBar->hide();
    undoTimer.setSingleShot(true);
    undoTimer.setInterval(undoTime);
    auto* const layout = new QVBoxLayout(this);
    layout->addWidget(CreateTitle(tr("C&ontacts"), contacts));
    layout->addWidget(contacts, 3);
    layout->addWidget(undoBar);
    layout->addWidget(CreateTitle(tr("&Recent calls"), calls));
    layout->addWidget(calls, 2);

    connect(undo, &QPushButton::clicked, this, &PeoplePanel::UndoDelete);
    connect(&undoTimer, &QTimer::timeout, undoBar, &QWidget::hide);
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
        list->addAction(tr("Copy address"), QKeySequence::Copy, this, [list] {
            const QModelIndex index = list->currentIndex();
            QGuiApplication::clipboard()->setText(index.data(addressRole).toString());
        });
    }
    QAction* const remove =
        contacts->addAction(tr("&Delete contact"), QKeySequence::Delete, this, &PeoplePanel::DeleteContact);
    calls->addAction(tr("Clear recent calls"), &book, &PhoneBook::ClearCalls);
    for (QAction* const action : contacts->actions() + calls->actions()) {
        action->setShortcutContext(Qt::WidgetShortcut);
    }
    addAction(remove);
    addAction(tr("&Undo delete"), QKeySequence::Undo, this, &PeoplePanel::UndoDelete);
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
        AddEntry(contacts, contact.ShownName(), ReadAddress(contact.address).shown, contact.address);
    }
    calls->clear();
    for (const RecentCall& call : book.Calls()) {
        AddEntry(calls, book.NameOf(call.address), CallText(call), call.address);
    }
    contacts->setCurrentRow(qMin(contactRow, contacts->count() - 1));
    calls->setCurrentRow(qMin(callRow, calls->count() - 1));
}
