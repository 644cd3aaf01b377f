#include <common/tools/web.h>

#include <QTest>

using tools::web::Web;

class TestWeb : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void addresses_data();
    void addresses();
};

void TestWeb::addresses_data()
{
    QTest::addColumn<Web::Locale>("locale");

    QTest::newRow("a@b.ru") << Web::LocaleRu;
    QTest::newRow("\"A\" <sip:a@b.eu;x=y>") << Web::LocaleEu;
    // A port hides the country, and so do capitals.
    for (const char* id : {"a@b.com", "a@b.ru:5060", "a@b.RU", "a@b.ru.com", "b.ru"}) {
        QTest::newRow(id) << Web::LocaleDefault;
    }
}

void TestWeb::addresses()
{
    QFETCH(Web::Locale, locale);

    const QString id = QTest::currentDataTag();
    QCOMPARE(Web::GetLocale(id), locale);
    QCOMPARE(Web::GetUrl(id, "ru", "other"), locale == Web::LocaleRu ? "ru" : "other");
    const QString host = locale == Web::LocaleRu ? RU_WEB_SERVICES_HOST : DEFAULT_WEB_SERVICES_HOST;
    QCOMPARE(Web::GetWebServisesUrl(id), "https://" + host + "/integration/vexline");
}

QTEST_GUILESS_MAIN(TestWeb)
#include "tst_web.moc"
