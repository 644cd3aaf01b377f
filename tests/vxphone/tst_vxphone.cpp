// Tests the start of the program by the desktop, and the safety of the user's data.

#include "mainwindow.h"
#include "panels.h"
#include "transfers.h"

#include "files/filetree.h"
#include "http/faultserver.h"
#include "table.h"

#include <common/singleapp/qtsingleapplication.h>

#include <QAccessible>
#include <QLabel>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>
#include <QTemporaryDir>

#include <memory>

class TestVxphone : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { dir = std::make_unique<QTemporaryDir>(); }
    void links_data();
    void links();
    void phoneBook();
    void calls();
    void markupInALink();
    void longTexts();
    void everythingHasAName();
    void handOver();
    void noDisplay();
    void download();
    void closeWhileCopying();

private:
    std::unique_ptr<MainWindow> CreateWindow() const
    {
        return std::make_unique<MainWindow>(QDir(dir->path()), new QWidget);
    }
    QString BookFile() const { return dir->filePath("contacts.json"); }
    QStringList Files() const { return filetree::Snapshot(dir->path()); }

    std::unique_ptr<QTemporaryDir> dir;
};

void TestVxphone::links_data()
{
    const Table<QString, QString> row("link", "address");
    row("not a link", "+1-212;ext=12", "+1-212;ext=12");
    row("extension", "TEL:+1-212;phone-context=+1;ext=12", "+1-212,12");
    row("slashes", "callto://ann@office.quollsip.test", "ann@office.quollsip.test");
    row("parameters", "sip:bob@example.com:5070;transport=tls?subject=a", "bob@example.com:5070");
    row("escaped in a parameter", "sip:bob@example.com;a=%40?to=ann%40example.com", "bob@example.com");
    row("user with parameters", "sips:+1;ext=2@example.com", "+1;ext=2@example.com");
    row("escapes", "tel:%2B1%20212", "+1 212");
}

void TestVxphone::links()
{
    QFETCH(const QString, link);
    QTEST(PlainAddress(link), "address");
}

// Each change is saved immediately, in case the process is killed.
void TestVxphone::phoneBook()
{
    PhoneBook book(BookFile());
    book.AddContact({"Front desk", "+1-212-555-0100"});
    book.AddContact({"Ann", "ann@office.quollsip.test"});
    book.AddCall({"+1 (212) 555 0100", QDateTime::currentDateTimeUtc(), 42});
    book.RemoveContact(0);
    QVERIFY(PhoneBook(BookFile()).Find("ann@office.quollsip.test") == nullptr);
    book.RestoreContact();
    book.RestoreContact();

    const PhoneBook loaded(BookFile());
    QCOMPARE(loaded.Contacts().size(), 2);
    QCOMPARE(loaded.Contacts().first().name, "Ann");
    QCOMPARE(loaded.NameOf("Ann@office.quollsip.test"), "Ann");
    QCOMPARE(loaded.NameOf(loaded.Calls().first().address), "Front desk");
    QCOMPARE(loaded.Calls().first().seconds, 42);
    QVERIFY(qAbs(loaded.Calls().first().start.secsTo(QDateTime::currentDateTimeUtc())) < 60);
    QVERIFY(!Files().first().contains("Front desk"));
}

// An address that arrives during a call is shown after the call, unless it is the address being called. If
// the program quits during a call, it records the call.
void TestVxphone::calls()
{
    const auto window = CreateWindow();
    auto* const banner = window->findChild<CallBanner*>();
    const auto* const field = window->findChild<QLineEdit*>();
    auto* const hangUp = window->findChild<QPushButton*>("hangUp");
    banner->Call("+1-212-555-0100");
    window->TakeAddress("tel:+12125550100");
    hangUp->click();
    QCOMPARE(field->text(), "");
    banner->Call("+1");
    window->TakeAddress("callto:ann");
    hangUp->click();
    window->TakeAddress(""); // A secondary instance without a link sends an empty message.
    QCOMPARE(field->text(), "ann");
    banner->Call("ann");
    QVERIFY(window->close());
    const QList<RecentCall> calls = PhoneBook(BookFile()).Calls();
    QCOMPARE(calls.size(), 3);
    QCOMPARE(calls.first().address, "ann");
}

// If a link were shown as rich text, Qt would read the image files that it names.
void TestVxphone::markupInALink()
{
    const auto window = CreateWindow();
    window->TakeAddress("tel:tel:%253Cb%253E");
    QCOMPARE(window->findChild<QLineEdit*>()->text(), "tel:%3Cb%3E");
    for (const QLabel* const label : window->findChildren<QLabel*>()) {
        QVERIFY2(!label->toolTip().contains("<b>"), qPrintable(label->toolTip()));
    }
}

// A long message is fully visible, and its link fills the address field. The field accepts only the
// beginning of a pasted document, because cleaning the whole document would block the window for seconds.
void TestVxphone::longTexts()
{
    const auto window = CreateWindow();
    window->show();
    auto* const messages = window->findChild<QWidget*>("messages");
    auto* const line = window->findChildren<QLineEdit*>().last();
    line->setText("tel:+1-212 " + QString("word ").repeated(50));
    QTest::keyClick(line, Qt::Key_Return);
    QCoreApplication::processEvents();
    const auto bubbles = messages->findChildren<QLabel*>();
    QCOMPARE(bubbles.size(), 2);
    for (QLabel* const bubble : bubbles) {
        QVERIFY(bubble->height() >= bubble->heightForWidth(bubble->width()));
    }
    Q_EMIT bubbles.first()->linkActivated("tel:+1-212");
    auto* const field = window->findChild<QLineEdit*>();
    QCOMPARE(field->text(), "+1-212");
    field->insert(QString("word ").repeated(6000));
    QVERIFY(field->text().size() < 4096);
}

