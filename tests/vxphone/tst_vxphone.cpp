// The program as the desktop starts it, and its parts as the user works them.

#include "mainwindow.h"
#include "panels.h"
#include "transfers.h"

#include "http/faultserver.h"

#include <common/singleapp/qtsingleapplication.h>

#include <QGridLayout>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenuBar>
#include <QProcess>
#include <QPushButton>
#include <QSignalSpy>
#include <QStatusBar>
#include <QSystemTrayIcon>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBrowser>

#include <algorithm>
#include <memory>

using namespace vxphone;

namespace
{

QByteArray ContentOf(const QString& fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void Write(const QString& fileName, const QByteArray& content)
{
    QFile file(fileName);
    QVERIFY(QFileInfo(fileName).dir().mkpath(".") && file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), content.size());
}

QtSingleApplication* Application()
{
    return static_cast<QtSingleApplication*>(QCoreApplication::instance());
}

QPushButton* ButtonOf(const QWidget& widget, const QString& text)
{
    const auto buttons = widget.findChildren<QPushButton*>();
    const auto found = std::find_if(buttons.begin(), buttons.end(), [&](const QPushButton* button) {
        return QString(button->text()).remove('&') == text;
    });
    return found == buttons.end() ? nullptr : *found;
}

bool ShowsText(const QWidget& widget, const QString& text)
{
    const auto labels = widget.findChildren<QLabel*>();
    return std::any_of(labels.begin(), labels.end(),
                       [&](const QLabel* label) { return label->text().contains(text); });
}

} // namespace

class TestVxphone : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { dir = std::make_unique<QTemporaryDir>(); }
    void handOver();
    void unreadableContacts();
    void contacts();
    void download_data();
    void download();
    void downloadLeft();
    void copy();
    void call();
    void callInWindow();
    void trayIcon();
    void keys();
    void closeWhileCopying();

private:
    /// Starts the program without a display and with nothing of the user's own.
    void Start(QProcess& process, const QStringList& arguments);
    bool LogContains(const QByteArray& text);
    QString Path(const QString& name) const { return dir->filePath(name); }

    std::unique_ptr<QTemporaryDir> dir;
};

void TestVxphone::Start(QProcess& process, const QStringList& arguments)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* variable : {"HOME", "TMPDIR", "XDG_CONFIG_HOME", "XDG_DATA_HOME"}) {
        environment.insert(variable, dir->path());
    }
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(QStringLiteral(VXPHONE_PROGRAM), QStringList{"--data", Path("data")} + arguments);
}

bool TestVxphone::LogContains(const QByteArray& text)
{
    return QTest::qWaitFor([&] { return ContentOf(Path("data/vxphone.log")).contains(text); }, 30000);
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
    Write(Path("data/contacts.json"), "from another machine");
    QProcess phone;
    Start(phone, {});
    QVERIFY(LogContains("their file is kept as"));
    phone.kill();
    QVERIFY(phone.waitForFinished(30000));
    const QStringList kept = QDir(Path("data")).entryList({"contacts.json.*.unreadable"});
    QCOMPARE(kept.size(), 1);
    QCOMPARE(ContentOf(Path("data/" + kept.first())), QByteArray("from another machine"));
}

// The list sorts by name, the file keeps what belongs to each.
void TestVxphone::contacts()
{
    const auto add = [](ContactPanel& panel, const QString& name, const QString& address) {
        panel.Add(address);
        auto* const dialog = panel.findChild<QInputDialog*>();
        dialog->setTextValue(name);
        dialog->accept();
        QTRY_VERIFY(panel.findChild<QInputDialog*>() == nullptr);
    };
    {
        ContactPanel panel(Path("contacts.json"));
        add(panel, "Zoe", "zoe@example.com");
        add(panel, "Ann", "ann@example.com");
        add(panel, "Max", "max@example.com");
        auto* const list = panel.findChild<QListWidget*>();
        list->setCurrentRow(1);
        panel.show();
        QVERIFY(QTest::qWaitForWindowExposed(&panel));
        list->setFocus();
        QTest::keyClick(list, Qt::Key_Delete);
        QCOMPARE(list->count(), 2);
    }
    QVERIFY(!ContentOf(Path("contacts.json")).contains("Ann"));
    ContactPanel panel(Path("contacts.json"));
    QSignalSpy chosen(&panel, &ContactPanel::chosen);
    auto* const list = panel.findChild<QListWidget*>();
    QCOMPARE(list->count(), 2);
    for (int row = 0; row < 2; ++row) {
        Q_EMIT list->itemActivated(list->item(row));
    }
    QCOMPARE(chosen.value(0).value(0).toString(), QString("ann@example.com"));
    QCOMPARE(chosen.value(1).value(0).toString(), QString("zoe@example.com"));
}

