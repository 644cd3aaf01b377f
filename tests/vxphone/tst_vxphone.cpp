#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

class TestVxphone : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void handOver();
    void unreadableContacts();

private:
    /// Starts the program without a display and with nothing of the user's own.
    void Start(QProcess& process, const QStringList& arguments);
    bool LogContains(const QByteArray& text);

    QTemporaryDir dir;
};

void TestVxphone::Start(QProcess& process, const QStringList& arguments)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("QT_QPA_PLATFORM", "offscreen");
    for (const char* variable : {"HOME", "TMPDIR", "XDG_CONFIG_HOME", "XDG_DATA_HOME"}) {
        environment.insert(variable, dir.path());
    }
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(QStringLiteral(VXPHONE_PROGRAM), QStringList{"--data", dir.filePath("data")} + arguments);
}

bool TestVxphone::LogContains(const QByteArray& text)
{
    return QTest::qWaitFor(
        [&] {
            QFile log(dir.filePath("data/vxphone.log"));
            return log.open(QIODevice::ReadOnly) && log.readAll().contains(text);
        },
        30000);
}

// As the desktop does it: the first starts with a clicked link, others hand theirs over and end.
void TestVxphone::handOver()
{
    QProcess first;
    Start(first, {"--callto", "tel:+1"});
    QVERIFY(LogContains("address to call: tel:+1\n"));
    QProcess second;
    Start(second, {"--callto", "callto://ann@office.quollsip.test"});
    QVERIFY(second.waitForFinished(30000));
    QCOMPARE(second.exitCode(), 0);
    QVERIFY(LogContains("address to call: callto://ann@office.quollsip.test\n"));
    QProcess third;
    Start(third, {});
    QVERIFY(third.waitForFinished(30000));
    QCOMPARE(third.exitCode(), 0);
    QCOMPARE(first.state(), QProcess::Running);
    first.terminate();
    QVERIFY(first.waitForFinished(30000));
}

void TestVxphone::unreadableContacts()
{
    QFile contacts(dir.filePath("data/contacts.json"));
    QVERIFY(contacts.open(QIODevice::WriteOnly) && contacts.write("from another machine") > 0);
    contacts.close();
    QProcess phone;
    Start(phone, {});
    QVERIFY(LogContains("their file is kept as"));
    phone.kill();
    QVERIFY(phone.waitForFinished(30000));
    const QStringList kept = QDir(dir.filePath("data")).entryList({"contacts.json.*.unreadable"});
    QCOMPARE(kept.size(), 1);
    QFile aside(dir.filePath("data/" + kept.first()));
    QVERIFY(aside.open(QIODevice::ReadOnly));
    QCOMPARE(aside.readAll(), QByteArray("from another machine"));
}

QTEST_GUILESS_MAIN(TestVxphone)
#include "tst_vxphone.moc"
