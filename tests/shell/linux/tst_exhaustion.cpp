#include <common/http/ihttprequest.h>
#include <common/http/ihttprequestmultipartdata.h>
#include <common/idle/idlewatcher.h>
#include <common/shell/shell.h>
#include <common/tools/sleepwatcher.h>

#include <desktop/privatebus.h>
#include <files/jobrecorder.h>
#include <resourcelimit.h>
#include <table.h>

#include <QNetworkAccessManager>

#include <cstring>
#include <functional>

#include <sys/wait.h>
#include <unistd.h>

/// If no thread or descriptor is available, functions that need one report their usual error; they neither
/// hang nor crash.
class TestExhaustion : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void failure_data();
    void failure();

private:
    PrivateBus sessionBus{"session"};
    PrivateBus systemBus{"system"};
};

void TestExhaustion::failure_data()
{
    const Table<bool, std::function<bool()>> row("needsThreads", "fails");
    row("copier", true, [] {
        return RunJob("copier", "/", {"file etc/hostname tmp/vxcommon-not-copied"}) ==
               QStringList("failed 700108");
    });
    row("remover", true, [] { return RunJob("remover", "/", {}) == QStringList("failed 700205"); });
    row("ShowFile", true, [] { return !common::Shell::ShowFile("/etc/hostname"); });
    row("idle watcher", true,
        [] { return common::IdleWatcher::instance()->idleWatcherPrivate()->backend == nullptr; });
    row("sleep watcher", true, [] { return !tools::SleepWatcher::instance()->isInited(); });
    for (const int files : {0, 3}) {
        row(files == 0 ? "request" : "form", false, [files] {
            using namespace common::http;
            QNetworkAccessManager manager;
            IHttpRequest* const request = CreateHttpRequest(&manager, &manager);
            const auto form = IHttpRequestMultiPartData::CreateMultiPartFormData();
            for (int i = 0; i < files; ++i) {
                form->AddPart(IHttpRequestPartData::CreateFilePartFormData("file", "/etc/passwd"));
            }
            request->SetUrl(QUrl("http://localhost:9/"));
            request->SetData(files == 0 ? QSharedPointer<IHttpRequestData>() : form);
            const bool sent = files == 0 ? request->Get() : request->Post();
            QTest::qWait(sent ? 200 : 0); // Qt looks up the host name on a thread.
            return !sent;
        });
    }
}

void TestExhaustion::failure()
{
    QFETCH(bool, needsThreads);
    QFETCH(std::function<bool()>, fails);

    qunsetenv("DISPLAY");
    qputenv("PATH", "/none");
    // Leave no spare thread, or 0 to 9 spare descriptors.
    for (int spare = needsThreads ? -1 : 0; spare < 10; ++spare) {
        const pid_t child = fork();
        if (child == 0) {
            alarm(30);
            constexpr uid_t nobody = 65534; // The thread limit does not apply to the superuser.
            static_cast<void>(spare < 0 && setresuid(nobody, nobody, nobody) == 0);
            const ResourceLimit limit(spare < 0 ? RLIMIT_NPROC : RLIMIT_NOFILE,
                                      spare < 0 ? 0 : OpenDescriptors() + static_cast<rlim_t>(spare));
            _exit(fails() || spare > 0 ? 0 : 1); // With spare descriptors, success is valid too.
        }
        int status = -1;
        QCOMPARE(waitpid(child, &status, 0), child);
        QVERIFY2(!WIFSIGNALED(status), strsignal(WTERMSIG(status)));
        QCOMPARE(WEXITSTATUS(status), 0);
    }
}

QTEST_GUILESS_MAIN(TestExhaustion)
#include "tst_exhaustion.moc"
