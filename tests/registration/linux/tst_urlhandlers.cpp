#include <common/clicktocall/clicktocall.h>

#include <registration/usertree.h>

#include <QCoreApplication>

#include <sys/file.h>

using common::ClickToCall;

namespace
{

constexpr int rounds = 5;

/// Started by a click on an address, this program notes how; else it registers a name many times.
int RunAsChild(const QStringList& arguments)
{
    if (arguments.at(1) == "--callto") {
        UserTree::Write(qEnvironmentVariable("CALL_RECORD"), arguments.mid(1).join('|').toUtf8());
        return 0;
    }
    bool done = true;
    for (int i = 0; i < rounds; ++i) {
        const QString scheme = QStringLiteral("%1-%2").arg(arguments.at(2)).arg(i);
        done = ClickToCall::registerProtocols({scheme}, arguments.at(2), "Maker") && done;
    }
    return done ? 0 : 1;
}

QByteArray DefaultHandler(const QString& scheme)
{
    return UserTree::Run("xdg-mime", {"query", "default", "x-scheme-handler/" + scheme});
}

bool ChooseForTel(const QString& entry)
{
    return UserTree::Run("xdg-mime", {"default", entry, "x-scheme-handler/tel"}).isEmpty();
}

} // namespace

class TestUrlHandlers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void names_data();
    void names();
    void click();
    void chosenElsewhere();
    void listOfOthers_data();
    void listOfOthers();
    void desktopsOwnList();
    void severalProcesses();
};

void TestUrlHandlers::names_data()
{
    QTest::addColumn<QString>("application");
    QTest::addColumn<QString>("vendor");

    const auto row = [](const char* name, const QString& application, const QString& vendor) {
        QTest::newRow(name) << application << vendor;
    };
    row("a path upwards", "../../../escape", "..");
    row("list separators", "a;b=c", "[x]");
    row("line breaks", "a\nExec=evil\r", "b\n");
    row("not ASCII", "Телефон ☎", "Ä Ö");
    row("longer than a file name", QString(300, 'n'), QString(300, 'o'));
    row("blank", " ", " ");
}

void TestUrlHandlers::names()
{
    QFETCH(QString, application);
    QFETCH(QString, vendor);

    const UserTree user;
    const QDir folder(user.DataPath("applications"));
    QVERIFY(ClickToCall::registerProtocols({"tel"}, application, vendor));
    QVERIFY(ClickToCall::registerProtocols({"sip"}, application + "2", vendor));
    QCOMPARE(ClickToCall::stateOfProtocols(application, vendor), QStringList("tel"));
    const QStringList entries = folder.entryList({"*-url-handler.desktop"});
    QCOMPARE(entries.size(), 2);
    QVERIFY(entries.contains(DefaultHandler("tel")));
    for (const QString& entry : entries) {
        QCOMPARE(UserTree::Run("desktop-file-validate", {folder.filePath(entry)}), "");
    }
    QVERIFY(ClickToCall::unregisterProtocols({"tel"}, application, vendor));
    QVERIFY(ClickToCall::unregisterApplication(application + "2", vendor));
    QCOMPARE(folder.entryList({"*-url-handler.desktop"}), QStringList());
    QCOMPARE(UserTree::Read(user.ConfigPath("mimeapps.list")), "no file");
}

void TestUrlHandlers::click()
{
    const UserTree user;
    const QString record = user.DataPath("record");
    qputenv("CALL_RECORD", record.toUtf8());
    QVERIFY(ClickToCall::registerProtocols({"sip", "tel"}, "Phone", "Maker"));
    // A scheme that an earlier version of the program, elsewhere, has registered.
    UserTree::Open()->setValue("Software/Classes/Maker.Phone.tel/shell/open/command/Default",
                               "\"/nonexistent/phone\" --callto \"%1\"");
    QVERIFY(ClickToCall::registerProtocols({"sip"}, "Phone", "Maker"));
    QCOMPARE(UserTree::Run("xdg-open", {"tel:+4912345"}), "");
    QTRY_COMPARE(UserTree::Read(record), "--callto|tel:+4912345");
    QCOMPARE(UserTree::Run("gio", {"open", "tel:+49%22%20--evil;$(id)`id`"}), "");
    QTRY_COMPARE(UserTree::Read(record), "--callto|tel:+49%22%20--evil;$(id)`id`");
}

