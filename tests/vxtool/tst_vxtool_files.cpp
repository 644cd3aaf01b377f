#include "files/filetree.h"
#include "vxtool/runtool.h"

#include <common/vxcommon_features.h>

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#ifdef Q_OS_UNIX
#include <csignal>
#endif

class TestVxtoolFiles : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void answers_data();
    void answers();
    void timing();
#if defined(Q_OS_UNIX) && VXCOMMON_HAS_LOG4CPP
    void interrupt();
#endif
};

void TestVxtoolFiles::answers_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QStringList>("after");

    const auto row = [](const char* name, const char* arguments, int exitCode, const char* answer,
                        const QStringList& after) {
        QTest::newRow(name) << QString(arguments) << exitCode << QByteArray(answer) << after;
    };
    const QStringList before{"a=1", "d/b=2", "d/e/c=3", "t/"};
    row("file to a name", "copy a x", 0, "1 item copied\n", {"a=1", "d/b=2", "d/e/c=3", "t/", "x=1"});
    row("several into a folder", "copy a d/ t", 0, "3 items copied\n",
        {"a=1", "d/b=2", "d/e/c=3", "t/a=1", "t/d/b=2", "t/d/e/c=3"});
    row("several to a name", "copy a d x", 2, "is no folder", before);
    row("one argument", "copy a", 2, "are needed", before);
    row("missing source", "copy x y", 1, "error 700103: Copying failed with error '700103'!", before);
    row("onto itself", "copy a a", 1, "error 700107", before);
    row("remove", "remove d a x", 0, "6 items removed\n", {"t/"});
    row("remove nothing", "remove", 2, "is needed", before);
    row("remove everything", "remove /", 2, "all there is", before);
    row("remove an empty path", "remove ", 2, "names nothing", before);
    row("copy an empty path", "copy  x", 2, "names nothing", before);
#ifdef Q_OS_UNIX
    row("dots behind a link", "remove l/../b", 0, "1 item removed", {"a=1", "d/e/c=3", "l->d/e", "t/"});
#endif
}

void TestVxtoolFiles::answers()
{
    QFETCH(QString, arguments);
    QFETCH(int, exitCode);
    QFETCH(QByteArray, answer);
    QFETCH(QStringList, after);

    const QTemporaryDir folder;
    filetree::Build(folder.path(), {"a=1", "d/b=2", "d/e/c=3", "t/"});
    if (arguments.contains("l/..")) {
        filetree::Build(folder.path(), {"l->d/e"});
    }
    const QString oldFolder = QDir::currentPath();
    QVERIFY(QDir::setCurrent(folder.path()));
    const Result result = RunTool(arguments.split(' '));
    QVERIFY(QDir::setCurrent(oldFolder));
    QCOMPARE(result.exitCode, exitCode);
    QVERIFY2((exitCode == 0 ? result.output : result.error).contains(answer), result.error.constData());
    QCOMPARE(filetree::Snapshot(folder.path()), after);
}

void TestVxtoolFiles::timing()
{
    const QTemporaryDir folder;
    filetree::Build(folder.path(), {"a=1"});
    const Result result = RunTool({"copy", "--timing", folder.filePath("a"), folder.filePath("b")});
    const QRegularExpression expected("^1 item copied in [0-9]+\\.[0-9]{3} s, [0-9]+ items?/s\n$");
    QVERIFY2(expected.match(QString::fromUtf8(result.output)).hasMatch(), result.output.constData());
}

#if defined(Q_OS_UNIX) && VXCOMMON_HAS_LOG4CPP
void TestVxtoolFiles::interrupt()
{
    const QTemporaryDir folder;
    filetree::Build(folder.path(), {"s/"});
    for (int i = 0; i < 20000; ++i) {
        filetree::Write(filetree::ToPath(folder.filePath("s")) / std::to_string(i), QByteArray());
    }
    const QString log = folder.filePath("log");
    QProcess process;
    process.start(QStringLiteral(VXTOOL_PROGRAM),
                  {"--log", log, "--log-level", "7", "copy", folder.filePath("s"), folder.filePath("t")});
    const auto hasBegun = [&log] {
        QFile file(log);
        return file.open(QIODevice::ReadOnly) && file.readAll().contains("Successfully copied");
    };
    QTRY_VERIFY_WITH_TIMEOUT(hasBegun(), 30000);
    QCOMPARE(::kill(static_cast<pid_t>(process.processId()), SIGINT), 0);
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 1);
    QVERIFY(process.readAllStandardError().contains("error 700105: Copying failed with error '700105'!"));
    const qsizetype copied = filetree::Snapshot(folder.filePath("t")).size();
    QVERIFY(copied > 0 && copied < 20000);
}
#endif

QTEST_GUILESS_MAIN(TestVxtoolFiles)
#include "tst_vxtool_files.moc"
