#pragma once

#include "../logger/recordinglogger.h"

#include <common/shell/filecopier.h>
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
            const char* const activity = std::is_same_v<Job, common::FileCopier> ? "Copying" : "Removing";
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