void TestVxphone::download_data()
{
    QTest::addColumn<Answer>("answer");
    QTest::addColumn<bool>("aborted");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("told");

    const QByteArray half = Response("200 OK", "half a file").chopped(5);
    QTest::newRow("whole") << Answer{Response("200 OK", "new")} << false << QByteArray("new") << "Saved as";
    QTest::newRow("error page") << Answer{Response("404 No", "page")} << false << QByteArray("old")
                                << "Error 203";
    QTest::newRow("refused for now, which fails twice")
        << Answer{Response("429 Busy", "page")} << false << QByteArray("old") << "Error ";
    QTest::newRow("cut off") << Answer{half} << false << QByteArray("old") << "Error ";
    QTest::newRow("aborted") << Answer{Response("200 OK", QByteArray(900, 'x')), Answer::Close, 50} << true
                             << QByteArray("old") << "Aborted";
}

void TestVxphone::download()
{
    QFETCH(Answer, answer);
    QFETCH(bool, aborted);
    QFETCH(QByteArray, content);
    QFETCH(QString, told);

    Write(Path("a.zip"), "old");
    FaultServer server({answer});
    QWidget window;
    TransferRow* const row = CreateDownloadRow(new QGridLayout(&window), dir->path());
    QSignalSpy ended(row, &TransferRow::ended);
    auto* const field = window.findChild<QLineEdit*>();
    field->setText(server.Url("/files/a.zip").toString());
    QTest::keyClick(field, Qt::Key_Return);
    QVERIFY(row->IsRunning());
    if (aborted) {
        QTRY_VERIFY(ShowsText(window, " of 900 bytes"));
        ButtonOf(window, "Abort")->click();
    }
    QTRY_COMPARE(ended.count(), 1);
    QVERIFY(ShowsText(window, told));
    QVERIFY(!row->IsRunning() && ButtonOf(window, "Download") != nullptr);
    QCOMPARE(ContentOf(Path("a.zip")), content);
    QCOMPARE(QDir(dir->path()).entryList(QDir::Files), QStringList{"a.zip"});
}

// The window goes while a download runs; and a folder has the name of the file.
void TestVxphone::downloadLeft()
{
    FaultServer server(
        {{Response("200 OK", QByteArray(900, 'x')), Answer::Close, 50}, {Response("200 OK", "new")}});
    const auto start = [&](QWidget& window) {
        CreateDownloadRow(new QGridLayout(&window), dir->path());
        window.findChild<QLineEdit*>()->setText(server.Url("/a.zip").toString());
        ButtonOf(window, "Download")->click();
    };
    auto window = std::make_unique<QWidget>();
    start(*window);
    QTRY_VERIFY(ShowsText(*window, " of 900 bytes"));
    window.reset();
    QCOMPARE(QDir(dir->path()).entryList(QDir::Files), QStringList());

    QVERIFY(QDir(dir->path()).mkpath("a.zip/sub"));
    QWidget other;
    start(other);
    QTRY_VERIFY(ShowsText(other, "Kept as"));
    QCOMPARE(ContentOf(Path("a.zip.part")), QByteArray("new"));
}

void TestVxphone::copy()
{
    Write(Path("skins/blue/a.png"), "picture");
    QWidget window;
    CreateCopyRow(new QGridLayout(&window), Path("backup"));
    auto* const field = window.findChild<QLineEdit*>();
    for (const QString& nothing : {QString(), QString("/")}) {
        field->setText(nothing);
        QTest::keyClick(field, Qt::Key_Return);
        QVERIFY(ShowsText(window, "Name a folder"));
    }
    field->setText(Path("skins/blue/../"));
    QTest::keyClick(field, Qt::Key_Return);
    QTRY_VERIFY(ShowsText(window, "Copied to"));
    QCOMPARE(ContentOf(Path("backup/skins/blue/a.png")), QByteArray("picture"));
}

