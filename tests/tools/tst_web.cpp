#include <common/tools/web.h>

#include <QTest>

using tools::web::Web;

class TestWeb : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void locale_data();
    void locale();
    void addresses();
};

void TestWeb::locale_data()
{
    QTest::addColumn<QString>("id");
    QTest::addColumn<Web::Locale>("expected");

    QTest::newRow("Russia") << "a@b.ru" << Web::LocaleRu;
    QTest::newRow("Europe, as a name-addr") << "\"A\" <sip:a@b.eu;x=y>" << Web::LocaleEu;
    QTest::newRow("elsewhere") << "a@b.com" << Web::LocaleDefault;
    QTest::newRow("a port hides the country") << "a@b.ru:5060" << Web::LocaleDefault;
    QTest::newRow("upper case is no country") << "a@b.RU" << Web::LocaleDefault;
    QTest::newRow("no identity") << "b.ru" << Web::LocaleDefault;
    QTest::newRow("country as a sub-domain") << "a@b.ru.com" << Web::LocaleDefault;
}

void TestWeb::locale()
{
    QFETCH(QString, id);
    QFETCH(Web::Locale, expected);

    QCOMPARE(Web::GetLocale(id), expected);
}

void TestWeb::addresses()
{
    const QString ru = QStringLiteral("ru");
    const QString other = QStringLiteral("other");
    QCOMPARE(Web::GetUrl(QStringLiteral("a@b.ru"), ru, other), ru);
    QCOMPARE(Web::GetUrl(QStringLiteral("a@b.eu"), ru, other), other);

    QCOMPARE(Web::GetWebServisesUrl(QStringLiteral("a@b.ru")),
             QStringLiteral("https://" RU_WEB_SERVICES_HOST "/integration/vexline"));
    QCOMPARE(Web::GetWebServisesUrl(QStringLiteral("a@b.eu")),
             QStringLiteral("https://" DEFAULT_WEB_SERVICES_HOST "/integration/vexline"));
}

QTEST_GUILESS_MAIN(TestWeb)
#include "tst_web.moc"
