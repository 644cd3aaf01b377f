// The program as the desktop starts it, and what its user must not lose.

#include "mainwindow.h"
#include "transfers.h"

#include "files/filetree.h"
#include "http/faultserver.h"

#include <common/singleapp/qtsingleapplication.h>

#include <QGridLayout>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace vxphone;

class TestVxphone : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { dir = std::make_unique<QTemporaryDir>(); }
    void handOver();
    void download();
    void closeWhileCopying();

private:
    void Start(QProcess& process, const QStringList& arguments) const;
    bool LogContains(const QString& text) const;
    QStringList Files() const { return filetree::Snapshot(dir->path()); }

    std::unique_ptr<QTemporaryDir> dir;
};

void TestVxphone::Start(QProcess& process, const QStringList& arguments) const
{
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(QStringLiteral(VXPHONE_PROGRAM), QStringList{"--data", dir->path()} + arguments);
}

bool TestVxphone::LogContains(const QString& text) const
{
    return QTest::qWaitFor(
        [&] { return Files().filter("vxphone.log=").join("").remove('\r').contains(text); }, 30000);
}

// As the desktop does it: the first starts with a clicked link, the second hands its own over and ends. What
// cannot be read as contacts is kept.
void TestVxphone::handOver()
{
    filetree::Build(dir->path(), {"contacts.json=from another machine"});
    QProcess first;
    Start(first, {"--callto", "tel:+1"});
    QVERIFY(LogContains("address to call: tel:+1\n") && LogContains("their file is kept as"));
    QProcess second;
    Start(second, {"--callto", "callto://ann@office.quollsip.test"});
    QVERIFY(second.waitForFinished(30000) && second.exitCode() == 0);
    QVERIFY(LogContains("address to call: callto://ann@office.quollsip.test\n"));
    QCOMPARE(first.state(), QProcess::Running);
    first.kill();
    QVERIFY(first.waitForFinished(30000));
    QCOMPARE(Files().filter(QRegularExpression("^contacts.*unreadable=from another machine$")).size(), 1);
}

// Only a whole file takes the place of an older one.
void TestVxphone::download()
{
    FaultServer server({{Response("200 OK", "half a file").chopped(5)},
                        {Response("404 No", "page")},
                        {Response("200 OK", "new")}});
    filetree::Build(dir->path(), {"a.zip=old"});
    QWidget window;
    const TransferRow* const row = CreateDownloadRow(new QGridLayout(&window), dir->path());
    window.findChild<QLineEdit*>()->setText(server.Url("/files/a.zip").toString());
    for (const char* left : {"a.zip=old", "a.zip=old", "a.zip=new"}) {
        window.findChild<QPushButton*>()->click();
        QVERIFY(row->IsRunning());
        QTRY_VERIFY(!row->IsRunning());
        QCOMPARE(Files(), QStringList(left));
    }
}

// The program stays until the file at hand is copied, and then ends without another word.
void TestVxphone::closeWhileCopying()
{
    filetree::Build(dir->path(), {"skins/a.png=" + QString(1000000, 'x')});
    MainWindow window(*static_cast<QtSingleApplication*>(qApp), QDir(dir->path()), new QWidget);
    window.show();
    auto* const field = window.findChildren<QLineEdit*>().constLast();
    field->setText(dir->filePath("skins"));
    Q_EMIT field->returnPressed();
    QVERIFY(!window.close());
    QVERIFY(window.isVisible());
    QTRY_VERIFY(!window.isVisible());
}

int main(int argc, char* argv[])
{
    const QTemporaryDir home; // Nothing of the user's own is used, nor is a running vxphone.
    for (const char* variable : {"HOME", "TMPDIR", "XDG_CONFIG_HOME", "XDG_DATA_HOME"}) {
        qputenv(variable, home.path().toUtf8());
    }
    QtSingleApplication application("tst_vxphone", argc, argv);
    QtSingleApplication::setQuitOnLastWindowClosed(false);
    TestVxphone test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_vxphone.moc"
