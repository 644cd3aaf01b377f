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
    QTest::addColumn<QByteArray>("configuration");

    QTest::newRow("own appenders") << QByteArray();
    QTest::newRow("appenders of a property file")
        << QByteArray("rootCategory=DEBUG, A\nappender.A=RollingFileAppender\nappender.A.fileName=exit.log\n"
                      "appender.A.maxFileSize=100000000\nappender.A.maxBackupIndex=2\n"
                      "appender.A.layout=PatternLayout\nappender.A.layout.ConversionPattern=%p %c %m%n\n");
}

void TestLoggingAtExit::linesAtExit()
{
    QFETCH(QByteArray, configuration);

    const QTemporaryDir dir;
    QFile config(dir.filePath("log.properties"));
    QVERIFY(configuration.isEmpty() || config.open(QIODevice::WriteOnly));
    config.write(configuration);
    config.close();

    QStringList command{LOG_UNTIL_EXIT_PROGRAM, "exit.log", "log.properties"};
#ifdef RUN_UNDER_VALGRIND
    // The thread that the program leaves behind keeps its stack, so only blocks that nothing points to are
    // leaks.
    command = QStringList{"valgrind",
                          "--quiet",
                          "--error-exitcode=9",
                          "--leak-check=full",
                          "--show-leak-kinds=definite,indirect",
                          "--errors-for-leak-kinds=definite,indirect"} +
              command;
#endif
    QProcess program;
    program.setWorkingDirectory(dir.path());
    program.setProcessChannelMode(QProcess::MergedChannels);
    program.start(command.takeFirst(), command);
    QVERIFY(program.waitForFinished(60000));
    const QByteArray output = program.readAll();
    QVERIFY2(program.exitStatus() == QProcess::NormalExit && program.exitCode() == 0, output);
    QVERIFY2(output.contains("early ends, says Qt"), "Qt's own handler is back at the end");

    QFile file(dir.filePath("exit.log"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray text = file.readAll();
    QVERIFY2(text.contains("ERROR main late begins\n"), text.right(500));
    QVERIFY(text.contains("WARN qt.messages late begins, says Qt\n"));
    QVERIFY2(text.contains("ERROR main late ends\n"), "a line before the end of life is written");
    QVERIFY(!text.contains("early"));
}

QTEST_GUILESS_MAIN(TestLoggingAtExit)
#include "tst_logging_at_exit.moc"
