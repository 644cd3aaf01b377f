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

// A channel of this file's own, as a source file inside a namespace declares it.
namespace voice
{
namespace
{
constexpr logger::Channel logChannel{"test.voice"};
}

static int Speak()
{
    LOG_MESSAGE(logger::Warn) << "number " << 5 << QStringLiteral(" text ") << QChar(0x416) << ' ' << 1.5;
    return __LINE__ - 1;
}
} // namespace voice

class TestLogger : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { qInstallMessageHandler(testHandler); }
    void threshold();
    void qtLine();
    void statement();
    void functionNames();
    void configureAndDestroy();

private:
    QtMessageHandler testHandler = nullptr;
};

void TestLogger::init()
{
    qtTypes.clear();
    testHandler = qInstallMessageHandler(&RecordQtLine);
}

void TestLogger::threshold()
{
    logger::ILogger* log = logger::GetLogger();
    const auto verify = [log](int reported, const char* types) {
        qtTypes.clear();
        for (int level = logger::Fatal; level <= logger::NotSet; ++level) {
            LOG_MESSAGE(level) << "level " << level;
        }
        QCOMPARE(log->GetLevel(), reported);
        QCOMPARE(qtTypes, types);
    };
    verify(8, ""); // a fresh process is silent
    log->SetLevel(3);
    verify(3, "cccc");
    log->SetLevel(100); // NotSet itself is never seen
    verify(8, "ccccwiid");
}

void TestLogger::qtLine()
{
    static const QRegularExpression time(R"(\d{4}\.\d\d\.\d\d \d\d:\d\d:\d\d\.\d{3}:)");
    const auto line = [](const logger::Channel* channel, int level, unsigned int options, const char* file,
                         const char* function) {
        logger::Logger log;
        log.Configure(100, 0, options & ~1U, {}, {}, {}, {}, {}, 0, 0);
        log.SetSourceShown((options & 1U) != 0);
        logger::Message(&log, channel, level, file, function, 12).GetStream() << "téxt";
        return lastQtLine.replace(time, "TIME");
    };
    const logger::Channel c{"c"};
    const logger::Channel nameless{nullptr};
    QCOMPARE(line(&c, 6, 2, "f.cpp", "n::F"), "c|TIME téxt ");
    QCOMPARE(line(&c, 6, 1, "f.cpp", "n::F"), "c|TIME téxt  (file: f.cpp(12))");
    QCOMPARE(line(&c, 6, 3, "f.cpp", "n::F"), "c|TIME téxt  (n::F: file: f.cpp(12))");
    QCOMPARE(line(&nameless, 6, 3, "f.cpp", nullptr), "|TIME téxt  (file: f.cpp(12))");
    QCOMPARE(line(nullptr, -5, 3, nullptr, "n::F"), "|TIME téxt ");
    QCOMPARE(qtTypes, "iiiid");
}

void TestLogger::statement()
{
    RecordingLogger recorder;
    const int lineNumber = voice::Speak();
    const RecordingLogger::Line line = recorder.lines.at(0);
    QCOMPARE(line.text, "number 5 text Ж 1.5");
    QCOMPARE(line.channel + '|' + line.function, "test.voice|voice::Speak");
    QVERIFY(line.level == logger::Warn && line.line == lineNumber && line.file == __FILE__);

    // It goes to the logger that was current when it began, here on the default channel.
    const auto silence = [] {
        logger::SetLogger(nullptr);
        return "text";
    };
    LOG_MESSAGE(logger::Error) << silence();
    QCOMPARE(recorder.lines.at(1).channel, "main");
    LOG_MESSAGE(logger::Error) << "nobody hears this";
    QVERIFY(logger::GetLogger() == nullptr && logger::SetLogger(&recorder) == nullptr);
    LOG_MESSAGE(logger::NotSet) << "nobody hears this";
    QCOMPARE(recorder.lines.size(), 2u);
}

// What compilers, MSVC the last, tell of the lambda in a statement.
void TestLogger::functionNames()
{
    const auto name = [](const auto& signature) {
        return QByteArray(logger::detail::EnclosingFunctionName(signature).text);
    };
    QCOMPARE(name("a::B::operator()(int) const::<lambda()>"), "a::B::operator()");
    QCOMPARE(name("a::B::operator<(const a::B&) const::<lambda()>"), "a::B::operator<");
    QCOMPARE(name("a::cooperator()::<lambda()>"), "a::cooperator");
    QCOMPARE(name("a::B<void (*)(int)>::F(T) const::<lambda()>"), "a::B<void (*)(int)>::F");
    QCOMPARE(name("auto a::(anonymous namespace)::F(int)::(anonymous class)::operator()() const"),
             "a::(anonymous namespace)::F");
    QCOMPARE(name("a::B::F::<lambda_0123>::operator ()"), "a::B::F");
}

void TestLogger::configureAndDestroy()
{
    static bool isDestroyed = false;
    struct Loaded : logger::Logger
    {
        ~Loaded() override { isDestroyed = true; }
        bool LoadConfiguration(const QString& configFile) override { return configFile == "there"; }
    };
    logger::ILogger* log = new Loaded;
    QVERIFY(log->Configure(logger::Debug, 0, logger::ShowSource, {}, {}, "there", {}, {}, 0, 0));
    QVERIFY(log->GetLevel() == logger::NotSet && log->IsSourceShown());
    log->SetSourceShown(false);
    QVERIFY(!log->IsSourceShown());
    QVERIFY(log->Configure(logger::Debug, 0, 0, {}, {}, "elsewhere", {}, {}, 0, 0));
    QCOMPARE(log->GetLevel(), int(logger::Debug));
    log->Destroy();
    QVERIFY(isDestroyed);
    logger::GetLogger()->Destroy();
    LOG_MESSAGE(logger::Error) << "the default logger is still there";
}

QTEST_GUILESS_MAIN(TestLogger)
#include "tst_logger.moc"
