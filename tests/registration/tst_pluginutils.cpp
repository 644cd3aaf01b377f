#include <common/chrome/pluginutils.h>

#include <logger/recordinglogger.h>
#include <registration/usertree.h>

using common::chrome::PluginUtils;

class TestPluginUtils : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void ids_data();
    void ids();
};

void TestPluginUtils::ids_data()
{
    QTest::addColumn<QString>("id");
    QTest::addColumn<bool>("published"); // In a file of the browser, besides the settings tree.

    QTest::newRow("an id") << "abcdefghijklmnopabcdefghijklmnop" << (QSysInfo::productType() != "windows");
    QTest::newRow("a path") << "../../../escape" << false;
    QTest::newRow("not ASCII") << "é ü" << false;
}

void TestPluginUtils::ids()
{
    QFETCH(QString, id);
    QFETCH(bool, published);

    const UserTree user;
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

QTEST_GUILESS_MAIN(TestPluginUtils)
#include "tst_pluginutils.moc"
