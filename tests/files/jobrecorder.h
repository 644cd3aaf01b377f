#pragma once

#include <common/shell/filecopier.h>
#include <common/shell/filehelper.h>
#include <common/shell/fileremover.h>

#include <QDir>
#include <QStringList>
#include <QTest>

#include <utility>

/// Records the signals of a copier or remover as "1/2", "done" or "failed 700105".
struct JobRecorder : QObject
{
    template<class Job>
    explicit JobRecorder(Job* job)
    {
        connect(job, &Job::progress, this,
                [this](int current, int total) { signalsSeen += QString("%1/%2").arg(current).arg(total); });
        connect(job, &Job::succesed, this, [this] { signalsSeen += "done"; });
        connect(job, &Job::failed, this, [this](int code) { signalsSeen += QString("failed %1").arg(code); });
    }

    bool HasEnded() const { return !signalsSeen.isEmpty() && !signalsSeen.last().contains('/'); }

    /// Runs the event loop until the job has ended and all pending signals have been delivered. Returns and
    /// clears the record.
    QStringList Wait()
    {
        static_cast<void>(QTest::qWaitFor([this] { return HasEnded(); }, 120000));
        QCoreApplication::processEvents();
        return std::exchange(signalsSeen, {});
    }

    QStringList signalsSeen;
};

/// Returns "1/n" ... "k/n".
inline QStringList Steps(int done, int total)
{
    QStringList steps;
    for (int i = 1; i <= done; ++i) {
        steps += QString("%1/%2").arg(i).arg(total);
    }
    return steps;
}

/// Runs a job, which is "copier", "remover" or "helper". The items of `work` are "file PATH", "dir PATH",
/// "filter PATTERN" and, for copies, "file FROM TO", "dir FROM TO" and "link FROM TO". Paths are below
/// `root`, except for empty ones and those that begin with "." or "/". Returns the signals. Signals of the
/// helper have the form "1/2 path" or "failed path".
inline QStringList RunJob(const QString& job, const QString& root, const QStringList& work)
{
    using common::FileHelper;
    common::FileCopier copier;
    common::FileRemover remover;
    FileHelper helper;
    JobRecorder copying(&copier);
    JobRecorder removing(&remover);
    QStringList helping;
    const auto add = [&](const QString& text, const QString& path) {
        helping += text + QDir(root).relativeFilePath(path);
    };
    QObject::connect(&helper, &FileHelper::progress, [&](const QString& path, quint64 at, quint64 total) {
        add(QString("%1/%2 ").arg(at).arg(total), path);
    });
    QObject::connect(&helper, &FileHelper::failed, [&](const QString& path) { add("failed ", path); });
    for (const QString& item : work) {
        const auto path = [&](int word) {
            const QString name = item.section(' ', word, word);
            return name.isEmpty() || name.startsWith('.') ? name : QDir(root).filePath(name);
        };
        const QString kind = item.section(' ', 0, 0);
        if (kind == "link") {
            copier.AddSymlink(path(1), path(2));
        } else if (kind == "filter") {
            helper.SetNameFilters(helper.NameFilters() + QStringList{item.section(' ', 1)});
        } else if (kind == "file") {
            copier.AddFile(path(1), path(2));
            remover.AddFile(path(1));
            helper.AppendFiles({path(1)});
        } else {
            copier.AddDirectory(path(1), path(2));
            remover.AddDirectory(path(1));
            helper.AppendDir(path(1));
        }
    }
    if (job == "helper") {
        const bool removed = helper.Remove();
        return removed == helping.filter("failed").isEmpty() ? helping : QStringList("wrong result");
    }
    const bool started = job == "copier" ? copier.Copy() : remover.Remove();
    return started ? (job == "copier" ? copying : removing).Wait() : QStringList("not started");
}
