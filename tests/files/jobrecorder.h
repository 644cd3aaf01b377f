#pragma once

#include "../logger/recordinglogger.h"

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QMutex>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QThread>
#include <QTimer>

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

    /// "LEVEL CHANNEL TEXT" of the lines up to a level, with "ROOT" for a folder and slashes as separators.
    QStringList Lines(int mostLevel, const QString& root = "no folder")
    {
        const QMutexLocker lock(&mutex);
        QStringList texts;
        for (const Line& line : lines) {
            if (line.level <= mostLevel) {
                QString text = line.text;
                text.replace(QDir::toNativeSeparators(root), "ROOT").replace(root, "ROOT");
                text.replace(QDir::separator(), '/');
                texts += QString::number(line.level) + u' ' + QString::fromLatin1(line.channel) + u' ' + text;
            }
        }
        return texts;
    }

    std::function<void(const QString& text)> onLine; ///< To be set before the threads start.

private:
    QMutex mutex;
};

/// Writes down what a copier or remover emits: "1/2", "done", "failed 700105".
class JobRecorder : public QObject
{
public:
    template<class Job>
    explicit JobRecorder(Job* job)
    {
        connect(job, &Job::progress, this, [this](int current, int total) {
            Add(QString::number(current) + u'/' + QString::number(total));
        });
        connect(job, &Job::succesed, this, [this] { End("done"); });
        connect(job, &Job::failed, this, [this](int code, const QString& text) {
            End("failed " + QString::number(code));
            errorText = text;
        });
    }

    /// Runs the event loop until the job has ended and what is then still under way has arrived.
    QStringList& Wait()
    {
        if (!ended) {
            QTimer::singleShot(120000, &loop, [this] { loop.exit(1); });
            if (loop.exec() != 0) {
                signalsSeen += "no end";
            }
        }
        ended = false;
        QCoreApplication::processEvents();
        return signalsSeen;
    }

    QStringList signalsSeen;
    QString errorText;

private:
    void Add(const QString& text)
    {
        signalsSeen += QThread::currentThread() == thread() ? text : text + " on a foreign thread";
    }
    void End(const QString& text)
    {
        Add(text);
        ended = true;
        loop.quit();
    }

    QEventLoop loop;
    bool ended = false;
};

/// "1/n" ... "k/n" and what comes last.
inline QStringList Steps(int done, int total, const QString& end)
{
    QStringList steps;
    for (int i = 1; i <= done; ++i) {
        steps += QString::number(i) + u'/' + QString::number(total);
    }
    return steps << end;
}