void TestVxphone::call()
{
    DialPanel panel;
    QSignalSpy changed(&panel, &DialPanel::callChanged);
    QSignalSpy waits(&panel, &DialPanel::addressWaits);
    auto* const field = panel.findChild<QLineEdit*>();
    QTest::keyClick(field, Qt::Key_Return);
    QCOMPARE(changed.count(), 0);
    panel.SetAddress("tel://%2B1 (495) 1");
    QCOMPARE(field->text(), QString("+1(495)1"));
    QTest::keyClick(field, Qt::Key_Return);
    QTest::keyClick(field, Qt::Key_Return);
    QCOMPARE(changed.count(), 1);
    panel.SetAddress("callto:ann@example.com");
    QCOMPARE(waits.value(0).value(0).toString(), QString("ann@example.com"));
    QCOMPARE(field->text(), QString("+1(495)1"));
    ButtonOf(panel, "Hang up")->click();
    QCOMPARE(changed.count(), 2);
    QCOMPARE(field->text(), QString("ann@example.com"));
}

// The icon fades and turns round in the middle; an address that arrives by a link of the chat is told.
void TestVxphone::callInWindow()
{
    MainWindow window(*Application(), QDir(dir->path()), new QWidget);
    const auto icon = [&] { return window.windowIcon().pixmap(32).toImage(); };
    const QImage rest = icon();
    window.TakeAddress("tel:+1");
    ButtonOf(window, "Call")->click();
    QTRY_VERIFY(icon() != rest);
    auto* const chat = window.findChild<QTextBrowser*>();
    window.findChildren<QLineEdit*>().at(1)->setText("<b>: (tel:+2)");
    ButtonOf(window, "Send")->click();
    QVERIFY(chat->toPlainText().endsWith("<b>: (tel:+2)") && chat->toHtml().contains("href=\"tel:+2\""));
    Q_EMIT chat->anchorClicked(QUrl("tel:+2"));
    QVERIFY(ShowsText(*window.statusBar(), "call: +2"));
    ButtonOf(window, "Hang up")->click();
    QVERIFY(!ShowsText(*window.statusBar(), "+2"));
    QTRY_COMPARE(icon(), rest);
    ButtonOf(window, "Call")->click();
    QTRY_VERIFY(icon() != rest);
}

void TestVxphone::trayIcon()
{
    MainWindow window(*Application(), QDir(dir->path()), new QWidget);
    Application()->setActivationWindow(&window, false);
    window.showMinimized();
    auto* const tray = window.findChild<QSystemTrayIcon*>();
    Q_EMIT tray->activated(QSystemTrayIcon::Context);
    QVERIFY(window.isMinimized());
    Q_EMIT tray->activated(QSystemTrayIcon::Trigger);
    QVERIFY(!window.isMinimized());
    Application()->setActivationWindow(nullptr, false);
}

// Each mnemonic is there once, also among the labels that a button gets later.
void TestVxphone::keys()
{
    MainWindow window(*Application(), QDir(dir->path()), new QWidget);
    QStringList texts{"Ha&ng up", "A&bort", "Abor&t"};
    const auto labels = window.findChildren<QLabel*>();
    for (const QLabel* label : labels) {
        texts += label->text();
    }
    const auto buttons = window.findChildren<QPushButton*>();
    for (const QPushButton* button : buttons) {
        texts += button->text();
    }
    const auto menus = window.menuBar()->actions();
    for (const QAction* menu : menus) {
        texts += menu->text();
    }
    QStringList mnemonics;
    for (const QString& text : std::as_const(texts)) {
        if (text.contains('&')) {
            mnemonics += text.mid(text.indexOf('&') + 1, 1).toLower();
        }
    }
    QVERIFY(mnemonics.size() > 10);
    QCOMPARE(mnemonics.removeDuplicates(), 0);
}

// The program stays until the file at hand is copied, and then ends without another word.
void TestVxphone::closeWhileCopying()
{
    Write(Path("skins/a.png"), QByteArray(1000000, 'x'));
    MainWindow window(*Application(), QDir(dir->path()), new QWidget);
    window.show();
    window.findChildren<QLineEdit*>().constLast()->setText(Path("skins"));
    ButtonOf(window, "Copy")->click();
    QVERIFY(!window.close());
    QVERIFY(window.isVisible());
    QTRY_VERIFY(!window.isVisible());
}

int main(int argc, char* argv[])
{
    QTemporaryDir home;
    for (const char* variable : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME"}) {
        qputenv(variable, home.path().toUtf8());
    }
    QtSingleApplication application("tst_vxphone", argc, argv);
    QtSingleApplication::setQuitOnLastWindowClosed(false);
    TestVxphone test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_vxphone.moc"
