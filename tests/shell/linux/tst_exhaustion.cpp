#include <common/http/ihttprequest.h>
#include <common/idle/idlewatcher.h>
#include <common/shell/filecopier.h>
#include <common/shell/shell.h>
#include <common/tools/sleepwatcher.h>

#include <desktop/privatebus.h>
#include <table.h>

#include <QNetworkAccessManager>

#include <cstring>
#include <functional>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

void SetLimit(decltype(RLIMIT_NOFILE) resource, rlim_t value)
{
    const rlimit limit{value, value};
    setrlimit(resource, &limit);
}

/// Takes the last threads of this process, or all descriptors but `spare`.
void Exhaust(const QByteArray& resource, rlim_t spare)
{
    if (resource == "threads") {
        constexpr uid_t nobody = 65534; // The limit does not apply to the superuser.
        static_cast<void>(setresuid(nobody, nobody, nobody) == 0);
        SetLimit(RLIMIT_NPROC, 0);
    } else {
        const int next = dup(0);
        close(next);
        SetLimit(RLIMIT_NOFILE, static_cast<rlim_t>(next) + spare);
    }
}

bool FailsToCopy()
{
    common::FileCopier copier;
    int code = 0;
    QObject::connect(&copier, &common::FileCopier::failed, &copier, [&code](int failure) { code = failure; });
    copier.AddFile("/etc/hostname", "/tmp/vxcommon-not-copied");
    copier.Copy();
    QCoreApplication::processEvents();
    return code == 700108;
}

bool FailsToSend()
{
    QNetworkAccessManager manager;
    common::http::IHttpRequest* const request = common::http::CreateHttpRequest(&manager, &manager);
    request->SetUrl(QUrl("http://localhost:9/"));
    const bool sent = request->Get();
    QTest::qWait(sent ? 200 : 0); // The name is looked up on a thread.
    return !sent;
}

bool FailsToShow()
{
    return !common::Shell::ShowFile("/etc/hostname");
}

bool HasNoIdleBackend()
{
    return common::IdleWatcher::instance()->idleWatcherPrivate()->backend == nullptr;
}

bool IsNotSubscribed()
{
    return !tools::SleepWatcher::instance()->isInited();
}

} // namespace

Q_DECLARE_METATYPE(std::function<bool()>)

/// Functions that start threads or connections must report their usual error instead of hanging or ending the
/// program.
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
    const Table<QByteArray, std::function<bool()>> row("resource", "fails");
    for (const QByteArray resource : {"threads", "descriptors"}) {
        row((resource + " of a copy").constData(), resource, FailsToCopy);
        row((resource + " of ShowFile").constData(), resource, FailsToShow);
        row((resource + " of the idle watcher").constData(), resource, HasNoIdleBackend);
        row((resource + " of the sleep watcher").constData(), resource, IsNotSubscribed);
    }
    row("descriptors of a request", "descriptors", FailsToSend);
}

void TestExhaustion::failure()
{
    QFETCH(QByteArray, resource);
    QFETCH(std::function<bool()>, fails);

    qunsetenv("DISPLAY");
    qputenv("PATH", "/none");
    constexpr rlim_t enough = 5;
    for (rlim_t spare = 0; spare < (resource == "threads" ? 1 : enough); ++spare) {
        const pid_t child = fork();
        if (child == 0) {
            alarm(30);
            Exhaust(resource, spare);
            _exit(fails() || spare > 0 ? 0 : 1); // With some of them it may also succeed.
        }
        int status = -1;
        QCOMPARE(waitpid(child, &status, 0), child);
        QVERIFY2(!WIFSIGNALED(status), strsignal(WTERMSIG(status)));
        QCOMPARE(WEXITSTATUS(status), 0);
    }
}

QTEST_GUILESS_MAIN(TestExhaustion)
#include "tst_exhaustion.moc"
