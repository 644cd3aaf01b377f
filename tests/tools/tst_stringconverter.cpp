#include <common/tools/stringconverter.h>

#include <QTest>

using tools::string::converter;

class TestStringConverter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void hexAndMd5_data();
    void hexAndMd5();
    void uuidForm_data();
    void uuidForm();
};

void TestStringConverter::hexAndMd5_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("hex");
    QTest::addColumn<QString>("md5");

    QTest::newRow("empty") << ""
                           << ""
                           << "d41d8cd98f00b204e9800998ecf8427e";
    QTest::newRow("RFC 1321 vector") << "message digest"
                                     << "6d65737361676520646967657374"
                                     << "f96b697d7cb7938d525a2f31aaf161d0";
    // printf 'жЖ' | md5sum
    QTest::newRow("as UTF-8, in lower case") << "жЖ"
                                             << "d0b6d096"
                                             << "6a15fb62413894a6064ef13ae820f556";
}

void TestStringConverter::hexAndMd5()
{
    QFETCH(QString, text);
    QFETCH(QString, hex);
    QFETCH(QString, md5);

    QCOMPARE(converter::ToHex(text), hex);
    QCOMPARE(converter::ToMD5(text), md5);
    QCOMPARE(converter::ToMD5(text.toUtf8()), md5);
}

void TestStringConverter::uuidForm_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<unsigned int>("group");
    QTest::addColumn<QString>("expected");

    QTest::newRow("nothing to part") << "" << 1U << "{}";
    QTest::newRow("below two groups") << "ab" << 8U << "{6162}";
    QTest::newRow("brace counts as a digit") << "abcd" << 4U << "{6162-6364}";
    QTest::newRow("last group short by one") << "abcd" << 3U << "{616-263-64}";
    QTest::newRow("last group takes the rest") << "abcde" << 4U << "{6162-636465}";
    QTest::newRow("single digits leave none") << "ab" << 1U << "{6-1-6-2-}";
    QTest::newRow("no group size") << "abcd" << 0U << "{61626364}";
    QTest::newRow("twice the group is above 32 bits") << "abcd" << 0x80000001U << "{61626364}";
}

void TestStringConverter::uuidForm()
{
    QFETCH(QString, text);
    QFETCH(unsigned int, group);
    QFETCH(QString, expected);

    QCOMPARE(converter::ToUuidForm(text, group), expected);
}

QTEST_GUILESS_MAIN(TestStringConverter)
#include "tst_stringconverter.moc"
