/// The life of a job: abort, restart and destruction at every moment, for the copier and the remover.

#include "filetree.h"
#include "jobrecorder.h"

#include <common/shell/filecopier.h>
#include <common/shell/fileremover.h>

#include <QRandomGenerator>
#include <QSemaphore>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <thread>

using common::FileCopier;
using common::FileRemover;

namespace
{

/// Of each kind of job. Threads and files are slow under Wine.
#ifdef Q_OS_WIN
constexpr int rounds = 250;
#else
constexpr int rounds = 5000;
#endif

/// Holds the worker at its second item until the log says that somebody waits for it.
void HoldSecondItem(JobLog& log, QSemaphore& arrived, QSemaphore& leave)
{
    log.onLine = [&arrived, &leave, seen = 0](const QString& text) mutable {
        if (text.startsWith("Successfully") && ++seen == 2) {
            arrived.release();
            leave.acquire();
        } else if (text.startsWith("Waiting for the completion of the")) {
            leave.release();
        }
    };
}

/// The two jobs in one guise: five items each.
struct Copying
{
    Copying() { filetree::Build(folder.path(), {"0=", "1=", "2=", "3=", "4="}); }
    void AddWork(FileCopier& job) const
    {
        for (int i = 0; i < 5; ++i) {
            job.AddFile(folder.filePath(QString::number(i)), folder.filePath("t/") + QString::number(i));
        }
    }
    static bool Start(FileCopier& job) { return job.Copy(); }

    using Job = FileCopier;
    static constexpr const char* aborted = "failed 700105";
    static constexpr const char* name = "copier";
    QTemporaryDir folder;
};

struct Removing
{
    Removing() { filetree::Build(folder.path(), {"d/0=", "d/1=", "d/2=", "d/3="}); }
    void AddWork(FileRemover& job) const { job.AddDirectory(folder.filePath("d")); }
    static bool Start(FileRemover& job) { return job.Remove(); }

    using Job = FileRemover;
    static constexpr const char* aborted = "failed 700202";
    static constexpr const char* name = "remover";
    QTemporaryDir folder;
};

template<class Kind>
void TestAbort(bool force)
{
    const Kind kind;
    JobLog log;
    QSemaphore arrived;
    QSemaphore leave;
    HoldSecondItem(log, arrived, leave);
    typename Kind::Job job;
    JobRecorder recorder(&job);
    kind.AddWork(job);
    job.Abort(force);
    QVERIFY(log.Lines(7).isEmpty());
    QVERIFY(kind.Start(job));
    arrived.acquire();
    job.Abort(force);
    // All is over, but nothing is told before the event loop runs.
    const QStringList lines = log.Lines(7);
    QVERIFY(lines.last().endsWith("Wait finished!"));
    QCOMPARE(lines.filter(QString("completion of the %1 thread...").arg(Kind::name)).size(), 1);
    QCOMPARE(lines.filter("user abort detected!").size(), force ? 1 : 0);
    QCOMPARE(recorder.signalsSeen, QStringList());
    QCOMPARE(recorder.Wait(), force ? Steps(2, 5, Kind::aborted) : Steps(5, 5, "done"));
    job.Abort(force);
    QCOMPARE(log.Lines(7), lines);
}

template<class Kind>
void TestRestart()
{
    const Kind kind;
    JobLog log;
    QSemaphore arrived;
    QSemaphore leave;
    HoldSecondItem(log, arrived, leave);
    typename Kind::Job job;
    JobRecorder recorder(&job);
    kind.AddWork(job);
    kind.Start(job);
    arrived.acquire();
    kind.Start(job);
    // The first job's word on its first item is on its way already; the rest of it is not heard.
    const bool copies = std::is_same_v<Kind, Copying>;
    QCOMPARE(recorder.Wait(), QStringList("1/5") + (copies ? Steps(5, 5, "done") : Steps(3, 3, "done")));
}

template<class Kind>
void TestDestruction()
{
    const Kind kind;
    JobLog log;
    QSemaphore arrived;
    QSemaphore leave;
    HoldSecondItem(log, arrived, leave);
    auto job = std::make_unique<typename Kind::Job>();
    JobRecorder recorder(job.get());
    kind.AddWork(*job);
    kind.Start(*job);
    arrived.acquire();
    job.reset();
    QCoreApplication::processEvents();
    QCOMPARE(recorder.signalsSeen, QStringList());
    QCOMPARE(log.Lines(7).filter("user abort detected!").size(), 1);
}

/// Starts, aborts and destroys in many ways, with signals on their way or delivered; nothing may go wrong.
template<class Kind>
void Round(const Kind& kind, QRandomGenerator& random)
{
    auto job = std::make_unique<typename Kind::Job>();
    int ends = 0;
    QObject::connect(job.get(), &Kind::Job::succesed, job.get(), [&ends] { ++ends; });
    QObject::connect(job.get(), &Kind::Job::failed, job.get(), [&ends] { ++ends; });
    kind.AddWork(*job);
    const int starts = random.bounded(1, 3);
    for (int i = 0; i < starts; ++i) {
        QVERIFY(kind.Start(*job));
        for (int spins = random.bounded(20000); spins > 0; --spins) {
            std::atomic_signal_fence(std::memory_order_seq_cst);
        }
        if (random.bounded(3) == 0) {
            QCoreApplication::processEvents();
        }
    }
    if (random.bounded(2) == 0) {
        job->Abort(random.bounded(2) == 0);
        QCoreApplication::processEvents();
        QVERIFY(ends >= 1 && ends <= starts);
    }
}

} // namespace

class TestFileJobs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void abort_data();
    void abort();
    void restart();
    void destruction();
    void additionsDoNotReachARunningJob();
    void randomMoments();
    void callerWithoutEventLoop();
};

void TestFileJobs::abort_data()
{
    QTest::addColumn<bool>("force");
    QTest::newRow("forced") << true;
    QTest::newRow("waiting") << false;
}

void TestFileJobs::abort()
{
    QFETCH(bool, force);
    TestAbort<Copying>(force);
    TestAbort<Removing>(force);
}

void TestFileJobs::restart()
{
    TestRestart<Copying>();
    TestRestart<Removing>();
}

void TestFileJobs::destruction()
{
    TestDestruction<Copying>();
    TestDestruction<Removing>();
}

void TestFileJobs::additionsDoNotReachARunningJob()
{
    const Copying kind;
    FileCopier copier;
    JobRecorder recorder(&copier);
    kind.AddWork(copier);
    copier.Copy();
    copier.AddFile(kind.folder.filePath("0"), kind.folder.filePath("t/late"));
    QCOMPARE(recorder.Wait(), Steps(5, 5, "done"));
    QVERIFY(!QFile::exists(kind.folder.filePath("t/late")));
}

void TestFileJobs::randomMoments()
{
    const Copying copying;
    const Removing removing;
    QRandomGenerator random(20261124);
    for (int i = 0; i < rounds; ++i) {
        Round(copying, random);
        Round(removing, random);
    }
}

void TestFileJobs::callerWithoutEventLoop()
{
    const Copying kind;
    std::thread caller([&kind] {
        for (int i = 0; i < 50; ++i) {
            FileCopier copier;
            kind.AddWork(copier);
            copier.Copy();
            copier.Abort(i % 2 == 0);
            copier.Copy();
        }
    });
    caller.join();
    QCOMPARE(filetree::Snapshot(kind.folder.filePath("t")).first(), QString("0="));
}

QTEST_GUILESS_MAIN(TestFileJobs)
#include "tst_filejobs.moc"
