#include <common/clicktocall/clicktocall.h>

#include <logger/recordinglogger.h>
#include <registration/usertree.h>

#include <QCoreApplication>

#include <cstdio>

using common::ClickToCall;

namespace
{

const QString organization = QStringLiteral("Vxcommon Tests");

/// Started by a click on an address, this program notes how; else it registers a name many times.
int RunAsChild(const QStringList& arguments)
{
    if (arguments.at(1) == "--callto") {
        UserTree::Write(qEnvironmentVariable("CALL_RECORD"), arguments.mid(1).join('|').toUtf8());
        return 0;
    }
    const QString name = arguments.at(2);
    for (int i = 0; i < 10; ++i) {
        const QString scheme = QStringLiteral("%1-%2").arg(name).arg(i);
        if (!ClickToCall::registerProtocols({scheme}, name, organization)) {
            return 1;
        }
    }
    return 0;
}

QByteArray DefaultHandler(const QString& scheme)
{
    return UserTree::Run("xdg-mime", {"query", "default", "x-scheme-handler/" + scheme});
}

} // namespace

class TestUrlHandlers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void names_data();
    void names();
    void click_data();
    void click();
    void chosenElsewhere();
    void listOfOthers_data();
    void listOfOthers();
    void desktopsOwnList();
    void twoProcesses();

private:
    QStringList Entries() const
    {
        return QDir(user->DataPath("applications")).entryList({"*-url-handler.desktop"});
    }

    std::unique_ptr<UserTree> user;
};

void TestUrlHandlers::init()
{
    user = std::make_unique<UserTree>();
    UserTree::Write(user->DataPath("applications/other.desktop"),
                    "[Desktop Entry]\nType=Application\nName=Other\nExec=true %u\n");
}

void TestUrlHandlers::cleanup()
{
    user.reset();
}

void TestUrlHandlers::names_data()
{
    QTest::addColumn<QString>("application");
    QTest::addColumn<QString>("vendor");

    QTest::newRow("plain") << "Phone"
                           << "Maker";
    QTest::newRow("a path upwards") << "../../../escape"
                                    << "..";
    QTest::newRow("list separators") << "a;b=c"
                                     << "[x]";
    QTest::newRow("line breaks") << "a\nExec=evil\r"
                                 << "b\n";
    QTest::newRow("not ASCII") << QString::fromUtf8("Телефон ☎") << QString::fromUtf8("Ä Ö");
    QTest::newRow("longer than a file name") << QString(300, 'n') << QString(300, 'o');
    QTest::newRow("blank") << " "
                           << " ";
}

void TestUrlHandlers::names()
{
    QFETCH(QString, application);
    QFETCH(QString, vendor);

    QVERIFY(ClickToCall::registerProtocols({"tel"}, application, vendor));
    QVERIFY(ClickToCall::registerProtocols({"sip"}, application + "2", vendor));
    QCOMPARE(ClickToCall::stateOfProtocols(application, vendor), QStringList({"tel"}));
    const QStringList entries = Entries();
    QCOMPARE(entries.size(), 2);
    QVERIFY(entries.contains(DefaultHandler("tel")));
    for (const QString& entry : entries) {
        QCOMPARE(UserTree::Run("desktop-file-validate", {user->DataPath("applications/" + entry)}),
                 QByteArray());
    }
    QVERIFY(ClickToCall::unregisterProtocols({"tel"}, application, vendor));
    QVERIFY(ClickToCall::unregisterApplication(application + "2", vendor));
    QCOMPARE(Entries(), QStringList());
    QCOMPARE(UserTree::Read(user->ConfigPath("mimeapps.list")), QByteArray("no file"));
}

void TestUrlHandlers::click_data()
{
    QTest::addColumn<QString>("opener");
    QTest::addColumn<QString>("address");

    QTest::newRow("xdg-open") << "xdg-open"
                              << "tel:+4912345";
    QTest::newRow("GLib") << "gio"
                          << "tel:+4912345";
    QTest::newRow("an address that looks like code") << "gio"
                                                     << "tel:+49%22%20--evil;$(id)`id`";
}

void TestUrlHandlers::click()
{
    QFETCH(QString, opener);
    QFETCH(QString, address);

    const QString record = user->DataPath("record");
    qputenv("CALL_RECORD", record.toUtf8());
    QVERIFY(ClickToCall::registerProtocols({"tel"}, "Phone", organization));
    const QStringList arguments = opener == "gio" ? QStringList{"open", address} : QStringList{address};
    QCOMPARE(UserTree::Run(opener, arguments), QByteArray());
    QTRY_COMPARE(UserTree::Read(record), "--callto|" + address.toUtf8());
}

