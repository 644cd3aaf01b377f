#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

class TestLoggingAtExit : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void linesAtExit_data();
    void linesAtExit();
};

void TestLoggingAtExit::linesAtExit_data()
{
    QTest::addColumn<QStringList>("runner");
    QTest::addColumn<bool>("configured");

    QTest::newRow("own appenders") << QStringList() << false;
    QTest::newRow("appenders of a property file") << QStringList() << true;
#ifdef RUN_UNDER_VALGRIND
    // The thread that the program leaves behind keeps its stack, so only blocks that nothing points to are
    // leaks.
    const QStringList valgrind{"valgrind",
                               "--quiet",
                               "--error-exitcode=9",
                               "--leak-check=full",
                               "--show-leak-kinds=definite,indirect",
                               "--errors-for-leak-kinds=definite,indirect"};
    QTest::newRow("own appenders under valgrind") << valgrind << false;
    QTest::newRow("appenders of a property file under valgrind") << valgrind << true;
#endif
}

void TestLoggingAtExit::linesAtExit()
{
    QFETCH(QStringList, runner);
    QFETCH(bool, configured);

    const QTemporaryDir dir;
    const QString logFile = dir.filePath(QStringLiteral("exit.log"));
    QStringList command = runner + QStringList{QStringLiteral(LOG_UNTIL_EXIT_PROGRAM), logFile};
    if (configured) {
        QFile config(dir.filePath(QStringLiteral("log.properties")));
        QVERIFY(config.open(QIODevice::WriteOnly));
        config.write("rootCategory=DEBUG, A\nappender.A=RollingFileAppender\nappender.A.fileName=" +
                     logFile.toLocal8Bit() +
                     "\nappender.A.maxFileSize=100000000\nappender.A.maxBackupIndex=2\n"
                     "appender.A.layout=PatternLayout\nappender.A.layout.ConversionPattern=%p %c %m%n\n");
        config.close();
        command += config.fileName();
    }
    QProcess program;
    program.setProcessChannelMode(QProcess::MergedChannels);
    program.start(command.takeFirst(), command);
    QVERIFY(program.waitForFinished(60000));
    const QByteArray output = program.readAll();
    QCOMPARE(program.exitStatus(), QProcess::NormalExit);
    QVERIFY2(program.exitCode() == 0, output.constData());
    QVERIFY2(output.contains("early ends, says Qt"), "Qt's own handler is back at the end");

    QFile file(logFile);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray text = file.readAll();
    QVERIFY2(text.contains("ERROR main late begins\n"), text.right(500).constData());
    QVERIFY(text.contains("WARN qt.messages late begins, says Qt\n"));
    QVERIFY2(text.contains("ERROR main late ends\n"), "a line before the end of life is written");
    QVERIFY(!text.contains("early"));
}

QTEST_GUILESS_MAIN(TestLoggingAtExit)
#include "tst_logging_at_exit.moc"
