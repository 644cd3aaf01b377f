#include <common/tools/svgicon.h>

#include <QPainter>
#include <QTemporaryDir>
#include <QTest>

using tools::svg::SvgIcon;

namespace
{

const QList<int> sizes{16, 24, 32, 48, 64, 128};

QImage ImageOf(const QIcon& icon, int size)
{
    return icon.pixmap(size, size).toImage().convertToFormat(QImage::Format_ARGB32);
}

} // namespace

class TestSvgIcon : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void allSizes();
    void sharpEdges();
    void brokenFiles_data();
    void brokenFiles();
    void fade();
    void pictures();

private:
    QString Write(const char* name, const QByteArray& content);

    QTemporaryDir dir;
    QString red;
    QString blue;
};

QString TestSvgIcon::Write(const char* name, const QByteArray& content)
{
    QFile file(dir.filePath(name));
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size() ? file.fileName()
                                                                                    : QString();
}

void TestSvgIcon::initTestCase()
{
    const QByteArray begin = "<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 16 16'>";
    red = Write("red.svg", begin + "<rect width='8' height='16' fill='#f00'/></svg>");
    blue = Write("blue.svg", begin + "<rect width='16' height='8' fill='#00f'/></svg>");
    QVERIFY(!red.isEmpty() && !blue.isEmpty());
}

void TestSvgIcon::allSizes()
{
    const QIcon icon = SvgIcon::CreateFromSvg(red);
    QList<int> found;
    for (const QSize& size : icon.availableSizes(QIcon::Normal, QIcon::Off)) {
        QCOMPARE(size.width(), size.height());
        found += size.width();
    }
    QCOMPARE(found, sizes);
}

// Drawn at each size, not scaled: the edge in the middle has no pixel between red and nothing.
void TestSvgIcon::sharpEdges()
{
    const QIcon icon = SvgIcon::CreateFromSvg(red);
    for (const int size : sizes) {
        const QImage image = ImageOf(icon, size);
        QCOMPARE(image.pixel(size / 2 - 1, size / 2), qRgba(255, 0, 0, 255));
        QCOMPARE(image.pixel(size / 2, size / 2), qRgba(0, 0, 0, 0));
    }
}

void TestSvgIcon::brokenFiles_data()
{
    QTest::addColumn<QString>("path");

    QTest::newRow("missing") << dir.filePath("missing.svg");
    QTest::newRow("no SVG") << Write("text.svg", "this is no picture");
    QTest::newRow("cut off") << Write("cut.svg", "<svg xmlns='http://www.w3.org/2000/svg'><rect");
    QTest::newRow("empty") << Write("empty.svg", "");
}

void TestSvgIcon::brokenFiles()
{
    QFETCH(QString, path);

    const QIcon icon = SvgIcon::CreateFromSvg(path);
    QCOMPARE(icon.availableSizes().size(), sizes.size());
    QCOMPARE(ImageOf(icon, 32).pixel(8, 8), qRgba(0, 0, 0, 0));
    QCOMPARE(SvgIcon::CreateFromTwoSvgWithOverlay(path, path, 2).size(), 2);
}

void TestSvgIcon::fade()
{
    QVERIFY(SvgIcon::CreateFromTwoSvgWithOverlay(red, blue, 0).isEmpty());
    QVERIFY(SvgIcon::CreateFromTwoSvgWithOverlay(red, blue, -1).isEmpty());
    QCOMPARE(SvgIcon::CreateFromTwoSvgWithOverlay(red, blue, 1).size(), 1);

    const QList<QIcon> frames = SvgIcon::CreateFromTwoSvgWithOverlay(red, blue, 4);
    QCOMPARE(frames.size(), 4);
    for (int i = 0; i < frames.size(); ++i) {
        QCOMPARE(frames.at(i).availableSizes().size(), sizes.size());
        const int expected = 255 * (i + 1) / 4;
        for (const int size : sizes) {
            const QImage image = ImageOf(frames.at(i), size);
            const QRgb both = image.pixel(1, 1);
            const QRgb onlySecond = image.pixel(size - 2, 1);
            QVERIFY2(qAbs(qBlue(both) - expected) <= 1 && qAbs(qRed(both) - (255 - expected)) <= 1,
                     qPrintable(QString("frame %1: %2").arg(i).arg(both, 8, 16)));
            QVERIFY(qAbs(qAlpha(onlySecond) - expected) <= 1);
            QCOMPARE(image.pixel(1, size - 2), qRgba(255, 0, 0, 255));
        }
    }
}

// With VXCOMMON_PICTURES set to a folder, the pictures of the manual are written there.
void TestSvgIcon::pictures()
{
    const QString icons = QStringLiteral(ICON_DIR "/");
    const QIcon idle = SvgIcon::CreateFromSvg(icons + "phone.svg");
    const QList<QIcon> fade =
        SvgIcon::CreateFromTwoSvgWithOverlay(icons + "phone.svg", icons + "phone-call.svg", 6);
    constexpr int gap = 8;
    QImage allSizes(7 * gap + 16 + 24 + 32 + 48 + 64 + 128, 128 + 2 * gap, QImage::Format_ARGB32);
    QImage frames(gap + 6 * (64 + gap), 64 + 2 * gap, QImage::Format_ARGB32);
    for (QImage* image : {&allSizes, &frames}) {
        image->fill(Qt::white);
    }
    QPainter painter(&allSizes);
    int x = gap;
    for (const int size : sizes) {
        QVERIFY2(ImageOf(idle, size) != ImageOf(fade.last(), size), "the two states differ at this size");
        painter.drawPixmap(x, allSizes.height() - gap - size, idle.pixmap(size, size));
        x += size + gap;
    }
    QVERIFY(painter.end() && painter.begin(&frames));
    for (int i = 0; i < fade.size(); ++i) {
        painter.drawPixmap(gap + i * (64 + gap), gap, fade.at(i).pixmap(64, 64));
    }
    painter.end();
    if (qEnvironmentVariableIsSet("VXCOMMON_PICTURES")) {
        const QDir target(qEnvironmentVariable("VXCOMMON_PICTURES"));
        QVERIFY(allSizes.save(target.filePath("icon-sizes.png")));
        QVERIFY(frames.save(target.filePath("icon-fade.png")));
    }
}

QTEST_MAIN(TestSvgIcon)
#include "tst_svgicon.moc"