void TestUrlHandlers::chosenElsewhere()
{
    QVERIFY(ClickToCall::registerProtocols({"tel", "sip"}, "Phone", organization));
    const QString own = DefaultHandler("tel");
    QCOMPARE(UserTree::Run("xdg-mime", {"default", "other.desktop", "x-scheme-handler/tel"}), QByteArray());
    QCOMPARE(ClickToCall::stateOfProtocols("Phone", organization), QStringList({"sip"}));
    QVERIFY2(ClickToCall::registerProtocols({"sip"}, "Phone", organization), "leaves tel alone");
    QCOMPARE(DefaultHandler("tel"), QByteArray("other.desktop"));
    QCOMPARE(UserTree::Run("xdg-mime", {"default", own, "x-scheme-handler/tel"}), QByteArray());
    QCOMPARE(ClickToCall::stateOfProtocols("Phone", organization), QStringList({"tel", "sip"}));

    QCOMPARE(UserTree::Run("xdg-mime", {"default", "other.desktop", "x-scheme-handler/tel"}), QByteArray());
    QVERIFY(ClickToCall::registerProtocols({"tel"}, "Phone", organization));
    QCOMPARE(DefaultHandler("tel"), own.toUtf8());
    QVERIFY2(ClickToCall::registerProtocols({"tel"}, "Third", organization), "one of our own kind");
    QCOMPARE(ClickToCall::stateOfProtocols("Phone", organization), QStringList({"sip"}));
    QCOMPARE(UserTree::Run("xdg-mime", {"default", own, "x-scheme-handler/tel"}), QByteArray());
    QCOMPARE(ClickToCall::stateOfProtocols("Phone", organization), QStringList({"tel", "sip"}));
    QCOMPARE(ClickToCall::stateOfProtocols("Third", organization), QStringList());
}

void TestUrlHandlers::listOfOthers_data()
{
    QTest::addColumn<QByteArray>("list");

    QTest::newRow("none") << QByteArray("no file");
    QTest::newRow("other sections") << QByteArray("[Added Associations]\ntext/plain=a.desktop;\n");
    QTest::newRow("our scheme, with a list")
        << QByteArray("[Default Applications]\nx-scheme-handler/tel=other.desktop;b.desktop;\n");
    QTest::newRow("our scheme, without a separator") << QByteArray(
        "# note\n\n[Default Applications]\n x-scheme-handler/tel = other.desktop\n\n[X]\n=\nno\n");
    QTest::newRow("Windows line ends")
        << QByteArray("[Default Applications]\r\nx-scheme-handler/tel=other.desktop\r\na/b=c.desktop\r\n");
    QTest::newRow("defaults in the middle")
        << QByteArray("[Default Applications]\na/b=c.desktop\n\n[Added Associations]\nd/e=f.desktop\n\n\n");
    QTest::newRow("bytes that are no text")
        << QByteArray("[\xff]\n\xfe=\x01\n\n[Default Applications]\n\xfd=\n");
}

void TestUrlHandlers::listOfOthers()
{
    QFETCH(QByteArray, list);

    const QString path = user->ConfigPath("mimeapps.list");
    if (list != "no file") {
        UserTree::Write(path, list);
    }
    QVERIFY(ClickToCall::registerProtocols({"tel", "sip"}, "Phone", organization));
    const QString own = Entries().value(0);
    QCOMPARE(DefaultHandler("sip"), own.toUtf8());
    for (const QByteArray& line : list.split('\n')) {
        QVERIFY2(list == "no file" || line.contains("x-scheme-handler/tel") ||
                     UserTree::Read(path).contains(line),
                 line.constData());
    }
    QVERIFY(ClickToCall::unregisterProtocols({"tel", "sip"}, "Phone", organization));
    QCOMPARE(UserTree::Read(path), list);
}

void TestUrlHandlers::desktopsOwnList()
{
    qputenv("XDG_CURRENT_DESKTOP", "Nowhere:Somewhere");
    const QString path = user->ConfigPath("somewhere-mimeapps.list");
    const QByteArray list = "[Default Applications]\nx-scheme-handler/tel=other.desktop\n"
                            "[Removed Associations]\nx-scheme-handler/tel=Maker.Phone-url-handler.desktop;\n";
    UserTree::Write(path, list);
    QVERIFY(ClickToCall::registerProtocols({"tel"}, "Phone", "Maker"));
    QCOMPARE(UserTree::Read(path), QByteArray("[Default Applications]\nx-scheme-handler/tel="
                                              "Maker.Phone-url-handler.desktop;other.desktop\n"));
    QCOMPARE(ClickToCall::stateOfProtocols("Phone", "Maker"), QStringList({"tel"}));
    qunsetenv("XDG_CURRENT_DESKTOP");
}

void TestUrlHandlers::twoProcesses()
{
    const QStringList names{"first", "second", "third"};
    std::vector<std::unique_ptr<QProcess>> processes;
    for (const QString& name : names) {
        processes.push_back(std::make_unique<QProcess>());
        processes.back()->start(QCoreApplication::applicationFilePath(), {"--register", name});
    }
    for (const auto& process : processes) {
        QVERIFY(process->waitForFinished(60000));
        QCOMPARE(process->exitCode(), 0);
    }
    const QByteArray list = UserTree::Read(user->ConfigPath("mimeapps.list"));
    for (const QString& name : names) {
        QCOMPARE(
            UserTree::Below("Software/" + organization + "/" + name + "/Capabilities/URLAssociations").size(),
            10);
        QCOMPARE(list.count("x-scheme-handler/" + name.toUtf8() + '-'), 10);
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
