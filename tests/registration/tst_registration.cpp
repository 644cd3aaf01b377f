#include <common/chrome/pluginutils.h>
#include <common/clicktocall/clicktocall.h>

#include <logger/recordinglogger.h>
#include <registration/usertree.h>

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
    void extension_data();
    void extension();
    void refused();

private:
    UserTree user;
};

// The test runs on the real registry, so that only what it wrote may go.
void TestRegistration::cleanup()
{
    const auto settings = UserTree::Open();
    for (const QString& scheme : ClickToCall::availableProtocols() + QStringList{"vxtest"}) {
        settings->remove(classes + scheme);
        settings->remove(classes + ProgId(scheme));
        settings->remove(associations + scheme);
    }
    settings->remove("Software/" + organization);
    settings->remove(registered + application);
    settings->sync();
    QFile::remove(user.ConfigPath("mimeapps.list"));
}

void TestRegistration::tree()
{
    QCOMPARE(ClickToCall::currentAvailableProtocols(), QStringList({"callto", "tel", "sip"}));
    QVERIFY(ClickToCall::registerProtocols({"vxtest", "fax"}, application, organization));
    using Tree = QMap<QString, QString>;
    const QString program = QDir::toNativeSeparators(QCoreApplication::applicationFilePath());
    const QString icon = "\"" + program + ",1\"";
    const QString command = "\"" + program + "\" --callto \"%1\"";
    const QString base = "Software/" + organization + "/" + application;
    Tree own{{"DefaultLanguage", "en-US"},
             {"Capabilities/ApplicationDescription", application},
             {"Capabilities/ApplicationIcon", icon},
             {"Capabilities/ApplicationName", application},
             {"Capabilities/URLAssociations/vxtest", ProgId("vxtest")},
             {"Capabilities/URLAssociations/fax", ProgId("fax")},
             {"Protocols/Default", ""},
             {"shell/open/command/Default", command}};
    Tree scheme{{"Default", "URL:fax Protocol"},
                {"URL Protocol", ""},
                {"DefaultIcon/Default", icon},
                {"shell/open/command/Default", command}};
    QCOMPARE(UserTree::Below(base), own);
    QCOMPARE(UserTree::Below(classes + "fax"), scheme);
    QCOMPARE(UserTree::Below(classes + ProgId("vxtest")), (Tree{{"Default", "URL : vxtest Protocol"},
                                                                {"DefaultIcon/Default", icon},
                                                                {"shell/open/command/Default", command}}));
    QCOMPARE(UserTree::Open()->value(registered + application).toString(),
             "SOFTWARE\\" + organization + "\\" + application + "\\Capabilities");
    QCOMPARE(UserTree::Open()->value(associations + "fax/UserChoice/Progid").toString(), application);
    QCOMPARE(ClickToCall::stateOfProtocols(application, organization), QStringList("fax"));

    QVERIFY(ClickToCall::unregisterProtocols({"fax"}, application, organization));
    QVERIFY(ClickToCall::unregisterProtocols({}, application, organization));
    own.remove("Capabilities/URLAssociations/fax");
    scheme["DefaultIcon/Default"] = scheme["shell/open/command/Default"] = "";
    QCOMPARE(UserTree::Below(base), own);
    QCOMPARE(UserTree::Below(classes + "fax"), scheme);
    QCOMPARE(UserTree::Below(classes + ProgId("fax")), Tree());
    QCOMPARE(UserTree::Open()->value(associations + "vxtest/UserChoice/Progid").toString(), application);

    QVERIFY(ClickToCall::registerProtocols({"sip"}, application, organization));
    QVERIFY(ClickToCall::unregisterApplication(application, organization));
    QCOMPARE(ClickToCall::stateOfProtocols(application, organization), QStringList());
    QCOMPARE(UserTree::Below(base), Tree());
    QVERIFY(!UserTree::Open()->contains(registered + application));
    QCOMPARE(UserTree::Below(classes + "sip").value("shell/open/command/Default"), command);
}

void TestRegistration::owner_data()
{
    QTest::addColumn<QString>("choice");
    QTest::addColumn<bool>("own");

    QTest::newRow("none") << "" << true;
    QTest::newRow("application with a tail") << application + "X" << true;
    QTest::newRow("identifier of another scheme") << ProgId("sip") << true;
    QTest::newRow("identifier without its last dot") << organization + "." + application << false;
    QTest::newRow("another case") << application.toUpper() << false;
    QTest::newRow("somebody else") << "OtherPhone.tel" << false;
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

void TestRegistration::extension_data()
{
    QTest::addColumn<QString>("id");
    QTest::addColumn<bool>("published"); // In a file of the browser, besides the settings tree.

    QTest::newRow("an id") << "abcdefghijklmnopabcdefghijklmnop" << (QSysInfo::productType() != "windows");
    QTest::newRow("a path") << "../../../escape" << false;
    QTest::newRow("not ASCII") << "é ü" << false;
}

void TestRegistration::extension()
{
    QFETCH(QString, id);
    QFETCH(bool, published);

    const QString root = "Software/Google/Chrome/Extensions/";
    const QString name = root + id + "/update_url";
    RecordingLogger log;
    QVERIFY(PluginUtils::IsChromeInstalled() && !PluginUtils::IsRegistered(id));
    UserTree::Open()->setValue(name, "https://example.com/updates");
    QVERIFY(!PluginUtils::IsRegistered(id));
    QVERIFY(PluginUtils::UnregisterPlugin(id));
    QCOMPARE(UserTree::Open()->value(name), "https://example.com/updates");
    QVERIFY(PluginUtils::RegisterPlugin(id));
    QVERIFY(PluginUtils::IsRegistered(id));
    const QString address = UserTree::Open()->value(name).toString();
    QVERIFY(address.startsWith("https://") && address.endsWith("/service/update2/crx"));
    const QString file = user.ConfigPath("chromium/External Extensions/" + id + ".json");
    QCOMPARE(UserTree::Read(file).contains("\"external_update_url\": \"" + address.toUtf8() + "\""),
             published);
    QVERIFY(log.lines.empty());
    QVERIFY(!PluginUtils::RegisterPlugin(id));
    QVERIFY(log.lines[0].level == common::logger::Warn && log.lines[0].channel == "common.pluginutils");
    QCOMPARE(log.lines[0].text, "Registry key 'update_url' with value '" + address + "' already exists in '" +
                                    QDir::toNativeSeparators("HKEY_CURRENT_USER/" + root + id) + "'");
    QVERIFY(PluginUtils::UnregisterPlugin(id));
    QVERIFY(UserTree::Below(root).isEmpty());
    QVERIFY(!QFile::exists(user.ConfigPath("chromium")));
}

// Where the file's folder should be there is a file; in the registry a key is too long for its 255
// characters.
void TestRegistration::refused()
{
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(user.DataPath()));
    UserTree::Write(user.DataPath("vxcommon"), "in the way");
    const QString tooLong(300, 'x');
    const RecordingLogger log;
    QVERIFY(ClickToCall::registerProtocols({}, tooLong, organization));
    QVERIFY(log.lines.empty());
    QVERIFY(!ClickToCall::registerProtocols({"vxtest"}, tooLong, organization));
    QVERIFY(log.lines[0].level == common::logger::Error && log.lines[0].channel == "common.clicktocall");
    QCOMPARE(log.lines[0].text, "ClickToCall::registerProtocols1");
    UserTree::Open()->remove(registered + tooLong);
}

QTEST_GUILESS_MAIN(TestRegistration)
#include "tst_registration.moc"
