#include "progressbar.h"

#include "output.h"
#include "terminal.h"

#include <algorithm>
#include <cstdio>

namespace vxtool
{

namespace
{

constexpr qint64 redrawInterval = 100; // Milliseconds; faster only costs.
constexpr qint64 lineInterval = 1000;  // Milliseconds; a log of lines is read later.
constexpr int widestBar = 40;
constexpr int narrowestBar = 10;

QString TimeText(qint64 seconds)
{
    return seconds < 60 ? QStringLiteral("%1 s").arg(seconds)
                        : QStringLiteral("%1 min %2 s").arg(seconds / 60).arg(seconds % 60);
}

} // namespace

QString SizeText(qint64 bytes)
{
    static const char* const units[] = {"kB", "MB", "GB", "TB"};
    if (bytes < 1000) {
        return QStringLiteral("%1 B").arg(bytes);
    }
    auto size = static_cast<double>(bytes) / 1000;
    const char* const* unit = units;
    for (; size >= 999.95 && unit + 1 != std::end(units); ++unit) {
        size /= 1000;
    }
    return QStringLiteral("%1 %2").arg(size, 0, 'f', 1).arg(QLatin1String(*unit));
}

QString ItemsText(qint64 items)
{
    return items == 1 ? QStringLiteral("1 item") : QStringLiteral("%1 items").arg(items);
}

ProgressBar::ProgressBar(AmountText amountText_)
    : amountText(amountText_)
    , width(TerminalWidth())
{
    sinceStart.start();
    sinceDrawn.start();
}

void ProgressBar::Update(qint64 newDone, qint64 newTotal)
{
    done = newDone;
    total = newTotal;
    if (sinceDrawn.elapsed() >= (width > 0 ? redrawInterval : lineInterval)) {
        sinceDrawn.restart();
        Draw();
    }
}

void ProgressBar::Finish()
{
    Draw();
    if (width > 0) {
        PrintError(QString());
    }
}

QString ProgressBar::Text() const
{
    const qint64 rate = done * 1000 / std::max<qint64>(sinceStart.elapsed(), 1);
    if (total <= 0) {
        return QStringLiteral("%1, %2/s").arg(amountText(done), amountText(rate));
    }
    QString text = QStringLiteral("%1 % of %2, %3/s")
                       .arg(static_cast<double>(done) * 100 / static_cast<double>(total), 3, 'f', 0)
                       .arg(amountText(total), amountText(rate));
    if (done < total && rate > 0) {
        text += QStringLiteral(", %1 left").arg(TimeText((total - done) / rate + 1));
    }
    return text;
}

void ProgressBar::Draw()
{
    const QString text = Text();
    if (width == 0) {
        PrintError(text);
        return;
    }
    QString line = text;
    const int bar = std::min(width - static_cast<int>(text.size()) - 4, widestBar);
    if (total > 0 && bar >= narrowestBar) {
        const auto filled = static_cast<int>(std::min(done, total) * bar / total);
        line = u'[' + QString(filled, u'#') + QString(bar - filled, u'.') + QLatin1String("] ") + text;
    }
    // A full last column would break the line.
    const QByteArray bytes = '\r' + line.left(width - 1).leftJustified(width - 1).toUtf8();
    static_cast<void>(std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), stderr));
    static_cast<void>(std::fflush(stderr));
}

} // namespace vxtool
