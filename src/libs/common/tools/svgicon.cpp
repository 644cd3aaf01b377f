#include <common/tools/svgicon.h>

#include <QPainter>
#include <QPixmap>
#include <QSize>
#include <QSvgRenderer>

namespace tools::svg
{

namespace
{

const QList<QSize>& Sizes()
{
    static const QList<QSize> sizes{{16, 16}, {24, 24}, {32, 32}, {48, 48}, {64, 64}, {128, 128}};
    return sizes;
}

QPixmap TransparentPixmap(const QSize& size)
{
    QPixmap pixmap(size);
    pixmap.fill(Qt::transparent);
    return pixmap;
}

/// Returns the icon's pixmap at `size`, regardless of the screen's device pixel ratio.
QPixmap PixmapAt(const QIcon& icon, const QSize& size)
{
    return icon.pixmap(size, 1.0, QIcon::Normal, QIcon::Off);
}

/// Draws `second` at the given opacity over `first`.
QIcon Overlay(const QIcon& first, const QIcon& second, double opacity)
{
    QIcon icon;
    for (const QSize& size : Sizes()) {
        QPixmap pixmap = TransparentPixmap(size);
        QPainter painter(&pixmap);
        painter.drawPixmap(pixmap.rect(), PixmapAt(first, size));
        painter.setOpacity(opacity);
        painter.drawPixmap(pixmap.rect(), PixmapAt(second, size));
        painter.end();
        icon.addPixmap(pixmap, QIcon::Normal, QIcon::Off);
    }
    return icon;
}

} // namespace

QIcon SvgIcon::CreateFromSvg(const QString& path)
{
    QIcon icon;
    for (const QSize& size : Sizes()) {
        QPixmap pixmap = TransparentPixmap(size);
        QPainter painter(&pixmap);
        QSvgRenderer(path).render(&painter);
        painter.end();
        icon.addPixmap(pixmap, QIcon::Normal, QIcon::Off);
    }
    return icon;
}

QList<QIcon> SvgIcon::CreateFromTwoSvgWithOverlay(const QString& first, const QString& second, int steps)
{
    const QIcon firstIcon = CreateFromSvg(first);
    const QIcon secondIcon = CreateFromSvg(second);
    QList<QIcon> icons;
    for (int i = 0; i < steps; ++i) {
        icons += Overlay(firstIcon, secondIcon, static_cast<double>(i + 1) / steps);
    }
    return icons;
}

} // namespace tools::svg
