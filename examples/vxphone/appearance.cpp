#include "appearance.h"

#include <common/tools/svgicon.h>

#include <QGuiApplication>
#include <QPainter>

#include <iterator>

namespace vxphone
{

namespace
{

constexpr int symbolSize = 16;
constexpr int symbolGap = 6;

QString Initials(const QString& name)
{
    const QStringList words = name.split(u' ', Qt::SkipEmptyParts);
    QString initials;
    for (const QString& word : words) {
        if (word.at(0).isLetter() && initials.size() < 2) {
            initials += word.at(0).toUpper();
        }
    }
    return initials;
}

} // namespace

QColor Mix(const QColor& first, const QColor& second, double shareOfSecond)
{
    const auto mix = [shareOfSecond](int a, int b) { return qRound(a + (b - a) * shareOfSecond); };
    return {mix(first.red(), second.red()), mix(first.green(), second.green()),
            mix(first.blue(), second.blue())};
}

QColor ToneColour(const QPalette& palette, Tone tone)
{
    constexpr double quietness = 0.38; // Keeps a contrast of 4.5 on black and white.
    const QColor text = palette.color(QPalette::WindowText);
    const QColor ground = palette.color(QPalette::Window);
    const bool isDark = ground.lightness() < text.lightness();
    switch (tone) {
    case Tone::Good:
        return isDark ? QColor(0x6f, 0xd0, 0x8c) : QColor(0x1f, 0x7f, 0x45);
    case Tone::Error:
        return isDark ? QColor(0xff, 0x8a, 0x80) : QColor(0xb3, 0x26, 0x1e);
    case Tone::Quiet:
        return Mix(text, ground, quietness);
    default:
        return text;
    }
}

QPixmap Symbol(const QString& name, int size, const QColor& colour, double ratio)
{
    static QHash<QString, QIcon> shapes;
    QIcon& shape = shapes[name];
    if (shape.isNull()) {
        shape = tools::svg::SvgIcon::CreateFromSvg(QStringLiteral(":/icons/%1.svg").arg(name));
    }
    QPixmap pixmap = shape.pixmap(QSize(size, size), ratio);
    QPainter painter(&pixmap);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(pixmap.rect(), colour);
    return pixmap;
}

QIcon SymbolIcon(const QString& name, const QColor& fixed)
{
    constexpr int size = 48; // Sharp up to scale 3.
    const QPalette palette = QGuiApplication::palette();
    const QColor text = palette.color(QPalette::ButtonText);
    const QColor disabled = palette.color(QPalette::Disabled, QPalette::ButtonText);
    QIcon icon(Symbol(name, size, fixed.isValid() ? fixed : text, 1.0));
    icon.addPixmap(Symbol(name, size, disabled, 1.0), QIcon::Disabled);
    return icon;
}

void PaintAvatar(QPainter& painter, const QRect& rect, const QString& name)
{
    static const QColor grounds[] = {{0x2f, 0x6f, 0xb5}, {0x7a, 0x4f, 0xb0}, {0x9c, 0x4a, 0x1f},
                                     {0x1f, 0x7a, 0x72}, {0xa8, 0x3b, 0x6d}, {0x5b, 0x6b, 0x1f}};
    const QString initials = Initials(name);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(grounds[qHash(name) % std::size(grounds)]);
    painter.drawEllipse(rect);
    painter.setPen(Qt::white);
    if (initials.isEmpty()) {
        const int size = rect.height() / 2;
        const QPixmap person =
            Symbol(QStringLiteral("person"), size, Qt::white, painter.device()->devicePixelRatioF());
        painter.drawPixmap(rect.center() - QPoint(size / 2 - 1, size / 2 - 1), person);
    } else {
        QFont font = painter.font();
        font.setPixelSize(rect.height() * 2 / 5);
        font.setBold(true);
        painter.setFont(font);
        painter.drawText(rect, Qt::AlignCenter, initials);
    }
    painter.restore();
}

void PaintEmptyState(QWidget* widget, const QString& symbol, const QString& text)
{
    constexpr int size = 32;
    constexpr int margin = 16;
    QPainter painter(widget);
    const QColor quiet = ToneColour(widget->palette(), Tone::Quiet);
    const QPoint centre = widget->rect().center();
    painter.drawPixmap(centre - QPoint(size / 2, size),
                       Symbol(symbol, size, quiet, widget->devicePixelRatioF()));
    painter.setPen(quiet);
    painter.drawText(widget->rect().adjusted(margin, centre.y() + margin / 2, -margin, 0),
                     Qt::AlignHCenter | Qt::TextWordWrap, text);
}

Line::Line(Tone tone_, double size, bool bold)
    : tone(tone_)
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
    const QColor colour = ToneColour(palette(), tone);
    QRect rest = rect();
    if (!symbol.isEmpty()) {
        painter.drawPixmap(0, (height() - symbolSize) / 2,
                           Symbol(symbol, symbolSize, colour, devicePixelRatioF()));
        rest.setLeft(symbolSize + symbolGap);
    }
    painter.setPen(tone == Tone::Good ? ToneColour(palette(), Tone::Plain) : colour);
    painter.drawText(rest, static_cast<int>(alignment()),
                     fontMetrics().elidedText(text(), Qt::ElideRight, rest.width()));
}

} // namespace vxphone
