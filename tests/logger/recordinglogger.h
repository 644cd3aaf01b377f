#pragma once

#include <common/logger/logger.h>

#include <QDir>
#include <QMutex>

#include <algorithm>
#include <functional>
#include <vector>

/// Records lines from any thread. It is the current logger during its lifetime.
class RecordingLogger : public common::logger::Logger
{
public:
    struct Line
    {
        int level;
        QByteArray channel;
        QString text;
        int line;
        QByteArray file;
        QByteArray function;
    };

    RecordingLogger()
        : previous(common::logger::SetLogger(this))
    {}
    ~RecordingLogger() override { common::logger::SetLogger(previous); }

    void Write(const common::logger::IMessage& message) override
    {
        {
            const QMutexLocker lock(&mutex);
            const auto* channel = message.GetChannel();
            lines.push_back({message.GetLevel(), channel != nullptr ? channel->name : nullptr,
                             *message.GetText(), message.GetLine(), message.GetFile(),
                             message.GetFunction()});
        }
        if (onLine) {
            onLine(*message.GetText());
        }
    }

    /// Returns the lines of a channel up to a level as "LEVEL TEXT". Replaces the directory `root` with
    /// "ROOT" and native separators with slashes.
    QStringList Lines(const QByteArray& channel, int mostLevel, const QString& root = "no folder") const
    {
        const QMutexLocker lock(&mutex);
        QStringList texts;
        for (const Line& line : lines) {
            if (line.level <= mostLevel && line.channel == channel) {
                texts += QString::number(line.level) + u' ' + QDir::fromNativeSeparators(line.text);
            }
        }
        return texts.replaceInStrings(root, "ROOT");
    }

    bool Contains(const QString& text, const QString& start = QString()) const
    {
        const QMutexLocker lock(&mutex);
        return std::any_of(lines.begin(), lines.end(), [&](const Line& line) {
            return line.text.startsWith(start) && line.text.contains(text);
        });
    }

    std::function<void(const QString& text)> onLine; ///< Called for each line; set before starting threads.
    std::vector<Line> lines;

private:
    Q_DISABLE_COPY(RecordingLogger)

    common::logger::ILogger* previous;
    mutable QMutex mutex;
};
