/// Tests the life of a job: abort, restart and destruction at any time, for the copier and the remover.

#include "filetree.h"
#include "jobrecorder.h"
#include "logger/recordinglogger.h"
#include "table.h"

#include <QRandomGenerator>
#include <QSemaphore>
#include <QTemporaryDir>

#include <memory>

using common::FileCopier;
using common::FileRemover;

namespace
{

/// Rounds of each kind of job. Threads and files are slow under Wine.
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
    static bool Start(FileCopier& job) { return job.Copy(); }
    static bool Start(FileRemover& job) { return job.Remove(); }

    const QTemporaryDir folder;
};

/// A job that stops at its second item, and at the given number after it, until it is waited for.
template<class Job>
struct HeldJob : Work
{
    explicit HeldJob(int furtherStops = 0)
    {
        AddTo(*job);
        log.onLine = [this, furtherStops, seen = 0](const QString& text) mutable {
            if (text.startsWith("Successfully") && ++seen >= 2 && seen <= 2 + furtherStops) {
                arrived.release();
                leave.acquire();
            } else if (text.startsWith("Waiting for the completion of the")) {
                leave.release();
            }
        };
        Start(*job);
        arrived.acquire();
    }
    QString LastLine() { return log.Lines(copies ? "shell.filecopy" : "shell.fileremove", 7).last(); }

    static constexpr bool copies = std::is_same_v<Job, FileCopier>;
    RecordingLogger log;
    QSemaphore arrived;
    QSemaphore leave;
    std::unique_ptr<Job> job = std::make_unique<Job>();
    JobRecorder recorder{job.get()};
};

/// Does something to a held job, at once or in a receiver of its first progress.
template<class Job>
void TestLife()
{
    QFETCH(QString, action);
    QFETCH(bool, inReceiver);
    HeldJob<Job> held;
    int toldBefore = -1;
    const auto act = [&] {
        if (action == "destroy") {
            held.job.reset();
        } else if (action == "restart") {
            Work::Start(*held.job);
        } else {
            held.AddTo(*held.job); // For the next job, not for this one.
            held.job->Abort(action == "abort");
            QCOMPARE(held.LastLine(), "7 Wait finished!");
        }
        toldBefore = static_cast<int>(held.recorder.signalsSeen.size());
    };
    if (inReceiver) {
        QObject::connect(held.job.get(), &Job::progress, &held.recorder, act, Qt::SingleShotConnection);
    } else {
        act();
    }

    const int items = held.copies ? 4 : 5;
    const int left = held.copies ? 4 : 3;
    const QHash<QString, QStringList> expected{
        {"abort", Steps(2, items) << (held.copies ? "failed 700105" : "failed 700202")},
        {"finish", Steps(items, items) << "done"},
        // The first job's report on its first item is already queued; its other reports are dropped.
        {"restart", Steps(1, items) + Steps(left, left) << "done"},
        {"destroy", Steps(inReceiver ? 1 : 0, items)}};
    QTRY_COMPARE(held.recorder.signalsSeen, expected[action]);
    QTest::qWait(50);
    QCOMPARE(held.recorder.signalsSeen, expected[action]);
    // The action itself emits nothing; the event loop delivers the signals.
    QCOMPARE(toldBefore, inReceiver ? 1 : 0);
}

/// Starts, aborts and destroys jobs in many ways, with signals queued or delivered; nothing may fail.
template<class Job>
void Round(const Work& work, QRandomGenerator& random)
{
    Job job;
    JobRecorder recorder(&job);
    work.AddTo(job);
    for (int starts = random.bounded(1, 3); starts > 0; --starts) {
        QVERIFY(Work::Start(job));
        QThread::usleep(random.bounded(100U));
        if (random.bounded(3) == 0) {
            QCoreApplication::processEvents();
        }
    }
    if (random.bounded(2) == 0) {
        job.Abort(random.bounded(2) == 0);
        QCoreApplication::processEvents();
        QVERIFY(recorder.HasEnded());
    }
}

} // namespace

class TestJobLife : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void copier_data();
    void copier() { TestLife<FileCopier>(); }
    void remover_data() { copier_data(); }
    void remover() { TestLife<FileRemover>(); }
    void abortBeforeTheDirectories();
    void eventLoopInEachSlot();
    void restartKeepsTheOrder();
    void movedWhileItRuns();
    void randomMoments();
};

void TestJobLife::copier_data()
{
    const Table<QString, bool> row("action", "inReceiver");
    for (const QByteArray action : {"abort", "finish", "restart", "destroy"}) {
        row(action + " at once", action, false);
        row(action + " in a receiver", action, true);
    }
}

void TestJobLife::abortBeforeTheDirectories()
{
    HeldJob<FileRemover> held(2);
    for (int file = 3; file <= 4; ++file) {
        held.leave.release();
        held.arrived.acquire();
    }
    held.job->Abort(true);
    QCOMPARE(held.recorder.Wait(), Steps(4, 5) << "failed 700202");
}

/// A nested event loop, as in a message box, deletes what the job no longer needs; all signals are emitted
/// nevertheless.
void TestJobLife::eventLoopInEachSlot()
{
    HeldJob<FileCopier> held;
    connect(held.job.get(), &FileCopier::progress, this, [] { QTest::qWait(1); });
    held.leave.release();
    while (!held.LastLine().contains(" finished in ")) {
        QThread::msleep(1); // Then everything to report is there at once.
    }
    QCOMPARE(held.recorder.Wait(), Steps(4, 4) << "done");

    QString textAfterLoop;
    FileCopier job;
    job.AddFile("missing", "never");
    connect(&job, &FileCopier::failed, this, [&](int /*code*/, const QString& text) {
        QTest::qWait(50);
        textAfterLoop = text;
    });
    QVERIFY(job.Copy());
    QTRY_COMPARE(textAfterLoop, "Copying failed with error '700103'!");
}

/// Reports of an earlier job that are not emitted yet precede the signals of the next one.
void TestJobLife::restartKeepsTheOrder()
{
    HeldJob<FileCopier> held(1);
    QCoreApplication::processEvents(); // Emits the first item. The second is reported soon after.
    held.leave.release();
    held.arrived.acquire();
    QVERIFY(held.job->Copy());
    QTRY_VERIFY(held.recorder.HasEnded());
    QTest::qWait(20);
    QCOMPARE(held.recorder.signalsSeen, Steps(2, 4) + Steps(4, 4) << "done");
}

/// The signals follow the owner from a thread that has no event loop and ends.
void TestJobLife::movedWhileItRuns()
{
    const Work work;
    std::unique_ptr<FileRemover> job;
    const std::unique_ptr<QThread> maker(QThread::create([&, home = QThread::currentThread()] {
        job = std::make_unique<FileRemover>();
        work.AddTo(*job);
        QVERIFY(job->Remove());
        job->moveToThread(home);
    }));
    maker->start();
    QVERIFY(maker->wait());
    JobRecorder recorder(job.get());
    while (!recorder.HasEnded()) {
        QThread::msleep(1);
        QCoreApplication::sendPostedEvents(); // An event loop is not needed.
    }
    QCOMPARE(recorder.signalsSeen, Steps(5, 5) << "done");
}

void TestJobLife::randomMoments()
{
    const Work copying;
    const Work removing;
    QRandomGenerator random(20261124);
    for (int i = 0; i < rounds; ++i) {
        Round<FileCopier>(copying, random);
        Round<FileRemover>(removing, random);
    }
}

QTEST_GUILESS_MAIN(TestJobLife)
#include "tst_joblife.moc"
