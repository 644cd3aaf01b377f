#include <common/tools/fileiconprovider.h>

#include <QDir>
#include <QFileSystemWatcher>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using tools::FileIconProvider;

class TestFileIcons : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void knownTypes_data();
    void knownTypes();
    void cache();
    void unmakeableSample();

private:
    QTemporaryDir dir;
};

void TestFileIcons::initTestCase()
{
    for (const char* variable : {"TMPDIR", "TMP", "TEMP"}) {
        qputenv(variable, dir.path().toLocal8Bit());
    }
}

void TestFileIcons::knownTypes_data()
{
    QTest::addColumn<QString>("name");

    QTest::newRow("text") << "missing.txt";
    QTest::newRow("no suffix") << "missing";
    QTest::newRow("unknown suffix") << "missing.vxx";
    QTest::newRow("two suffixes") << "missing.tar.gz";
    QTest::newRow("pattern of a temporary name") << "missing.XXXXXX";
}

void TestFileIcons::knownTypes()
{
    QFETCH(QString, name);

    const QIcon icon = FileIconProvider().icon(QFileInfo(name));
    QVERIFY(!icon.isNull());
    QVERIFY(!icon.pixmap(16, 16).isNull());
    QVERIFY2(QDir::temp().isEmpty(), "the sample is gone");
}

// What is in the cache comes back as it is; the fallback is asked for afresh.
void TestFileIcons::cache()
{
    const FileIconProvider first;
    const FileIconProvider second;
    const QIcon icon = first.icon(QFileInfo("a.cached"));
    QFileSystemWatcher watcher({QDir::tempPath()});
    QSignalSpy samples(&watcher, &QFileSystemWatcher::directoryChanged);
    const QIcon again = second.icon(QFileInfo("/elsewhere/b.cached"));
    if (icon.availableSizes(QIcon::Normal, QIcon::Off).isEmpty()) {
        QVERIFY2(samples.wait(5000), "the fallback is not cached");
        return;
    }
    QCOMPARE(again.cacheKey(), icon.cacheKey());
    QVERIFY2(first.icon(QFileInfo("a.CACHED")).cacheKey() != icon.cacheKey(), "case counts");
}

void TestFileIcons::unmakeableSample()
{
    const QIcon icon = FileIconProvider().icon(QFileInfo("a." + QString(300, u'x')));
    QVERIFY(!icon.isNull());
}

QTEST_MAIN(TestFileIcons)
#include "tst_fileicons.moc"
