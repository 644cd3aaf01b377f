#include <common/chrome/pluginutils.h>
#include <common/clicktocall/clicktocall.h>

#include <logger/recordinglogger.h>
#include <registration/usertree.h>
#include <table.h>

#include <QCoreApplication>

using common::ClickToCall;
using common::chrome::PluginUtils;

namespace
{

const QString application = QStringLiteral("Vx Test.é");
const QString organization = QStringLiteral("Vxcommon Tests");
const QString classes = QStringLiteral("Software/Classes/");
const QString associations = QStringLiteral("Software/Microsoft/Windows/Shell/Associations/UrlAssociations/");
const QString registered = QStringLiteral("Software/RegisteredApplications/");

QString ProgId(const QString& protocol)
{
    return organization + "." + application + "." + protocol;
}

} // namespace

class TestRegistration : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();
    void tree();
    void owner_data();
    void owner();
    void extension();
#ifdef Q_OS_WIN
    void refused();
#endif

private:
    UserTree user;
};

// On Windows, the test uses the real registry, so it removes only its own keys.
void TestRegistration::cleanup()
{
    const auto settings = UserTree::Open();
    for (const QString scheme : {"vxtest", "fax", "sip", "tel"}) {
        settings->remove(classes + scheme);
        settings->remove(classes + ProgId(scheme));
        settings->remove(associations + scheme);
    }
    settings->remove("Software/" + organization);
    settings->remove(registered + application);
    QFile::remove(user.ConfigPath("mimeapps.list"));
}

void TestRegistration::tree()
{
    QVERIFY(ClickToCall::registerProtocols({"vxtest", "fax"}, application, organization));
    using Tree = QMap<QString, QString>;
    const QString program = QDir::toNativeSeparators(QCoreApplication::applicationFilePath());
    const QString icon = "\"" + program + ",1\"";
    const QString command = "\"" + program + "\" --callto \"%1\"";
    const QString base = "Software/" + organization + "/" + application;
    Tree scheme{{"Default", "URL:fax Protocol"},
                {"URL Protocol", ""},
                {"DefaultIcon/Default", icon},
                {"shell/open/command/Default", command}};
    QCOMPARE(UserTree::Below(base), (Tree{{"DefaultLanguage", "en-US"},
                                          {"Capabilities/ApplicationDescription", application},
                                          {"Capabilities/ApplicationIcon", icon},
                                          {"Capabilities/ApplicationName", application},
                                          {"Capabilities/URLAssociations/fax", ProgId("fax")},
                                          {"Capabilities/URLAssociations/vxtest", ProgId("vxtest")},
                                          {"Protocols/Default", ""},
                                          {"shell/open/command/Default", command}}));
    QCOMPARE(UserTree::Below(classes + "fax"), scheme);
    QCOMPARE(UserTree::Below(classes + ProgId("fax")).value("shell/open/command/Default"), command);
    QCOMPARE(UserTree::Open()->value(registered + application).toString(),
             "SOFTWARE\\" + organization + "\\" + application + "\\Capabilities");
    QCOMPARE(ClickToCall::stateOfProtocols(application, organization), QStringList("fax"));

    QVERIFY(ClickToCall::unregisterProtocols({"fax"}, application, organization));
    scheme["DefaultIcon/Default"] = scheme["shell/open/command/Default"] = "";
    QCOMPARE(UserTree::Below(base + "/Capabilities/URLAssociations").keys(), QStringList("vxtest"));
    QCOMPARE(UserTree::Below(classes + "fax"), scheme);
    QCOMPARE(UserTree::Below(classes + ProgId("fax")), Tree());

    QVERIFY(ClickToCall::registerProtocols({"sip"}, application, organization));
    QVERIFY(ClickToCall::unregisterApplication(application, organization));
    QCOMPARE(ClickToCall::stateOfProtocols(application, organization), QStringList());
    QCOMPARE(UserTree::Below(base), Tree());
    QVERIFY(!UserTree::Open()->contains(registered + application));
    QCOMPARE(UserTree::Below(classes + "sip").value("shell/open/command/Default"), command);
}

