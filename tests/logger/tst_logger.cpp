#include "recordinglogger.h"

#include <QDebug>
#include <QRegularExpression>
#include <QTest>

namespace logger = common::logger;

namespace
{

struct QtLine
{
    QtMsgType type;
    QByteArray category;
    QString text;
};

std::vector<QtLine> qtLines;

/// The handler that the library installed when it was loaded; QtTest puts its own on top of it.
QtMessageHandler libraryHandler = nullptr;

void RecordQtLine(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    qtLines.push_back({type, context.category, text});
}

/// Collects Qt messages in the place of the library's own handler as long as it lives.
class QtLineRecorder
{
public:
    QtLineRecorder()
        : previous(qInstallMessageHandler(&RecordQtLine))
    {
        qtLines.clear();
    }
    ~QtLineRecorder() { qInstallMessageHandler(previous); }

private:
    Q_DISABLE_COPY(QtLineRecorder)

    QtMessageHandler previous;
};

void LogAtEveryLevel()
{
    for (int level = logger::Fatal; level <= logger::NotSet; ++level) {
        LOG_MESSAGE(level) << "level " << level;
    }
}

} // namespace

// A channel of this file's own, as a source file inside a namespace declares it.
namespace voice
{
namespace
{
constexpr logger::Channel logChannel{"test.voice"};
}

static void Speak()
{
    LOG_MESSAGE(logger::Warn) << "number " << 5 << QStringLiteral(" text ") << QChar(0x416) << ' ' << 1.5;
}
} // namespace voice

class TestLogger : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void freshProcessIsSilent();
    void threshold_data();
    void threshold();
    void qtLine();
    void sourceSuffix();
    void channelWithoutName();
    void statementCarriesItsOrigin();
    void statementKeepsItsLogger();
    void nullLoggerIsSilent();
    void configure();
    void destroy();
    void qtMessagesArrive_data();
    void qtMessagesArrive();
};

void TestLogger::freshProcessIsSilent()
{
    const QtLineRecorder recorder;
    QVERIFY(logger::GetLogger() != nullptr);
    QCOMPARE(logger::GetLogger()->GetLevel(), int(logger::NotSet));
    LogAtEveryLevel();
    QVERIFY(qtLines.empty());
}

void TestLogger::threshold_data()
{
    QTest::addColumn<int>("level");
    QTest::addColumn<int>("reported");
    QTest::addColumn<QString>("types");

    // One letter for each line that Qt gets, from level 0 up.
    QTest::newRow("errors only") << 3 << 3 << "cccc";
    QTest::newRow("all") << 7 << 7 << "ccccwiid";
    QTest::newRow("NotSet lets all pass but NotSet itself") << 8 << 8 << "ccccwiid";
    QTest::newRow("out of range above") << 100 << 8 << "ccccwiid";
    QTest::newRow("start value") << -1 << 8 << "";
}

void TestLogger::threshold()
{
    QFETCH(int, level);
    QFETCH(int, reported);
    QFETCH(QString, types);

    const QtLineRecorder recorder;
    logger::ILogger* log = logger::GetLogger();
    log->SetLevel(level);
    QCOMPARE(log->GetLevel(), reported);
    LogAtEveryLevel();
    log->SetLevel(-1);

    const QMap<QtMsgType, QChar> letters{
        {QtCriticalMsg, u'c'}, {QtWarningMsg, u'w'}, {QtInfoMsg, u'i'}, {QtDebugMsg, u'd'}};
    QString seen;
    for (const QtLine& line : qtLines) {
        seen += letters.value(line.type);
    }
    QCOMPARE(seen, types);
}

void TestLogger::qtLine()
{
    const QtLineRecorder recorder;
    logger::Logger log;
    logger::ILogger* previous = logger::SetLogger(&log);
    log.SetLevel(logger::Debug);
    voice::Speak();
    logger::SetLogger(previous);

    QCOMPARE(qtLines.size(), 1u);
    QCOMPARE(qtLines.front().category, "test.voice");
    static const QRegularExpression form(QStringLiteral(
        "^\\d{4}\\.\\d\\d\\.\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3}: number 5 text \u0416 1\\.5 $"));
    QVERIFY2(form.match(qtLines.front().text).hasMatch(), qPrintable(qtLines.front().text));
}

void TestLogger::sourceSuffix()
{
    const QtLineRecorder recorder;
    const logger::Channel channel{"c"};
    const auto write = [&channel](unsigned int options, const char* file, const char* function) {
        logger::Logger log;
        log.Configure(logger::Debug, 0, options, {}, {}, {}, {}, {}, 0, 0);
        logger::Message(&log, &channel, logger::Info, file, function, 12).GetStream() << "text";
        return qtLines.back().text.mid(qtLines.back().text.indexOf(u"text"));
    };
    QCOMPARE(write(0, "f.cpp", "n::F"), QStringLiteral("text "));
    QCOMPARE(write(logger::ShowFunction, "f.cpp", "n::F"), QStringLiteral("text "));
    QCOMPARE(write(logger::ShowSource, "f.cpp", "n::F"), QStringLiteral("text  (file: f.cpp(12))"));
    QCOMPARE(write(logger::ShowSource | logger::ShowFunction, "f.cpp", "n::F"),
             QStringLiteral("text  (n::F: file: f.cpp(12))"));
    QCOMPARE(write(logger::ShowSource | logger::ShowFunction, "f.cpp", nullptr),
             QStringLiteral("text  (file: f.cpp(12))"));
    QCOMPARE(write(logger::ShowSource | logger::ShowFunction, nullptr, "n::F"), QStringLiteral("text "));
}

