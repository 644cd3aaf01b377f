#include "progressbar.h"

#include "command.h"
#include "output.h"
#include "platform.h"

#include <QLocale>

#include <algorithm>
#include <cstdio>

namespace vxtool
{

namespace
{

constexpr qint64 redrawInterval = 100; // In milliseconds.
constexpr qint64 lineInterval = 1000;  // In milliseconds.
constexpr int widestBar = 40;
constexpr int narrowestBar = 10;

QString TimeText(qint64 seconds)
{
    return seconds < 60 ? u"%1 s"_s.arg(seconds) : u"%1 min %2 s"_s.arg(seconds / 60).arg(seconds % 60);
}

} // namespace

QString SizeText(qint64 bytes)
{
    return QLocale::c().formattedDataSize(bytes, 1, QLocale::DataSizeSIFormat);
}

QString ItemsText(qint64 items)
{
    return items == 1 ? u"1 item"_s : u"%1 items"_s.arg(items);
}

ProgressBar::ProgressBar(AmountText amountText_)
    : amountText(amountText_)
    , width(platform::TerminalWidth())
{
    sinceStart.start();
    sinceDrawn.start();
}

void ProgressBar::Update(qint64 done_, qint64 total_)
{
    if (done_ == 0) {
        return; // The file is empty or another attempt begins.
    }
    done = done_;
    total = total_;
    if (!IsQuiet() && sinceDrawn.elapsed() >= (width > 0 ? redrawInterval : lineInterval)) {
        sinceDrawn.restart();
        Draw();
    }
}

void ProgressBar::Finish()
{
    if (IsQuiet() || done == 0) {
        return;
    }
    Draw();
    if (width > 0) {
        PrintError(QString());
    }
}

QString ProgressBar::Text() const
{
    const qint64 rate = done * 1000 / std::max<qint64>(sinceStart.elapsed(), 1);
    if (total <= 0) {
        return u"%1, %2/s"_s.arg(amountText(done), amountText(rate));
    }
    QString text =
        u"%1 % of %2, %3/s"_s.arg(static_cast<double>(done) * 100 / static_cast<double>(total), 3, 'f', 0)
            .arg(amountText(total), amountText(rate));
    if (done < total && rate > 0) {
        text += u", %1 left"_s.arg(TimeText((total - done) / rate + 1));
    }
    return text;
}

void ProgressBar::Draw()
{
    width = platform::TerminalWidth();
    const QString text = Text();
    if (width == 0) {
        PrintError(text);
        return;
    }
    QString line = text;
    const int bar = std::min(width - static_cast<int>(text.size()) - 4, widestBar);
    if (total > 0 && bar >= narrowestBar) {
        const auto filled = static_cast<int>(std::min(done, total) * bar / total);
        line = u'[' + QString(filled, u'#') + QString(bar - filled, u'.') + u"] "_s + text;
    }
    // Writing to the last column would wrap the line.
    const QByteArray bytes = '\r' + line.left(width - 1).leftJustified(width - 1).toUtf8();
    static_cast<void>(std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), stderr));
    static_cast<void>(std::fflush(stderr));
}

} // namespace vxtool
