#include "recordinglogger.h"

#include <QDebug>
#include <QRegularExpression>
#include <QTest>

namespace logger = common::logger;

namespace
{

QString qtTypes;    ///< One letter for each line that Qt got: "c" for critical and so on.
QString lastQtLine; ///< Behind its category and a bar.

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
    log->SetLevel(100); // NotSet itself is never seen
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
    QVERIFY(line.level == logger::Warn && line.line == __LINE__ - 4 && line.file == __FILE__);

    LOG_MESSAGE(logger::NotSet) << "nobody hears this";
    logger::SetLogger(nullptr);
    LOG_MESSAGE(logger::Error) << "nobody hears this";
    QVERIFY(logger::GetLogger() == nullptr && logger::SetLogger(&recorder) == nullptr);
    QCOMPARE(recorder.lines.size(), 1u);
}

// What compilers, MSVC the last, tell of the lambda in a statement.
void TestLogger::functionNames()
{
    const auto name = [](const auto& signature) {
        return QByteArray(logger::detail::EnclosingFunctionName(signature).text);
    };
    QCOMPARE(name("a::B::operator()(int) const::<lambda()>"), "a::B::operator()");
    QCOMPARE(name("a::B<void (*)(int)>::F(T) const::<lambda()>"), "a::B<void (*)(int)>::F");
    QCOMPARE(name("auto a::(anonymous namespace)::F(int)::(anonymous class)::operator()() const"),
             "a::(anonymous namespace)::F");
    QCOMPARE(name("a::B::F::<lambda_0123>::operator ()"), "a::B::F");
}

void TestLogger::destroy()
{
    static bool isDestroyed = false;
    struct Mortal : logger::Logger
    {
        ~Mortal() override { isDestroyed = true; }
    };
    logger::ILogger* log = new Mortal;
    log->Destroy();
    QVERIFY(isDestroyed);
    logger::GetLogger()->Destroy();
    LOG_MESSAGE(logger::Error) << "the default logger is still there";
    logger::DestroyLogger(nullptr);
#ifdef CALL_THROUGH_NULL
    logger::ILogger* volatile none = nullptr;
    // cppcheck-suppress nullPointer ; this is the test
    none->Destroy(); // NOLINT(clang-analyzer-core.CallAndMessage)
#endif
}

QTEST_GUILESS_MAIN(TestLogger)
#include "tst_logger.moc"
