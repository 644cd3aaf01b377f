#include "panels.h"

#include "appearance.h"

#include <QPainter>
#include <QStyledItemDelegate>

namespace vxphone
{

namespace
{

constexpr int subtitleRole = Qt::UserRole;
constexpr int symbolRole = Qt::UserRole + 1;
constexpr int pictureSize = 32;
constexpr int padding = 6;

class EntryDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& /*index*/) const override
    {
        return {0, qMax(pictureSize, 2 * option.fontMetrics.height()) + 2 * padding};
    }

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        PaintGround(*painter, option);
        const QString title = index.data().toString();
        const QString symbol = index.data(symbolRole).toString();
        const QRect box = option.rect.adjusted(padding + 2, padding, -padding, -padding);
        const QRect picture(box.left(), box.center().y() - pictureSize / 2 + 1, pictureSize, pictureSize);
        const QColor quiet = ToneColour(option.palette, Tone::Quiet);
        if (symbol.isEmpty()) {
            PaintAvatar(*painter, picture, title);
        } else {
            constexpr int size = 16;
            const double ratio = painter->device()->devicePixelRatioF();
            const QPoint corner = picture.center() - QPoint(size / 2 - 1, size / 2 - 1);
            painter->drawPixmap(corner, Symbol(symbol, size, quiet, ratio));
        }
        QRect line(box.left() + pictureSize + 2 * padding, 0, 0, option.fontMetrics.height());
        line.setRight(box.right());
        line.moveTop(box.center().y() + 1 - line.height());
        PaintText(*painter, line, title, ToneColour(option.palette, Tone::Plain));
        line.translate(0, line.height());
        PaintText(*painter, line, index.data(subtitleRole).toString(), quiet);
    }

private:
    static void PaintGround(QPainter& painter, const QStyleOptionViewItem& option)
    {
        const bool isSelected = option.state.testFlag(QStyle::State_Selected);
        const bool hasFocus = option.state.testFlag(QStyle::State_HasFocus);
        if (!isSelected && !hasFocus && !option.state.testFlag(QStyle::State_MouseOver)) {
            return;
        }
        constexpr int radius = 6;
        QColor ground = option.palette.color(QPalette::Highlight);
        const QColor frame = ground;
        ground.setAlphaF(isSelected ? 0.22F : 0.10F);
        painter.save();
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setBrush(ground);
        painter.setPen(hasFocus ? QPen(frame) : QPen(Qt::NoPen));
        painter.drawRoundedRect(QRectF(option.rect).adjusted(0.5, 1.5, -0.5, -1.5), radius, radius);
        painter.restore();
    }

    static void PaintText(QPainter& painter, const QRect& rect, const QString& text, const QColor& colour)
    {
        painter.setPen(colour);
        painter.drawText(rect, Qt::AlignVCenter,
                         painter.fontMetrics().elidedText(text, Qt::ElideRight, rect.width()));
    }
};

} // namespace

PeopleList::PeopleList(const QString& emptySymbol_, const QString& emptyText_)
    : emptySymbol(emptySymbol_)
    , emptyText(emptyText_)
{
    setItemDelegate(new EntryDelegate(this));
    setMouseTracking(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollMode(ScrollPerPixel);
    setContextMenuPolicy(Qt::ActionsContextMenu);
}

void PeopleList::AddEntry(const QString& title, const QString& subtitle, const QString& symbol)
{
    auto* const item = new QListWidgetItem(title, this);
    item->setData(subtitleRole, subtitle);
    item->setData(symbolRole, symbol);
    item->setData(Qt::AccessibleDescriptionRole, subtitle);
    item->setToolTip(title + u'\n' + subtitle);
}

void PeopleList::AddMenuAction(const QString& text, const QKeySequence& key,
                               const std::function<void()>& action)
{
    auto* const entry = new QAction(text, this);
    entry->setShortcut(key);
    entry->setShortcutContext(Qt::WidgetShortcut);
    addAction(entry);
    connect(entry, &QAction::triggered, this, action);
}

void PeopleList::paintEvent(QPaintEvent* event)
{
    QListWidget::paintEvent(event);
    if (count() == 0) {
        PaintEmptyState(viewport(), emptySymbol, emptyText);
    }
}

} // namespace vxphone
