#include <common/chrome/pluginutils.h>

#include <logger/recordinglogger.h>
#include <registration/usertree.h>

#include <QJsonDocument>
#include <QJsonObject>

using common::chrome::PluginUtils;

namespace
{

const QString id = QStringLiteral("abcdefghijklmnopabcdefghijklmnop");
const QString key = QStringLiteral("Software/Google/Chrome/Extensions/");

} // namespace

class TestPluginUtils : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();
    void registerTwice();
    void foreignAddress();
    void strangeIds_data();
    void strangeIds();

private:
    QString Address(const QString& extension) const
    {
        return UserTree::Open()->value(key + extension + "/update_url").toString();
    }

    UserTree user;
};

void TestPluginUtils::cleanup()
{
    PluginUtils::UnregisterPlugin(id);
    UserTree::Open()->remove("Software/Google/Chrome/Extensions");
}

void TestPluginUtils::registerTwice()
{
    QVERIFY(PluginUtils::IsChromeInstalled());
    QVERIFY(!PluginUtils::IsRegistered(id));
    RecordingLogger log;
    QVERIFY(PluginUtils::RegisterPlugin(id));
    QVERIFY(log.lines.empty());
    QVERIFY(PluginUtils::IsRegistered(id));
    const QUrl address(Address(id));
    QCOMPARE(address.scheme(), QString("https"));
    QCOMPARE(address.path(), QString("/service/update2/crx"));

    QCOMPARE(PluginUtils::RegisterPlugin(id), false);
    QCOMPARE(log.lines.size(), std::size_t{1});
    QCOMPARE(log.lines.front().level, static_cast<int>(common::logger::Warn));
    QCOMPARE(log.lines.front().channel, QByteArray("common.pluginutils"));
    QCOMPARE(log.lines.front().text, "Registry key 'update_url' with value '" + address.toString() +
                                         "' already exists in '" +
                                         QDir::toNativeSeparators("HKEY_CURRENT_USER/" + key + id) + "'");

    const QString file = user.ConfigPath("chromium/External Extensions/" + id + ".json");
#ifndef Q_OS_WIN
    QCOMPARE(QJsonDocument::fromJson(UserTree::Read(file)).object(),
             (QJsonObject{{"external_update_url", address.toString()}}));
#endif
    QVERIFY(PluginUtils::UnregisterPlugin(id));
    QVERIFY(UserTree::Below(key).isEmpty());
    QVERIFY(!QFile::exists(user.ConfigPath("chromium")));
    QVERIFY(PluginUtils::UnregisterPlugin(id));
}

void TestPluginUtils::foreignAddress()
{
    UserTree::Open()->setValue(key + id + "/update_url", "https://example.com/updates");
    QVERIFY(!PluginUtils::IsRegistered(id));
    QVERIFY(PluginUtils::UnregisterPlugin(id));
    QCOMPARE(Address(id), QString("https://example.com/updates"));
    QVERIFY(PluginUtils::RegisterPlugin(id));
    QVERIFY(PluginUtils::IsRegistered(id));
}

void TestPluginUtils::strangeIds_data()
{
    QTest::addColumn<QString>("extension");

    QTest::newRow("a path") << "../../../escape";
    QTest::newRow("too short") << "abc";
    QTest::newRow("not ASCII") << QString::fromUtf8("é ü");
}

void TestPluginUtils::strangeIds()
{
    QFETCH(QString, extension);

    QVERIFY(PluginUtils::RegisterPlugin(extension));
    QVERIFY(PluginUtils::IsRegistered(extension));
    QVERIFY(!QFile::exists(user.ConfigPath("chromium")));
    QVERIFY(PluginUtils::UnregisterPlugin(extension));
    QVERIFY(!PluginUtils::IsRegistered(extension));
}

QTEST_GUILESS_MAIN(TestPluginUtils)
#include "tst_pluginutils.moc"
