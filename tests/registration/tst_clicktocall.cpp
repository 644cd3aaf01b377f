#include <common/clicktocall/clicktocall.h>

#include <logger/recordinglogger.h>
#include <registration/usertree.h>

#include <QCoreApplication>

using common::ClickToCall;

namespace
{

const QString application = QStringLiteral("Vx Test.é");
const QString organization = QStringLiteral("Vxcommon Tests");

const QString classes = QStringLiteral("Software/Classes/");
const QString associations = QStringLiteral("Software/Microsoft/Windows/Shell/Associations/UrlAssociations/");

QString ChoiceKey(const QString& protocol)
{
    return associations + protocol + "/UserChoice/Progid";
}

QString ProgId(const QString& protocol)
{
    return organization + "." + application + "." + protocol;
}

/// Schemes that no real program has, as the test runs on the real registry.
const QStringList ownSchemes{"vxtest-one", "vxtest-two"};

} // namespace

class TestClickToCall : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();
    void lists();
    void tree();
    void unregister();
    void unregisterApplication();
    void owner_data();
    void owner();
    void nothing();
    void refused();

private:
    UserTree user;
};

void TestClickToCall::cleanup()
{
    const auto settings = UserTree::Open();
    QStringList schemes = ClickToCall::availableProtocols() + ownSchemes;
    for (const QString& scheme : schemes) {
        settings->remove(classes + scheme);
        settings->remove(classes + ProgId(scheme));
        settings->remove(associations + scheme);
    }
    settings->remove("Software/" + organization);
    settings->remove("Software/RegisteredApplications/" + application);
    settings->sync();
    QFile::remove(user.ConfigPath("mimeapps.list"));
}

void TestClickToCall::lists()
{
    QCOMPARE(ClickToCall::availableProtocols(), QStringList({"callto", "tel", "sip", "sms", "fax"}));
    QCOMPARE(ClickToCall::currentAvailableProtocols(), QStringList({"callto", "tel", "sip"}));
}

void TestClickToCall::tree()
{
    QVERIFY(ClickToCall::registerProtocols(ownSchemes, application, organization));

    const QString program = QDir::toNativeSeparators(QCoreApplication::applicationFilePath());
    const QString icon = "\"" + program + ",1\"";
    const QString command = "\"" + program + "\" --callto \"%1\"";
    QCOMPARE(UserTree::Below("Software/" + organization + "/" + application),
             (QMap<QString, QString>{{"DefaultLanguage", "en-US"},
                                     {"Capabilities/ApplicationDescription", application},
                                     {"Capabilities/ApplicationIcon", icon},
                                     {"Capabilities/ApplicationName", application},
                                     {"Capabilities/URLAssociations/vxtest-one", ProgId("vxtest-one")},
                                     {"Capabilities/URLAssociations/vxtest-two", ProgId("vxtest-two")},
                                     {"Protocols/Default", ""},
                                     {"shell/open/command/Default", command}}));
    QCOMPARE(UserTree::Open()->value("Software/RegisteredApplications/" + application).toString(),
             "SOFTWARE\\" + organization + "\\" + application + "\\Capabilities");
    for (const QString& scheme : ownSchemes) {
        QCOMPARE(UserTree::Below(classes + scheme),
                 (QMap<QString, QString>{{"Default", "URL:" + scheme + " Protocol"},
                                         {"URL Protocol", ""},
                                         {"DefaultIcon/Default", icon},
                                         {"shell/open/command/Default", command}}));
        QCOMPARE(UserTree::Below(classes + ProgId(scheme)),
                 (QMap<QString, QString>{{"Default", "URL : " + scheme + " Protocol"},
                                         {"DefaultIcon/Default", icon},
                                         {"shell/open/command/Default", command}}));
        QCOMPARE(UserTree::Open()->value(ChoiceKey(scheme)).toString(), application);
    }
    QCOMPARE(ClickToCall::stateOfProtocols(application, organization), QStringList());
}

