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

/// Number of rounds per kind of job; lower for Windows, because threads and files are slow under Wine.
#ifdef Q_OS_WIN
constexpr int rounds = 250;
#else
constexpr int rounds = 5000;
#endif

/// A tree of files that a job copies or removes.
struct Work
{
    Work() { filetree::Build(folder.path(), {"d/0=", "d/1=", "d/2=", "d/3="}); }
    void AddTo(FileCopier& job) const { job.AddDirectory(folder.filePath("d"), folder.filePath("t")); }
    void AddTo(FileRemover& job) const { job.AddDirectory(folder.filePath("d")); }
    static bool Start(FileCopier& job) { return job.Copy(); }
    static bool Start(FileRemover& job) { return job.Remove(); }

    const QTemporaryDir folder;
};

/// A running job whose worker pauses at the second item and at each of the next `furtherStops` items.
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

/// Performs the action on a paused job, either directly or in a slot that receives the first `progress`
/// signal.
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
            held.AddTo(*held.job); // Affects only the next job.
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
        // Of the first job's signals, only the progress of its first item is already queued; the rest is
        // dropped.
        {"restart", Steps(1, items) + Steps(left, left) << "done"},
        {"destroy", Steps(inReceiver ? 1 : 0, items)}};
    QTRY_COMPARE(held.recorder.signalsSeen, expected[action]);
    QTest::qWait(50);
    QCOMPARE(held.recorder.signalsSeen, expected[action]);
    // The action itself emits nothing; the event loop delivers the signals.
    QCOMPARE(toldBefore, inReceiver ? 1 : 0);
}

/// Starts, aborts and destroys a job at random moments.
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

/// A slot may run an event loop, as a message box does. All signals must still be emitted.
void TestJobLife::eventLoopInEachSlot()
{
    HeldJob<FileCopier> held;
    connect(held.job.get(), &FileCopier::progress, this, [] { QTest::qWait(1); });
    held.leave.release();
    // When this line has been logged, all progress signals are pending.
    while (!held.LastLine().contains(" finished in ")) {
        QThread::msleep(1);
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

/// Pending progress of an earlier job is emitted before the signals of the next job.
void TestJobLife::restartKeepsTheOrder()
{
    HeldJob<FileCopier> held(1);
    QCoreApplication::processEvents(); // Emits the progress of the first item.
    held.leave.release();
    held.arrived.acquire();
    QVERIFY(held.job->Copy());
    QTRY_VERIFY(held.recorder.HasEnded());
    QTest::qWait(20);
    QCOMPARE(held.recorder.signalsSeen, Steps(2, 4) + Steps(4, 4) << "done");
}

/// If the owner moves away from a thread without an event loop, its signals are emitted on the new thread.
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
        QCoreApplication::sendPostedEvents(); // Delivers the signals without an event loop.
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
