#include "recordinglogger.h"

#include <QTest>

namespace sample
{

QByteArray lastFunction;

// Stands in for a statement: records the name that LOG_MESSAGE would pass.
#define RECORD_FUNCTION() (lastFunction = VXCOMMON_FUNCTION_NAME)

void Free(void (*)(int), const std::vector<int>&)
{
    RECORD_FUNCTION();
}

void InLambda()
{
    const auto lambda = [](int) { RECORD_FUNCTION(); };
    lambda(1);
}

struct Functor
{
    void operator()(int) const { RECORD_FUNCTION(); }
    bool operator<(const Functor&) const
    {
        RECORD_FUNCTION();
        return false;
    }
    operator bool() const
    {
        RECORD_FUNCTION();
        return true;
    }
    static void operatorLike() { RECORD_FUNCTION(); }
};

template<class T>
struct Template
{
    Template() { RECORD_FUNCTION(); }
    void Member(T) const { RECORD_FUNCTION(); }
};

namespace
{
void Unnamed()
{
    RECORD_FUNCTION();
}
} // namespace

} // namespace sample

class TestFunctionName : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void qualifiedNames();
    void signatureTexts_data();
    void signatureTexts();
};

void TestFunctionName::qualifiedNames()
{
    using namespace sample;

    Free(nullptr, {});
    QCOMPARE(lastFunction, "sample::Free");
    InLambda();
    QCOMPARE(lastFunction, "sample::InLambda");
    Functor()(1);
    QCOMPARE(lastFunction, "sample::Functor::operator()");
    (void)(Functor() < Functor());
    QCOMPARE(lastFunction, "sample::Functor::operator<");
    (void)static_cast<bool>(Functor());
    QCOMPARE(lastFunction, "sample::Functor::operator bool");
    Functor::operatorLike();
    QCOMPARE(lastFunction, "sample::Functor::operatorLike");
    const Template<void (*)(int)> object;
    QVERIFY2(lastFunction.endsWith("::Template"), lastFunction.constData());
    object.Member(nullptr);
    QVERIFY2(lastFunction.startsWith("sample::Template") && lastFunction.endsWith("::Member"),
             lastFunction.constData());
    Unnamed();
    QVERIFY2(lastFunction.startsWith("sample::") && lastFunction.endsWith("::Unnamed"),
             lastFunction.constData());
}

// The texts of the compilers that this test is not built with.
void TestFunctionName::signatureTexts_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("expected");

    using common::logger::detail::EnclosingFunctionName;
    const auto add = [](const char* compiler, const auto& name, const char* expected) {
        QTest::newRow(compiler) << QByteArray(name.text) << QByteArray(expected);
    };
    add("GCC", EnclosingFunctionName("a::{anonymous}::F(const T&)::<lambda()>"), "a::{anonymous}::F");
    add("Clang",
        EnclosingFunctionName("auto a::(anonymous namespace)::F(int)::(anonymous class)::operator()() const"),
        "a::(anonymous namespace)::F");
    add("MSVC", EnclosingFunctionName("a::B::F::<lambda_0123>::operator ()"), "a::B::F");
}

void TestFunctionName::signatureTexts()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, expected);

    QCOMPARE(name, expected);
}

QTEST_GUILESS_MAIN(TestFunctionName)
#include "tst_functionname.moc"
