#include "appearance.h"

#include <common/tools/svgicon.h>

#include <QApplication>
#include <QPalette>
#include <QStyle>

namespace vxphone
{

namespace
{

constexpr int fadeSteps = 12;
constexpr int fadeInterval = 40; // Milliseconds; half a second for the whole fade.

QPalette DarkPalette()
{
    const QColor window(0x25, 0x28, 0x2d);
    const QColor text(0xe6, 0xe8, 0xea);
    const QColor dimmed(0x80, 0x86, 0x8d);
    QPalette palette(window);
    palette.setColor(QPalette::Base, QColor(0x1b, 0x1d, 0x21));
    palette.setColor(QPalette::AlternateBase, window);
    palette.setColor(QPalette::Button, QColor(0x33, 0x37, 0x3d));
    palette.setColor(QPalette::ToolTipBase, window);
    palette.setColor(QPalette::PlaceholderText, dimmed);
    palette.setColor(QPalette::Highlight, QColor(0x2f, 0x6f, 0xb5));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, QColor(0x6f, 0xb3, 0xff));
    for (const auto role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText}) {
        palette.setColor(role, text);
        palette.setColor(QPalette::Disabled, role, dimmed);
    }
    return palette;
}

} // namespace

void ApplyColours(bool dark)
{
    // The style that follows a palette in every colour, on all platforms.
    QApplication::setStyle(QStringLiteral("Fusion"));
    QApplication::setPalette(dark ? DarkPalette() : QApplication::style()->standardPalette());
}

CallIcon::CallIcon(QObject* parent)
    : QObject(parent)
{
    const QString rest = QStringLiteral(":/icons/phone.svg");
    frames += tools::svg::SvgIcon::CreateFromSvg(rest);
    frames += tools::svg::SvgIcon::CreateFromTwoSvgWithOverlay(rest, QStringLiteral(":/icons/phone-call.svg"),
                                                               fadeSteps);
    timer.setInterval(fadeInterval);
    connect(&timer, &QTimer::timeout, this, &CallIcon::Step);
}

void CallIcon::SetInCall(bool now)
{
    inCall = now;
    timer.start();
}

void CallIcon::Step()
{
    const qsizetype goal = inCall ? frames.size() - 1 : 0;
    if (frame == goal) {
        timer.stop();
        return;
    }
    frame += inCall ? 1 : -1;
    Q_EMIT changed(Current());
}

} // namespace vxphone