void TestClickToCall::unregister()
{
    QVERIFY(ClickToCall::registerProtocols({"tel", "fax"}, application, organization));
    QCOMPARE(ClickToCall::stateOfProtocols(application, organization), QStringList({"tel", "fax"}));
    QVERIFY(ClickToCall::unregisterProtocols({"tel"}, application, organization));
    QCOMPARE(ClickToCall::stateOfProtocols(application, organization), QStringList({"fax"}));
    QCOMPARE(UserTree::Below(classes + "tel"), (QMap<QString, QString>{{"Default", "URL:tel Protocol"},
                                                                       {"URL Protocol", ""},
                                                                       {"DefaultIcon/Default", ""},
                                                                       {"shell/open/command/Default", ""}}));
    QVERIFY(UserTree::Below(classes + ProgId("tel")).isEmpty());
    const auto settings = UserTree::Open();
    QVERIFY(settings->contains(ChoiceKey("tel")));
    QCOMPARE(settings->value(ChoiceKey("tel")).toString(), QString());
    QCOMPARE(settings->value(ChoiceKey("fax")).toString(), application);
    QVERIFY(settings->contains("Software/RegisteredApplications/" + application));
}

void TestClickToCall::unregisterApplication()
{
    QVERIFY(ClickToCall::registerProtocols({"sip"}, application, organization));
    QVERIFY(ClickToCall::unregisterApplication(application, organization));
    QCOMPARE(ClickToCall::stateOfProtocols(application, organization), QStringList());
    QVERIFY(UserTree::Below("Software/" + organization + "/" + application).isEmpty());
    const auto settings = UserTree::Open();
    QVERIFY(!settings->contains("Software/RegisteredApplications/" + application));
    QVERIFY2(!settings->value(classes + "sip/shell/open/command/Default").toString().isEmpty(),
             "the scheme keeps pointing to the program");
}

void TestClickToCall::owner_data()
{
    QTest::addColumn<QString>("choice");
    QTest::addColumn<bool>("own");

    const QString name = organization + "." + application;
    QTest::newRow("none") << QString() << true;
    QTest::newRow("bare application") << application << true;
    QTest::newRow("application with a tail") << application + "X" << true;
    QTest::newRow("identifier") << ProgId("tel") << true;
    QTest::newRow("identifier of another scheme") << ProgId("sip") << true;
    QTest::newRow("identifier without its last dot") << name << false;
    QTest::newRow("another case") << application.toUpper() << false;
    QTest::newRow("organization only") << organization << false;
    QTest::newRow("somebody else") << "OtherPhone.tel" << false;
}

void TestClickToCall::owner()
{
    QFETCH(QString, choice);
    QFETCH(bool, own);

    const QStringList registered = own ? QStringList{"tel"} : QStringList();
    QVERIFY(ClickToCall::registerProtocols({"tel"}, application, organization));
    UserTree::Open()->setValue(ChoiceKey("tel"), choice);
    QCOMPARE(ClickToCall::stateOfProtocols(application, organization), registered);
    QVERIFY(ClickToCall::unregisterProtocols({"tel"}, application, organization));
    QCOMPARE(UserTree::Open()->value(ChoiceKey("tel")).toString(), own ? QString() : choice);
    QVERIFY(ClickToCall::registerProtocols({"tel"}, application, organization));
    QCOMPARE(UserTree::Open()->value(ChoiceKey("tel")).toString(), application);
}

void TestClickToCall::nothing()
{
    QVERIFY(ClickToCall::registerProtocols({}, application, organization));
    QVERIFY(ClickToCall::unregisterProtocols({}, application, organization));
    QVERIFY(UserTree::Below("Software/" + organization).isEmpty());
}

void TestClickToCall::refused()
{
    // Where the file's folder should be there is a file; on the registry, a name longer than the 255
    // characters that a key may have.
    const QTemporaryDir dir;
    const QByteArray config = qgetenv("XDG_CONFIG_HOME");
    UserTree::Write(dir.filePath("vxcommon"), "in the way");
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(dir.path()));
    const QString tooLong(300, 'x');

    const RecordingLogger log;
    QCOMPARE(ClickToCall::registerProtocols(ownSchemes, tooLong, organization), false);
    QCOMPARE(log.lines.front().level, static_cast<int>(common::logger::Error));
    QCOMPARE(log.lines.front().channel, QByteArray("common.clicktocall"));
    QCOMPARE(log.lines.front().text, QString("ClickToCall::registerProtocols1"));
    qputenv("XDG_CONFIG_HOME", config);
}

QTEST_GUILESS_MAIN(TestClickToCall)
#include "tst_clicktocall.moc"