void TestLogger::channelWithoutName()
{
    const QtLineRecorder recorder;
    const logger::Channel nameless{nullptr};
    logger::Logger log;
    log.SetLevel(logger::Debug);
    logger::Message(&log, nullptr, logger::Info, nullptr, nullptr, 0).GetStream() << "no channel";
    logger::Message(&log, &nameless, 20, nullptr, nullptr, 0).GetStream() << "dropped: level";
    logger::Message(&log, &nameless, -5, nullptr, nullptr, 0).GetStream() << "below fatal";
    QCOMPARE(qtLines.size(), 2u);
    QCOMPARE(qtLines.at(0).category, "");
    QCOMPARE(qtLines.at(1).category, "");
    QCOMPARE(qtLines.at(1).type, QtDebugMsg);
}

void TestLogger::statementCarriesItsOrigin()
{
    RecordingLogger recorder;
    voice::Speak();
    const int line = __LINE__ + 1;
    LOG_MESSAGE(logger::Error) << "here";

    QCOMPARE(recorder.lines.size(), 2u);
    QCOMPARE(recorder.lines.at(0).channel, "test.voice");
    QCOMPARE(recorder.lines.at(0).function, "voice::Speak");
    QCOMPARE(recorder.lines.at(1).channel, "main");
    QCOMPARE(recorder.lines.at(1).function, "TestLogger::statementCarriesItsOrigin");
    QCOMPARE(recorder.lines.at(1).level, int(logger::Error));
    QCOMPARE(recorder.lines.at(1).line, line);
    QCOMPARE(recorder.lines.at(1).file, __FILE__);
    QCOMPARE(recorder.lines.at(1).text, QStringLiteral("here"));
}

void TestLogger::statementKeepsItsLogger()
{
    RecordingLogger first;
    RecordingLogger second;
    logger::SetLogger(&first);
    const auto switchLogger = [&second] {
        logger::SetLogger(&second);
        return "text";
    };
    LOG_MESSAGE(logger::Error) << switchLogger();
    QCOMPARE(first.lines.size(), 1u);
    QVERIFY(second.lines.empty());
}

void TestLogger::nullLoggerIsSilent()
{
    logger::ILogger* previous = logger::SetLogger(nullptr);
    LogAtEveryLevel();
    qWarning("nobody hears this");
    QVERIFY(logger::GetLogger() == nullptr);
    QVERIFY(logger::SetLogger(previous) == nullptr);
    QCOMPARE(logger::GetLogger(), previous);
}

void TestLogger::configure()
{
    class Loaded : public logger::Logger
    {
    public:
        bool LoadConfiguration(const QString& configFile) override { return configFile == u"there"; }
    };
    Loaded log;
    log.SetLevel(logger::Warn);
    QVERIFY(log.Configure(logger::Debug, 0, 0, {}, {}, QStringLiteral("there"), {}, {}, 0, 0));
    QCOMPARE(log.GetLevel(), int(logger::Warn));
    QVERIFY(log.Configure(logger::Debug, 0, logger::ShowSource, {}, {}, QStringLiteral("elsewhere"), {}, {},
                          0, 0));
    QCOMPARE(log.GetLevel(), int(logger::Debug));
    QVERIFY(log.IsSourceShown());
    log.SetSourceShown(false);
    QVERIFY(!log.IsSourceShown());
}

void TestLogger::destroy()
{
    class Counted : public logger::Logger
    {
    public:
        explicit Counted(int& count_)
            : count(count_)
        {}
        ~Counted() override { ++count; }

    private:
        int& count;
    };
    int destroyed = 0;
    logger::ILogger* log = new Counted(destroyed);
    log->Destroy();
    QCOMPARE(destroyed, 1);

    logger::DestroyLogger(nullptr);
    logger::GetLogger()->Destroy();
    LOG_MESSAGE(logger::Error) << "the default logger is still there";
}

void TestLogger::qtMessagesArrive_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("level");

    QTest::newRow("debug") << int(QtDebugMsg) << 7;
    QTest::newRow("info counts as debug") << int(QtInfoMsg) << 7;
    QTest::newRow("warning") << int(QtWarningMsg) << 4;
    QTest::newRow("critical") << int(QtCriticalMsg) << 3;
    QTest::newRow("fatal") << int(QtFatalMsg) << 2;
}

void TestLogger::qtMessagesArrive()
{
    QFETCH(int, type);
    QFETCH(int, level);

    RecordingLogger recorder;
    libraryHandler(QtMsgType(type), QMessageLogContext("f.cpp", 3, "n::F", "some.category"),
                   QStringLiteral("t\u00E9xt"));

    QCOMPARE(recorder.lines.size(), 1u);
    QCOMPARE(recorder.lines.front().level, level);
    QCOMPARE(recorder.lines.front().channel, "");
    QCOMPARE(recorder.lines.front().text, QStringLiteral("t\u00E9xt"));
    QCOMPARE(recorder.lines.front().file, "f.cpp");
    QCOMPARE(recorder.lines.front().function, "n::F");
    QCOMPARE(recorder.lines.front().line, 3);
}

int main(int argc, char* argv[])
{
    libraryHandler = qInstallMessageHandler(nullptr);
    qInstallMessageHandler(libraryHandler);
    TestLogger test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_logger.moc"
