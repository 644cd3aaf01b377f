#include "widgets.h"

#include <common/tools/svgicon.h>

#include <QAbstractScrollArea>
#include <QInputDialog>
#include <QPainter>
#include <QTextDocument>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

constexpr int symbolSize = 16;

QIcon SymbolIcon(const QString& name, const QColor& colour)
{
    const QIcon shape = tools::svg::SvgIcon::CreateFromSvg(u":/icons/%1.svg"_s.arg(name));
    QPixmap pixmap = shape.pixmap(QSize(symbolSize, symbolSize), qApp->devicePixelRatio());
    QPainter painter(&pixmap);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(pixmap.rect(), colour);
    painter.end();
    return pixmap;
}

void EnlargeFont(QWidget* widget, double factor, bool bold)
{
    QFont font = widget->font();
    font.setPointSizeF(font.pointSizeF() * factor);
    font.setBold(bold);
    widget->setFont(font);
}

QLabel* CreateTitle(const QString& text, QWidget* buddy)
{
    auto* const title = new QLabel(text);
    title->setObjectName(u"title"_s);
    title->setBuddy(buddy);
    buddy->setAccessibleName(QString(text).remove(u'&'));
    return title;
}

QLabel* CreateExplanation(const QString& text, QAbstractScrollArea* area)
{
    auto* const label = new QLabel(text);
    label->setForegroundRole(QPalette::PlaceholderText);
    label->setAlignment(Qt::AlignCenter);
    label->setWordWrap(true);
    (new QVBoxLayout(area->viewport()))->addWidget(label);
    return label;
}

QString AskForText(QWidget* parent, const QString& title, const QString& label)
{
    QInputDialog dialog(parent);
    dialog.setWindowTitle(title);
    dialog.setLabelText(Qt::convertFromPlainText(label));
    dialog.setOkButtonText(title);
    dialog.resize(parent->width() / 2, 0);
    return dialog.exec() == QDialog::Accepted ? dialog.textValue().trimmed() : QString();
}

QString DurationText(qint64 seconds)
{
    return u"%1:%2"_s.arg(seconds / 60).arg(seconds % 60, 2, 10, QChar(u'0'));
}

Line::Line(QPalette::ColorRole role)
{
    setForegroundRole(role);
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

void Line::Show(const QString& text, const QString& newSymbol, const QString& toolTip)
{
    symbol = newSymbol;
    setText(text);
    setToolTip(Qt::convertFromPlainText(toolTip.isEmpty() ? text : toolTip));
    update();
}

QSize Line::minimumSizeHint() const
{
    return {0, qMax(symbolSize, fontMetrics().height()) + 2};
}

void Line::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(this);
    const QColor plain = palette().color(foregroundRole());
    const bool isDark = palette().window().color().lightness() < plain.lightness();
    const QColor good = isDark ? 0x6fd08c : 0x1f7f45;
    const QColor colour = symbol == u"error"_s ? QColor(isDark ? 0xff8a80 : 0xb3261e) : plain;
    int left = 0;
    if (!symbol.isEmpty()) {
        const QIcon icon = SymbolIcon(symbol, symbol == u"done"_s ? good : colour);
        icon.paint(&painter, 0, 0, symbolSize, height());
        left = symbolSize + 6;
    }
    painter.setPen(colour);
    painter.drawText(rect().adjusted(left, 0, 0, 0), static_cast<int>(alignment()),
                     fontMetrics().elidedText(text(), Qt::ElideRight, width() - left));
}
