#include "recordinglogger.h"

#include <QDebug>
#include <QRegularExpression>
#include <QTest>

namespace logger = common::logger;

namespace
{

QString qtTypes;    ///< One letter per line that Qt received: "c" for critical and so on.
QString lastQtLine; ///< Category and message, separated by a bar.

void RecordQtLine(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    qtTypes += QChar("dwcfi"[type]);
    lastQtLine = QString(context.category) + '|' + text;
}

} // namespace

class TestLogger : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qInstallMessageHandler(&RecordQtLine); }
    void threshold();
    void qtLine();
    void statement();
    void functionNames();
    void destroy();
};

void TestLogger::threshold()
{
    logger::ILogger* log = logger::GetLogger();
    const auto typesOfAllLevels = [] {
        qtTypes.clear();
        for (int level = logger::Fatal; level <= logger::NotSet; ++level) {
            LOG_MESSAGE(level) << "level " << level;
        }
        return qtTypes;
    };
    QCOMPARE(typesOfAllLevels(), ""); // a fresh process is silent
    log->SetLevel(3);
    QCOMPARE(typesOfAllLevels(), "cccc");
    QCOMPARE(log->GetLevel(), 3);
    log->SetLevel(100); // lines of level NotSet are never written
    QCOMPARE(typesOfAllLevels(), "ccccwiid");
    QCOMPARE(log->GetLevel(), int(logger::NotSet));
}

void TestLogger::qtLine()
{
    static const QRegularExpression time(R"(\d{4}\.\d\d\.\d\d \d\d:\d\d:\d\d\.\d{3}:)");
    logger::Logger log;
    const auto line = [&log](const logger::Channel* channel, unsigned int options, const char* file) {
        log.Configure(100, 0, options, {}, {}, {}, {}, {}, 0, 0);
        logger::Message(&log, channel, logger::Info, file, "n::F", 12).GetStream() << "téxt";
        return lastQtLine.replace(time, "TIME");
    };
    const logger::Channel c{"c"};
    const logger::Channel nameless{nullptr};
    QCOMPARE(line(&c, 2, "f.cpp"), "c|TIME téxt ");
    QCOMPARE(line(&c, 1, "f.cpp"), "c|TIME téxt  (file: f.cpp(12))");
    QCOMPARE(line(&nameless, 3, "f.cpp"), "|TIME téxt  (n::F: file: f.cpp(12))");
    QCOMPARE(line(nullptr, 3, nullptr), "|TIME téxt ");
    log.SetSourceShown(false);
    QVERIFY(!log.IsSourceShown());
}

void TestLogger::statement()
{
    RecordingLogger recorder;
    LOG_MESSAGE(logger::Warn) << "number " << 5 << QStringLiteral(" text ") << QChar(0x416) << ' ' << 1.5;
    const RecordingLogger::Line line = recorder.lines.at(0);
    QCOMPARE(line.text, "number 5 text Ж 1.5");
    QCOMPARE(line.channel + '|' + line.function, "main|TestLogger::statement");
    QCOMPARE(line.level, int(logger::Warn));
    QCOMPARE(line.line, __LINE__ - 5);
    QCOMPARE(line.file, __FILE__);

    static constexpr logger::Channel voice{"test.voice"};
    LOG_MESSAGE_ON(voice, logger::Info) << "on its own channel";
    QCOMPARE(recorder.lines.at(1).channel, "test.voice");

    LOG_MESSAGE(logger::NotSet) << "dropped";
    logger::SetLogger(nullptr);
    LOG_MESSAGE(logger::Error) << "no logger";
    QCOMPARE(logger::GetLogger(), nullptr);
    QCOMPARE(logger::SetLogger(&recorder), nullptr);
    QCOMPARE(recorder.lines.size(), 2u);
}

// Signatures that compilers give to the lambda in a log statement.
void TestLogger::functionNames()
{
    const auto verify = [](const QByteArray& signature, const char* name) {
        QByteArray buffer(signature.size() + 1, 'x');
        logger::detail::CopyEnclosingFunctionName(signature.constData(), buffer.data());
        QCOMPARE(buffer.constData(), name);
    };
    // GCC
    verify("a::operators(int)::<lambda()>", "a::operators");
    verify("a::B::operator()(int) const::<lambda()>", "a::B::operator()");
    verify("a::B<void (*)(int)>::F(T) const::<lambda()>", "a::B<void (*)(int)>::F");
    verify("a::B::operator std::function<void()>()::<lambda()>", "a::B::operator std::function<void()>");
    verify("a::{anonymous}::Q<int>::operator< <int>(int) const::<lambda()>",
           "a::{anonymous}::Q<int>::operator< <int>");
    verify("F<&a::operator< >::operator->()::<lambda()>", "F<&a::operator< >::operator->");
    // Clang
    verify("auto a::(anonymous namespace)::F(int)::(anonymous class)::operator()() const",
           "a::(anonymous namespace)::F");
    // MSVC
    verify("a::B::F::<lambda_0123>::operator ()", "a::B::F");
    verify("a::B::operator ()::<lambda_0123>::operator ()", "a::B::operator ()");
    verify("a::B::operator <<::<lambda_0123>::operator ()", "a::B::operator <<");
}

void TestLogger::destroy()
{
    static QByteArray calls;
    struct Heap : logger::Logger
    {
        ~Heap() override { calls += "deleted "; }
    };
    struct Static : logger::Logger
    {
        void Destroy() override { calls += "kept "; }
    };
    Static ours;
    static_cast<logger::ILogger*>(new Heap)->Destroy();
    static_cast<logger::ILogger*>(&ours)->Destroy();
    logger::DestroyLogger(&ours);
    logger::DestroyLogger(nullptr);
    QCOMPARE(calls, "deleted kept kept ");

    logger::GetLogger()->Destroy();
    LOG_MESSAGE(logger::Error) << "the default logger still exists";
    QVERIFY(lastQtLine.contains("still exists"));
#ifdef CALL_THROUGH_NULL
    logger::ILogger* volatile none = nullptr;
    // cppcheck-suppress nullPointer ; this is the test
    none->Destroy(); // NOLINT(clang-analyzer-core.CallAndMessage)
#endif
}

QTEST_GUILESS_MAIN(TestLogger)
#include "tst_logger.moc"