// A screen reader needs a name for every widget that can have the focus.
void TestVxphone::everythingHasAName()
{
    const auto window = CreateWindow();
    window->findChild<TransferPanel*>()->Copy(dir->filePath("none"));
    const auto widgets = window->centralWidget()->findChildren<QWidget*>();
    int checked = 0;
    for (QWidget* const widget : widgets) {
        if ((widget->focusPolicy() & Qt::TabFocus) != 0 && !widget->inherits("QSplitterHandle")) {
            ++checked;
            const auto* const accessible = QAccessible::queryAccessibleInterface(widget);
            QVERIFY2(!accessible->text(QAccessible::Name).isEmpty(), widget->metaObject()->className());
        }
    }
    QVERIFY(checked > 20);
    QVERIFY(QRect(QPoint(), window->screen()->availableSize()).contains(QRect(QPoint(), window->size())));
}

// The primary instance starts with a clicked link; a secondary instance sends its link and exits. An
// unreadable phone book is kept. Arguments after a link are not passed to Qt: with "-platform none", the
// program would not start.
void TestVxphone::handOver()
{
    filetree::Build(dir->path(), {"contacts.json=from another machine"});
    const auto start = [&](QProcess& process, const QStringList& link) {
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(VXPHONE_PROGRAM, QStringList{"--data", dir->path()} + link);
    };
    const auto hasLogged = [&](const QString& text) {
        return QTest::qWaitFor(
            [&] { return Files().filter("vxphone.log=").join("").remove('\r').contains(text); }, 30000);
    };
    QProcess first;
    start(first, {"--callto", "tel:+1", "-platform", "none"});
    QVERIFY(hasLogged("address to call: +1\n"));
    QVERIFY(hasLogged("their file is now"));
    QProcess second;
    start(second, {"--callto=callto://ann@office.quollsip.test", "-platform", "none"});
    QVERIFY(second.waitForFinished(30000));
    QCOMPARE(second.exitCode(), 0);
    QVERIFY(hasLogged("address to call: ann@office.quollsip.test\n"));
    QCOMPARE(first.state(), QProcess::Running);
    first.kill();
    QVERIFY(first.waitForFinished(30000));
    QCOMPARE(Files().filter(QRegularExpression("^contacts.*unreadable=from another machine$")).size(), 1);
}

// The program prints why it cannot start.
void TestVxphone::noDisplay()
{
#ifdef Q_OS_UNIX // On Windows, the program shows a message box.
    QProcess process;
    process.start(QStringLiteral(VXPHONE_PROGRAM), {"-platform", "none"});
    QVERIFY(process.waitForFinished(30000));
    QVERIFY(process.readAllStandardError().contains("platform plugin"));
#endif
}

// Only a complete file replaces an older one.
void TestVxphone::download()
{
    FaultServer server({{Response("200 OK", "half a file").chopped(5)},
                        {Response("404 No", "page")},
                        {Response("200 OK", "new")}});
    filetree::Build(dir->path(), {"downloads/a.zip=old"});
    TransferPanel panel(dir->path());
    for (const char* left : {"old", "old", "new"}) {
        panel.Download(server.Url("/files/a.zip"));
        panel.Download(server.Url("/files/a.zip")); // A second download of the same file is ignored.
        QVERIFY(panel.IsRunning());
        QTRY_VERIFY(!panel.IsRunning());
        QCOMPARE(Files(), QStringList(QString("downloads/a.zip=") + left));
    }
    TransferPanel blocked(dir->filePath("downloads/a.zip")); // A file cannot contain a directory.
    blocked.Download(server.Url("/files/a.zip"));
    QTRY_VERIFY(!blocked.IsRunning());
    QCOMPARE(blocked.findChildren<QLabel*>().last()->text(), "The file cannot be created.");
}

// The program finishes copying the current file before it ends.
void TestVxphone::closeWhileCopying()
{
    filetree::Build(dir->path(), {"skins/a.png=" + QString(1000000, 'x')});
    const auto window = CreateWindow();
    window->show();
    window->findChild<TransferPanel*>()->Copy(dir->filePath("skins"));
    QVERIFY(!window->close());
    QVERIFY(window->isVisible());
    QTRY_VERIFY(!window->isVisible());
}

int main(int argc, char* argv[])
{
    const QTemporaryDir home; // Keeps the user's files and a running vxphone out of the test.
    for (const char* variable : {"HOME", "TMPDIR", "XDG_CONFIG_HOME", "XDG_DATA_HOME"}) {
        qputenv(variable, home.path().toUtf8());
    }
    QtSingleApplication application("tst_vxphone", argc, argv);
    QtSingleApplication::setQuitOnLastWindowClosed(false);
    TestVxphone test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_vxphone.moc"