void TestUrlHandlers::chosenElsewhere()
{
    const UserTree user;
    UserTree::Write(user.DataPath("applications/other.desktop"),
                    "[Desktop Entry]\nName=Other\nExec=true %u\n");
    QVERIFY(ClickToCall::registerProtocols({"tel", "sip"}, "Phone", "Maker"));
    const QString own = DefaultHandler("tel");
    QVERIFY(ChooseForTel("other.desktop"));
    QCOMPARE(ClickToCall::stateOfProtocols("Phone", "Maker"), QStringList("sip"));
    QVERIFY2(ClickToCall::registerProtocols({"sip"}, "Phone", "Maker"), "leaves tel alone");
    QCOMPARE(DefaultHandler("tel"), "other.desktop");
    QVERIFY(ChooseForTel(own));
    QCOMPARE(ClickToCall::stateOfProtocols("Phone", "Maker"), QStringList({"tel", "sip"}));
    QVERIFY2(ClickToCall::registerProtocols({"tel"}, "Third", "Maker"), "one of our own kind");
    QCOMPARE(ClickToCall::stateOfProtocols("Phone", "Maker"), QStringList("sip"));
    QCOMPARE(ClickToCall::stateOfProtocols("Third", "Maker"), QStringList("tel"));
}

void TestUrlHandlers::listOfOthers_data()
{
    QTest::addColumn<QByteArray>("list");

    const QByteArray header = "[Default Applications]";
    QTest::newRow("other sections") << QByteArray("[Added Associations]\ntext/plain=a.desktop;\n");
    QTest::newRow("a list") << header + "\nx-scheme-handler/tel=other.desktop;b.desktop;\n";
    QTest::newRow("blanks, no end") << "#\n\n " + header +
                                           "\n x-scheme-handler/tel = a.desktop\n\n[X]\n=\nno";
    QTest::newRow("no end in the section") << header + "\na/b=c.desktop";
    QTest::newRow("Windows line ends") << header + "\r\nx-scheme-handler/tel=a.desktop\r\na/b=c.desktop\r\n";
    QTest::newRow("in the middle") << header + "\na/b=c.desktop\n\n[Added Associations]\nd/e=f.desktop\n\n\n";
    QTest::newRow("nothing") << QByteArray("");
    QTest::newRow("bytes that are no text") << "[\xff]\n\xfe=\x01\n\n" + header + "\n\xfd=\n";
}

void TestUrlHandlers::listOfOthers()
{
    QFETCH(QByteArray, list);

    const UserTree user;
    // Kept elsewhere, as many do with their settings.
    const QString path = user.ConfigPath("kept");
    const QString link = user.ConfigPath("mimeapps.list");
    UserTree::Write(path, list);
    QVERIFY(QFile::link(path, link));
    QVERIFY(ClickToCall::registerProtocols({"tel", "sip"}, "Phone", "Maker"));
    QCOMPARE(DefaultHandler("sip"), "Maker.Phone-url-handler.desktop");
    QVERIFY(ClickToCall::unregisterProtocols({"tel", "sip"}, "Phone", "Maker"));
    QCOMPARE(UserTree::Read(path), list);
    QVERIFY(QFileInfo(link).isSymLink());
}

void TestUrlHandlers::desktopsOwnList()
{
    const UserTree user;
    qputenv("XDG_CURRENT_DESKTOP", "Nowhere:Somewhere");
    const QString path = user.ConfigPath("somewhere-mimeapps.list");
    UserTree::Write(path, "[Default Applications]\nx-scheme-handler/tel=other.desktop\n"
                          "[Removed Associations]\nx-scheme-handler/tel=Maker.Phone-url-handler.desktop;\n");
    QVERIFY(ClickToCall::registerProtocols({"tel"}, "Phone", "Maker"));
    QVERIFY2(ClickToCall::registerProtocols({"tel"}, "Phone", "Maker"), "once more changes nothing");
    QCOMPARE(UserTree::Read(path), "[Default Applications]\nx-scheme-handler/tel="
                                   "Maker.Phone-url-handler.desktop;other.desktop\n");
    QCOMPARE(ClickToCall::stateOfProtocols("Phone", "Maker"), QStringList("tel"));
}

void TestUrlHandlers::severalProcesses()
{
    const UserTree user;
    QFile lock(user.ConfigPath("vxcommon/registry.writer"));
    UserTree::Write(lock.fileName(), "");
    QVERIFY(lock.open(QIODevice::ReadOnly) && flock(lock.handle(), LOCK_SH) == 0);
    QProcess processes[3];
    for (int i = 0; i < 3; ++i) {
        processes[i].start(QCoreApplication::applicationFilePath(),
                           {"--register", QString(1, QChar('a' + i))});
    }
    QVERIFY2(!processes[0].waitForFinished(1000), "only one writes at a time");
    lock.close();
    for (QProcess& process : processes) {
        QVERIFY(process.waitForFinished(60000));
        QCOMPARE(process.exitCode(), 0);
    }
    const QByteArray list = UserTree::Read(user.ConfigPath("mimeapps.list"));
    for (const char* name : {"a", "b", "c"}) {
        const QString key = QString("Software/Maker/%1/Capabilities/URLAssociations").arg(name);
        QCOMPARE(UserTree::Below(key).size(), rounds);
        QCOMPARE(list.count(QByteArray("x-scheme-handler/") + name + '-'), rounds);
    }
}

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() > 2 && arguments.at(1).startsWith("--")) {
        return RunAsChild(arguments);
    }
    TestUrlHandlers test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_urlhandlers.moc"
