#include <common/tools/fileiconprovider.h>

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

using tools::FileIconProvider;

class TestFileIcons : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void missingFiles();
};

void TestFileIcons::missingFiles()
{
    const QTemporaryDir dir;
    for (const char* variable : {"TMPDIR", "TMP", "TEMP"}) {
        qputenv(variable, dir.path().toLocal8Bit());
    }
    const FileIconProvider first;
    const FileIconProvider second;
    for (const char* name : {"missing", "missing.txt", "missing.tar.vxx", "missing.XXXXXX"}) {
        const QIcon icon = first.icon(QFileInfo(name));
        QVERIFY(!icon.isNull());
        QVERIFY2(QDir(dir.path()).isEmpty(), "the sample is gone");
        // An icon from the cache is the same object; the fallback is queried again.
        const QIcon again = second.icon(QFileInfo(QString("/elsewhere/") + name));
        QCOMPARE(again.cacheKey() == icon.cacheKey(), !icon.availableSizes().isEmpty());
    }
    QVERIFY2(first.icon(QFileInfo("a.vxx")).cacheKey() != first.icon(QFileInfo("a.Vxx")).cacheKey(),
             "case counts");
    const QIcon systems = QFileIconProvider().icon(QFileInfo(QCoreApplication::applicationFilePath()));
    QCOMPARE(first.icon(QFileInfo("a.vxx")).availableSizes(), systems.availableSizes());
    QVERIFY2(!first.icon(QFileInfo("a." + QString(300, 'x'))).isNull(), "no sample can be made");
}

QTEST_MAIN(TestFileIcons)
#include "tst_fileicons.moc"
