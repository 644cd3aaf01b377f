/// The life of a job: abort, restart and destruction at every moment, for the copier and the remover.

#include "filetree.h"
#include "jobrecorder.h"

#include <QRandomGenerator>
#include <QSemaphore>
#include <QTemporaryDir>

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

/// A tree, and work on it for each of the two jobs.
struct Work
{
    Work() { filetree::Build(folder.path(), {"d/0=", "d/1=", "d/2=", "d/3="}); }
    void AddTo(FileCopier& job) const { job.AddDirectory(folder.filePath("d"), folder.filePath("t")); }
    void AddTo(FileRemover& job) const { job.AddDirectory(folder.filePath("d")); }

    const QTemporaryDir folder;
};

bool Start(FileCopier& job)
{
    return job.Copy();
}

bool Start(FileRemover& job)
{
    return job.Remove();
}

/// A job that stands at its second item until somebody waits for it.
template<class Job>
struct HeldJob : Work
{
    HeldJob()
    {
        AddTo(*job);
        log.onLine = [this, seen = 0](const QString& text) mutable {
            if (text.startsWith("Successfully") && ++seen == 2) {
                arrived.release();
                leave.acquire();
            } else if (text.startsWith("Waiting for the completion of the")) {
                leave.release();
            }
        };
        Start(*job);
        arrived.acquire();
    }
    QStringList Lines() { return log.Lines(copies ? "shell.filecopy" : "shell.fileremove", 7); }

    static constexpr bool copies = std::is_same_v<Job, FileCopier>;
    static constexpr int items = copies ? 4 : 5;
    JobLog log;
    QSemaphore arrived;
    QSemaphore leave;
    std::unique_ptr<Job> job = std::make_unique<Job>();
    JobRecorder recorder{job.get()};
};

template<class Job>
void TestAbort(bool force)
{
    HeldJob<Job> held;
    held.AddTo(*held.job); // For the next job, not for this one.
    held.job->Abort(force);
    // All is over, but nothing is told before the event loop runs.
    const QStringList lines = held.Lines();
    QCOMPARE(lines.last(), "7 Wait finished!");
    QCOMPARE(lines.filter(held.copies ? "of the copier thread..." : "of the remover thread...").size(), 1);
    QCOMPARE(lines.count("7 user abort detected!"), force ? 1 : 0);
    QCOMPARE(held.recorder.signalsSeen, QStringList());
    const QString aborted = held.copies ? "failed 700105" : "failed 700202";
    QCOMPARE(held.recorder.Wait(), Steps(force ? 2 : held.items, held.items, force ? aborted : "done"));
    held.job->Abort(force);
    QCOMPARE(held.Lines(), lines);
}

/// Of a held job and its successor: the first job's word on its first item is on its way already; the rest of
/// it is not heard.
template<class Job>
QStringList SignalsOfRestart()
{
    const int items = HeldJob<Job>::items;
    const int left = HeldJob<Job>::copies ? items : items - 2;
    return Steps(1, items, {}).mid(0, 1) + Steps(left, left, "done");
}

template<class Job>
void TestRestartAndDestruction()
{
    HeldJob<Job> held;
    Start(*held.job);
    QCOMPARE(held.recorder.Wait(), SignalsOfRestart<Job>());

    HeldJob<Job> destroyed;
    destroyed.job.reset();
    QCoreApplication::processEvents();
    QCOMPARE(destroyed.recorder.signalsSeen, QStringList());
    QCOMPARE(destroyed.Lines().count("7 user abort detected!"), 1);
}

/// A receiver of the first progress may do anything with the job; what is told already goes on.
template<class Job>
void TestReceiver()
{
    const auto firstProgress = [](HeldJob<Job>& held, const std::function<void()>& action) {
        QObject::connect(
            held.job.get(), &Job::progress, &held.recorder, [action] { action(); }, Qt::SingleShotConnection);
    };
    const QStringList all = Steps(HeldJob<Job>::items, HeldJob<Job>::items, "done");

    HeldJob<Job> waiting;
    waiting.leave.release();
    firstProgress(waiting, [&] { QCOMPARE(waiting.recorder.Wait(), all); });
    QTRY_COMPARE(waiting.recorder.signalsSeen, all);
    QTest::qWait(50);
    QCOMPARE(waiting.recorder.signalsSeen, all);

    // With all that is to be told there at once, and an event loop in each slot.
    HeldJob<Job> nesting;
    QObject::connect(nesting.job.get(), &Job::progress, &nesting.recorder, [] { QTest::qWait(1); });
    nesting.leave.release();
    while (!nesting.Lines().last().contains(" finished in ")) {
        QThread::msleep(1);
    }
    QCOMPARE(nesting.recorder.Wait(), all);

    HeldJob<Job> aborting;
    firstProgress(aborting, [&] { aborting.job->Abort(false); });
    QCOMPARE(aborting.recorder.Wait(), all);

    HeldJob<Job> restarting;
    firstProgress(restarting, [&] { Start(*restarting.job); });
    QCOMPARE(restarting.recorder.Wait(), SignalsOfRestart<Job>());

    HeldJob<Job> destroying;
    firstProgress(destroying, [&] { destroying.job.reset(); });
    QTRY_VERIFY(!destroying.job);
    QTest::qWait(50);
    QCOMPARE(destroying.recorder.signalsSeen, all.mid(0, 1));
}

template<class Job>
void TestLife()
{
    TestAbort<Job>(true);
    TestAbort<Job>(false);
    TestRestartAndDestruction<Job>();
    TestReceiver<Job>();
}

/// Starts, aborts and destroys in many ways, with signals on their way or delivered; nothing may go wrong.
template<class Job>
void Round(const Work& work, QRandomGenerator& random, bool hasEventLoop)
{
    Job job;
    JobRecorder recorder(&job);
    work.AddTo(job);
    for (int starts = random.bounded(1, 3); starts > 0; --starts) {
        QVERIFY(Start(job));
        QThread::usleep(random.bounded(100U));
        if (hasEventLoop && random.bounded(3) == 0) {
            QCoreApplication::processEvents();
        }
    }
    if (random.bounded(2) == 0) {
        job.Abort(random.bounded(2) == 0);
        if (hasEventLoop) {
            QCoreApplication::processEvents();
            QVERIFY(recorder.HasEnded());
        }
    }
}

void RunRounds(int count, bool hasEventLoop)
{
    const Work copying;
    const Work removing;
    QRandomGenerator random(20261124);
    for (int i = 0; i < count; ++i) {
        Round<FileCopier>(copying, random, hasEventLoop);
        Round<FileRemover>(removing, random, hasEventLoop);
    }
}

} // namespace

class TestJobLife : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void copier() { TestLife<FileCopier>(); }
    void remover() { TestLife<FileRemover>(); }
    void textOfFailure();
    void randomMoments() { RunRounds(rounds, true); }
    void callerWithoutEventLoop() { std::thread(RunRounds, 50, false).join(); }
};

// An event loop in the slot, as that of a message box, ends what the job needs no more.
void TestJobLife::textOfFailure()
{
    FileCopier job;
    job.AddFile("missing", "never");
    QString before;
    QString after;
    connect(&job, &FileCopier::failed, this, [&](int /*code*/, const QString& text) {
        before = QString(text.constData(), text.size());
        QTest::qWait(50);
        after = text;
    });
    QVERIFY(job.Copy());
    QTRY_COMPARE(after, QString("Copying failed with error '700103'!"));
    QCOMPARE(before, after);
}

QTEST_GUILESS_MAIN(TestJobLife)
#include "tst_joblife.moc"
