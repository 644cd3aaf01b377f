#include "widgets.h"

#include <common/tools/svgicon.h>

#include <QAbstractScrollArea>
#include <QGuiApplication>
#include <QPainter>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

constexpr int symbolSize = 16;

QColor ToneColour(const QPalette& palette, Tone tone)
{
    QColor colour = palette.color(QPalette::WindowText);
    const bool isDark = palette.color(QPalette::Window).lightness() < colour.lightness();
    switch (tone) {
    case Tone::Good:
        return isDark ? 0x6fd08c : 0x1f7f45;
    case Tone::Error:
        return isDark ? 0xff8a80 : 0xb3261e;
    case Tone::Quiet:
        colour.setAlphaF(0.62F); // Keeps a contrast of 4.5 on black and white.
        return colour;
    default:
        return colour;
    }
}

QPixmap Symbol(const QString& name, const QColor& colour)
{
    const QIcon shape = tools::svg::SvgIcon::CreateFromSvg(u":/icons/%1.svg"_s.arg(name));
    QPixmap pixmap = shape.pixmap(QSize(symbolSize, symbolSize), qApp->devicePixelRatio());
    QPainter painter(&pixmap);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(pixmap.rect(), colour);
    return pixmap;
}

QIcon SymbolIcon(const QString& name, const QColor& fixed)
{
    const QPalette palette = QGuiApplication::palette();
    QIcon icon(Symbol(name, fixed.isValid() ? fixed : palette.color(QPalette::ButtonText)));
    icon.addPixmap(Symbol(name, palette.color(QPalette::Disabled, QPalette::ButtonText)), QIcon::Disabled);
    return icon;
}

QLabel* CreateTitle(const QString& text, QWidget* buddy)
{
    auto* const title = new QLabel(text);
    title->setObjectName(u"title"_s);
    title->setBuddy(buddy);
    buddy->setAccessibleName(QString(text).remove(u'&'));
    return title;
}

QString DurationText(qint64 seconds)
{
    return u"%1:%2"_s.arg(seconds / 60).arg(seconds % 60, 2, 10, QChar(u'0'));
}

QLabel* CreateExplanation(const QString& text, QAbstractScrollArea* area)
{
    auto* const label = new QLabel(text);
    label->setForegroundRole(QPalette::PlaceholderText);
    label->setAlignment(Qt::AlignCenter);
    label->setWordWrap(true);
    auto* const layout = new QVBoxLayout(area->viewport());
    layout->addWidget(label);
    return label;
}

Line::Line(double size, bool bold)
{
    QFont enlarged = font();
    enlarged.setPointSizeF(enlarged.pointSizeF() * size);
    enlarged.setBold(bold);
    setFont(enlarged);
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

void Line::Show(const QString& text, Tone newTone, const QString& newSymbol, const QString& details)
{
    tone = newTone;
    symbol = newSymbol;
    setText(text);
    setToolTip(details.isEmpty() ? text : details);
    update();
}

QSize Line::minimumSizeHint() const
{
    return {0, qMax(symbolSize, fontMetrics().height()) + 2};
}

void Line::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(this);
    QRect rest = rect();
    if (!symbol.isEmpty()) {
        constexpr int gap = 6;
        painter.drawPixmap(0, (height() - symbolSize) / 2, Symbol(symbol, ToneColour(palette(), tone)));
        rest.setLeft(symbolSize + gap);
    }
    painter.setPen(ToneColour(palette(), tone == Tone::Good ? Tone::Plain : tone));
    painter.drawText(rest, static_cast<int>(alignment()),
                     fontMetrics().elidedText(text(), Qt::ElideRight, rest.width()));
}
