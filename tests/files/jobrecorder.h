#pragma once

#include "../logger/recordinglogger.h"

#include <common/shell/filecopier.h>
#include <common/shell/filehelper.h>
#include <common/shell/fileremover.h>

#include <QDir>
#include <QMutex>
#include <QRegularExpression>
#include <QStringList>
#include <QTest>

#include <functional>

/// A log for several threads that can also step in at a line.
class JobLog : public RecordingLogger
{
public:
    void Write(const common::logger::IMessage& message) override
    {
        {
            const QMutexLocker lock(&mutex);
            RecordingLogger::Write(message);
        }
        if (onLine) {
            onLine(*message.GetText());
        }
    }

    /// "LEVEL TEXT" of the lines of a channel up to a level, with "ROOT" for a folder, "N" for a duration and
    /// slashes as separators.
    QStringList Lines(const QByteArray& channel, int mostLevel, const QString& root = "no folder")
    {
        const QMutexLocker lock(&mutex);
        QStringList texts;
        for (const Line& line : lines) {
            if (line.level <= mostLevel && line.channel == channel) {
                texts += QString::number(line.level) + u' ' + QDir::fromNativeSeparators(line.text);
            }
        }
        return texts.replaceInStrings(root, "ROOT")
            .replaceInStrings(QRegularExpression("[0-9]+ msec"), "N msec");
    }

    std::function<void(const QString& text)> onLine; ///< To be set before the threads start.

private:
    QMutex mutex;
};

/// Writes down what a copier or remover emits: "1/2", "done", "failed 700105", with the text if it is no
/// usual one.
class JobRecorder : public QObject
{
public:
    template<class Job>
    explicit JobRecorder(Job* job)
    {
        connect(job, &Job::progress, this,
                [this](int current, int total) { signalsSeen += QString("%1/%2").arg(current).arg(total); });
        connect(job, &Job::succesed, this, [this] { End("done"); });
        connect(job, &Job::failed, this, [this](int code, const QString& text) {
            constexpr bool copies = std::is_same_v<Job, common::FileCopier>;
            const char* const activity = copies ? "Copying" : "Removing";
            const bool isUsual = text == QString("%1 failed with error '%2'!").arg(activity).arg(code);
            End(QString("failed %1").arg(code) + (isUsual ? QString() : u' ' + text));
        });
    }

    /// Runs the event loop until the job has ended and what is then still under way has arrived.
    QStringList& Wait()
    {
        static_cast<void>(QTest::qWaitFor([this] { return ended; }, 120000));
        ended = false;
        QCoreApplication::processEvents();
        return signalsSeen;
    }

    bool HasEnded() const { return ended; }

    QStringList signalsSeen;

private:
    void End(const QString& text)
    {
        signalsSeen += text;
        ended = true;
    }

    bool ended = false;
};

/// "1/n" ... "k/n" and what comes last.
inline QStringList Steps(int done, int total, const QString& end)
{
    QStringList steps;
    for (int i = 1; i <= done; ++i) {
        steps += QString("%1/%2").arg(i).arg(total);
    }
    return steps << end;
}

/// Signals of the helper: "found PATH N", "PATH I/N", "failed PATH"; paths relative to a folder.
inline void Record(common::FileHelper& helper, const QString& root, QStringList& seen)
{
    using common::FileHelper;
    const auto add = [root, &seen](const QString& text, const QString& path) {
        seen += text.arg(QDir(root).relativeFilePath(path));
    };
    QObject::connect(&helper, &FileHelper::scan, [add](const QString& file, quint64 total) {
        add("found %1 " + QString::number(total), file);
    });
    QObject::connect(&helper, &FileHelper::progress,
                     [add](const QString& file, quint64 current, quint64 total) {
                         add("%1 " + QString::number(current) + '/' + QString::number(total), file);
                     });
    QObject::connect(&helper, &FileHelper::failed, [add](const QString& file) { add("failed %1", file); });
}

/// Lets a "copier", "remover" or "helper" do work: "F path" (file), "D path" (directory), "N filter" and, to
/// copy, "F from to", "L from to" (link) and "D from to". Paths are below a folder, but for empty ones and
/// those with
/// "." or "/" in front. Returns the signals.
inline QStringList RunJob(const QString& job, const QString& root, const QStringList& work)
{
    common::FileCopier copier;
    common::FileRemover remover;
    common::FileHelper helper;
    JobRecorder copying(&copier);
    JobRecorder removing(&remover);
    QStringList helping;
    Record(helper, root, helping);
    for (const QString& item : work) {
        const auto path = [&](int word) {
            const QString text = item.section(' ', word, word);
            const bool isWhole = text.isEmpty() || text.startsWith('.') || text.startsWith('/');
            return isWhole ? text : root + u'/' + text;
        };
        if (item.startsWith('L')) {
            copier.AddSymlink(path(1), path(2));
        } else if (item.startsWith('N')) {
            helper.SetNameFilters(helper.NameFilters() + QStringList{item.mid(2)});
        } else if (item.startsWith('F')) {
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
