// The program as the desktop starts it, and what its user must not lose.

#include "mainwindow.h"
#include "panels.h"
#include "transfers.h"

#include "files/filetree.h"
#include "http/faultserver.h"

#include <common/singleapp/qtsingleapplication.h>

#include <QGridLayout>
#include <QInputDialog>
#include <QLineEdit>
#include <QListWidget>
#include <QProcess>
#include <QPushButton>
#include <QSignalSpy>
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
    void contacts();
    void download();
    void downloadLeft();
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
    return QTest::qWaitFor([&] { return Files().filter("vxphone.log=").join("").contains(text); }, 30000);
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
    first.terminate();
    QVERIFY(first.waitForFinished(30000));
    QCOMPARE(Files().filter(QRegularExpression("^contacts.*unreadable=from another machine$")).size(), 1);
}

// The list sorts by name, the file keeps what belongs to each.
void TestVxphone::contacts()
{
    const QString file = dir->filePath("contacts.json");
    {
        ContactPanel panel(file);
        for (const QString name : {"Zoe", "Ann", "Max"}) {
            panel.Add(name.toLower() + "@example.com");
            auto* const dialog = panel.findChild<QInputDialog*>();
            dialog->setTextValue(name);
            dialog->accept();
            QTRY_VERIFY(panel.findChild<QInputDialog*>() == nullptr);
        }
        panel.findChild<QListWidget*>()->setCurrentRow(1);
        panel.findChild<QPushButton*>()->click();
    }
    ContactPanel panel(file);
    QSignalSpy chosen(&panel, &ContactPanel::chosen);
    auto* const list = panel.findChild<QListWidget*>();
    QCOMPARE(list->count(), 2);
    Q_EMIT list->itemActivated(list->item(0));
    Q_EMIT list->itemActivated(list->item(1));
    QCOMPARE(chosen.value(0).value(0).toString(), QString("ann@example.com"));
    QCOMPARE(chosen.value(1).value(0).toString(), QString("zoe@example.com"));
}

// Only a whole file takes the place of an older one. A busy server fails twice.
void TestVxphone::download()
{
    const QByteArray busy = Response("429 Busy", "page");
    const QByteArray half = Response("200 OK", "half a file").chopped(5);
    for (const QByteArray& answer : {busy, half, Response("404 No", "page"), Response("200 OK", "new")}) {
        filetree::Build(dir->path(), {"a.zip=old"});
        FaultServer server({{answer}});
        QWidget window;
        TransferRow* const row = CreateDownloadRow(new QGridLayout(&window), dir->path());
        const QSignalSpy ended(row, &TransferRow::ended);
        window.findChild<QLineEdit*>()->setText(server.Url("/files/a.zip").toString());
        window.findChild<QPushButton*>()->click();
        QVERIFY(row->IsRunning());
        QTRY_COMPARE(ended.count(), 1);
        QVERIFY(!row->IsRunning());
        QCOMPARE(Files(), QStringList(answer.endsWith("new") ? "a.zip=new" : "a.zip=old"));
    }
}

// While it runs the user aborts it, or the window goes.
void TestVxphone::downloadLeft()
{
    FaultServer server({{Response("200 OK", QByteArray(900, 'x')), Answer::Close, 50}});
    for (const bool aborts : {true, false}) {
        auto window = std::make_unique<QWidget>();
        const TransferRow* const row = CreateDownloadRow(new QGridLayout(window.get()), dir->path());
        window->findChild<QLineEdit*>()->setText(server.Url("/a.zip").toString());
        auto* const button = window->findChild<QPushButton*>();
        button->click();
        QTRY_VERIFY(!Files().isEmpty());
        if (aborts) {
            button->click();
            QVERIFY(!row->IsRunning());
        } else {
            window.reset();
        }
        QCOMPARE(Files(), QStringList());
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
