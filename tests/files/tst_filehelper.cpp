#include "filetree.h"

#include <common/shell/filehelper.h>

#include <QTemporaryDir>
#include <QTest>

using common::FileHelper;

class TestFileHelper : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void removes_data();
    void removes();
    void keepsWhatItFound();
};

namespace
{

/// Signals as text: "found PATH N", "PATH I/N", "failed PATH"; paths relative to a folder.
void Record(FileHelper& helper, const QString& root, QStringList& seen)
{
    const auto relative = [root](const QString& path) { return QDir(root).relativeFilePath(path); };
    QObject::connect(&helper, &FileHelper::scan, [=, &seen](const QString& file, quint64 total) {
        seen += QString("found %1 %2").arg(relative(file)).arg(total);
    });
    QObject::connect(&helper, &FileHelper::progress,
                     [=, &seen](const QString& file, quint64 current, quint64 total) {
                         seen += QString("%1 %2/%3").arg(relative(file)).arg(current).arg(total);
                     });
    QObject::connect(&helper, &FileHelper::failed,
                     [=, &seen](const QString& file) { seen += "failed " + relative(file); });
}

} // namespace

void TestFileHelper::removes_data()
{
    QTest::addColumn<QStringList>("tree");
    QTest::addColumn<QStringList>("filters");
    QTest::addColumn<QStringList>("files");
    QTest::addColumn<QStringList>("seen");
    QTest::addColumn<QStringList>("after");

    const auto row = [](const char* name, const QStringList& tree, const QStringList& filters,
                        const QStringList& files, const QStringList& seen, const QStringList& after) {
        QTest::newRow(name) << tree << filters << files << seen << after;
    };
    row("missing directory", {}, {}, {"x"}, {}, {});
    row("empty directory", {"d/"}, {}, {}, {"found d 1", "d 1/1"}, {});
    row("content before directory", {"d/e/a=1"}, {}, {},
        {"found d/e/a 1", "found d/e 2", "found d 3", "d/e/a 1/3", "d/e 2/3", "d 3/3"}, {});
    row("filter hides a file", {"d/a.txt=1", "d/b=2"}, {"*.txt"}, {},
        {"found d/a.txt 1", "found d 2", "d/a.txt 1/2", "d 2/2", "failed d"}, {"d/b=2"});
    row("filter hides a directory", {"d/e/a.txt=1"}, {"*.txt"}, {}, {"found d 1", "d 1/1", "failed d"},
        {"d/e/a.txt=1"});
    row("hidden file", {"d/.h=1"}, {}, {}, {"found d 1", "d 1/1", "failed d"}, {"d/.h=1"});
    row("files besides", {"d/", "a=1", "b=2"}, {}, {"b", "x", "a"},
        {"found d 1", "found b 2", "found a 3", "d 1/3", "b 2/3", "a 3/3"}, {});
#ifdef Q_OS_UNIX
    row("link to a directory", {"d/l->../e", "e/a=1"}, {}, {},
        {"found d/l 1", "found d 2", "d/l 1/2", "d 2/2"}, {"e/a=1"});
#endif
}

void TestFileHelper::removes()
{
    QFETCH(QStringList, tree);
    QFETCH(QStringList, filters);
    QFETCH(QStringList, files);
    QFETCH(QStringList, seen);
    QFETCH(QStringList, after);

    const QTemporaryDir folder;
    filetree::Build(folder.path(), tree);
    FileHelper helper(folder.filePath("d"));
    helper.AppendFiles(files.replaceInStrings(QRegularExpression("^"), folder.path() + u'/'));
    helper.SetNameFilters(filters);
    QCOMPARE(helper.NameFilters(), filters);
    QStringList recorded;
    Record(helper, folder.path(), recorded);
    QCOMPARE(helper.Remove(), seen.filter("failed").isEmpty());
    QCOMPARE(recorded, seen);
    QCOMPARE(filetree::Snapshot(folder.path()), after);
}

void TestFileHelper::keepsWhatItFound()
{
    const QTemporaryDir folder;
    filetree::Build(folder.path(), {"a=1"});
    FileHelper helper;
    helper.AppendFiles({folder.filePath("a")});
    QStringList seen;
    Record(helper, folder.path(), seen);
    QVERIFY(!helper.Copy(folder.filePath("b")));
    QCOMPARE(filetree::Snapshot(folder.path()), QStringList("a=1"));
    QVERIFY(!helper.Remove());
    QVERIFY(!helper.Remove());
    QCOMPARE(seen, QStringList({"found a 1", "found a 2", "a 1/2", "a 2/2", "failed a", "a 1/2", "failed a",
                                "a 2/2", "failed a"}));
}

QTEST_GUILESS_MAIN(TestFileHelper)
#include "tst_filehelper.moc"
