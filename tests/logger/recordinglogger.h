#pragma once

#include <common/logger/logger.h>

#include <QByteArray>
#include <QString>

#include <vector>

/// Keeps what arrives, and is the current logger as long as it lives.
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
        const auto* channel = message.GetChannel();
        lines.push_back({message.GetLevel(), channel != nullptr ? channel->name : nullptr, *message.GetText(),
                         message.GetLine(), message.GetFile(), message.GetFunction()});
    }

    std::vector<Line> lines;

private:
    Q_DISABLE_COPY(RecordingLogger)

    common::logger::ILogger* previous;
};