void TestRegistration::owner_data()
{
    const Table<QString, bool> row("choice", "own");
    row("none", "", true);
    row("identifier of another scheme", ProgId("sip"), true);
    row("identifier without its last dot", organization + "." + application, false);
    row("somebody else", "OtherPhone.tel", false);
}

void TestRegistration::owner()
{
    QFETCH(QString, choice);
    QFETCH(bool, own);

    const QString key = associations + "tel/UserChoice/Progid";
    QVERIFY(ClickToCall::registerProtocols({"tel"}, application, organization));
    UserTree::Open()->setValue(key, choice);
    QCOMPARE(ClickToCall::stateOfProtocols(application, organization), QStringList(own ? 1 : 0, "tel"));
    QVERIFY(ClickToCall::unregisterProtocols({"tel"}, application, organization));
    QVERIFY(UserTree::Open()->contains(key));
    QCOMPARE(UserTree::Open()->value(key).toString(), own ? "" : choice);
    QVERIFY(ClickToCall::registerProtocols({"tel"}, application, organization));
    QCOMPARE(UserTree::Open()->value(key).toString(), application);
}

void TestRegistration::extension()
{
    const QString root = "Software/Google/Chrome/Extensions/";
    const QString id = "abcdefghijklmnopabcdefghijklmnop";
    const QString name = root + id + "/update_url";
    UserTree::Open()->setValue(name, "https://example.com/updates");
    QVERIFY(!PluginUtils::IsRegistered(id));
    QVERIFY(PluginUtils::UnregisterPlugin(id));
    QCOMPARE(UserTree::Open()->value(name), "https://example.com/updates");
    QVERIFY(PluginUtils::RegisterPlugin(id));
    QVERIFY(PluginUtils::IsRegistered(id));
    const QString address = UserTree::Open()->value(name).toString();
    QVERIFY(address.endsWith("/service/update2/crx"));
#ifdef Q_OS_UNIX
    const QString file = user.ConfigPath("chromium/External Extensions/" + id + ".json");
    const QByteArray published = filetree::Read(file);
    QVERIFY(published.contains("\"external_update_url\": \"" + address.toUtf8() + "\""));
    QVERIFY(PluginUtils::RegisterPlugin("../../../escape"));
    QVERIFY(!QFile::exists(user.ConfigPath("../escape.json")));
    QVERIFY(PluginUtils::UnregisterPlugin("../../../escape"));
#endif
    const RecordingLogger log;
    QVERIFY(!PluginUtils::RegisterPlugin(id));
    QCOMPARE(log.lines.size(), 1U);
    QCOMPARE(log.lines[0].level, common::logger::Warn);
    QVERIFY(log.lines[0].text.contains("already exists"));
    QVERIFY(PluginUtils::UnregisterPlugin(id));
    QVERIFY(UserTree::Below(root).isEmpty());
    QVERIFY(!QFile::exists(user.ConfigPath("chromium")));
#ifdef Q_OS_UNIX
    QVERIFY(PluginUtils::RegisterPlugin(id));
    filetree::Write(file, "{\"external_update_url\": \"https://example.com/updates\"}");
    QVERIFY(PluginUtils::UnregisterPlugin(id));
    QVERIFY(QFile::exists(file)); // Unregistering keeps a file that another program has replaced.
#endif
}

#ifdef Q_OS_WIN
// The name of a registry key has at most 255 characters.
void TestRegistration::refused()
{
    const QString tooLong(300, 'x');
    const RecordingLogger log;
    QVERIFY(!ClickToCall::registerProtocols({"vxtest"}, tooLong, organization));
    QCOMPARE(log.Lines("common.clicktocall", 7), QStringList("3 ClickToCall::registerProtocols1"));
    UserTree::Open()->remove(registered + tooLong);
}
#endif

QTEST_GUILESS_MAIN(TestRegistration)
#include "tst_registration.moc"
