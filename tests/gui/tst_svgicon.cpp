#include <common/tools/svgicon.h>

#include <files/filetree.h>

#include <QTemporaryDir>
#include <QTest>

using tools::svg::SvgIcon;

namespace
{

const QList<QSize> sizes{{16, 16}, {24, 24}, {32, 32}, {48, 48}, {64, 64}, {128, 128}};

QImage ImageOf(const QIcon& icon, const QSize& size)
{
    return icon.pixmap(size, 1.0).toImage().convertToFormat(QImage::Format_ARGB32);
}

} // namespace

class TestSvgIcon : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void brokenFiles();
    void fade();

private:
    QTemporaryDir dir;
};

void TestSvgIcon::brokenFiles()
{
    filetree::Write(dir.filePath("text"), "no picture");
    filetree::Write(dir.filePath("cut"), "<svg><rect");
    for (const char* name : {"missing", "text", "cut"}) {
        const QIcon icon = SvgIcon::CreateFromSvg(dir.filePath(name));
        QCOMPARE(icon.availableSizes(), sizes);
        QCOMPARE(ImageOf(icon, sizes.last()).pixel(8, 8), qRgba(0, 0, 0, 0));
    }
}

void TestSvgIcon::fade()
{
    const QByteArray begin = "<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 16 16'><rect ";
    const QString left = dir.filePath("left");
    const QString top = dir.filePath("top");
    filetree::Write(left, begin + "width='8' height='16' fill='#f00'/></svg>");
    filetree::Write(top, begin + "width='16' height='8' fill='#00f'/></svg>");
    QVERIFY(SvgIcon::CreateFromTwoSvgWithOverlay(left, top, -1).isEmpty());
    const QList<QIcon> frames = SvgIcon::CreateFromTwoSvgWithOverlay(left, top, 4);
    QCOMPARE(frames.size(), 4);
    for (int i = 0; i < 4; ++i) {
        QCOMPARE(frames.at(i).availableSizes(QIcon::Normal, QIcon::Off), sizes);
        const int opacity = 255 * (i + 1) / 4;
        for (const QSize& size : sizes) {
            const QImage image = ImageOf(frames.at(i), size);
            const int last = image.width() - 2;
            const int middle = image.width() / 2;
            const QRgb both = image.pixel(1, 1);
            QVERIFY(qAbs(qBlue(both) - opacity) <= 1);
            QVERIFY(qAbs(qRed(both) - (255 - opacity)) <= 1);
            QVERIFY(qAbs(qAlpha(image.pixel(last, 1)) - opacity) <= 1);
            // The edge is sharp, because the image is rendered at each size, not scaled.
            QCOMPARE(image.pixel(middle - 1, last), qRgba(255, 0, 0, 255));
            QCOMPARE(image.pixel(middle, last), qRgba(0, 0, 0, 0));
        }
    }
}

QTEST_MAIN(TestSvgIcon)
#include "tst_svgicon.moc"
