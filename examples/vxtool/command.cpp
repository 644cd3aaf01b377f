#include "command.h"

#include "output.h"

#include <common/logger/logger.h>
#include <common/vxcommon_features.h>

#include <QFileInfo>
#include <QMutex>
#include <QRegularExpression>
#include <QStorageInfo>

#include <algorithm>
#include <utility>

namespace vxtool
{

namespace
{

namespace logger = common::logger;

const Command* runningCommand = nullptr;

/// Stores the first error that the library logs, on any thread, and forwards all lines to the log.
class ErrorKeeper final : public logger::Logger
{
public:
    void Write(const logger::IMessage& message) override
    {
        if (message.GetLevel() <= logger::Error) {
            const QMutexLocker lock(&mutex);
            if (firstError.isEmpty()) {
                firstError = *message.GetText();
            }
        }
        if (log != nullptr) {
            log->Write(message);
        }
    }

    QString TakeFirstError()
    {
        const QMutexLocker lock(&mutex);
        return std::exchange(firstError, QString());
    }

    logger::ILogger* log = nullptr;

private:
    QMutex mutex;
    QString firstError;
};

ErrorKeeper& Keeper()
{
    static auto* const keeper = new ErrorKeeper; // Never deleted: Qt may still log after main has returned.
    return *keeper;
}

std::vector<CommandList (*)()>& Makers()
{
    static std::vector<CommandList (*)()> makers;
    return makers;
}

QString ProgramAndCommand()
{
    return runningCommand == nullptr ? u"vxtool"_s : u"vxtool "_s + runningCommand->name;
}

} // namespace

const CommandList& Commands()
{
    static const CommandList commands = [] {
        CommandList all;
        for (const auto makeCommands : Makers()) {
            const CommandList some = makeCommands();
            all.insert(all.end(), some.begin(), some.end());
        }
        std::sort(all.begin(), all.end(), [](const Command& a, const Command& b) { return a.name < b.name; });
        return all;
    }();
    return commands;
}

CommandRegistration::CommandRegistration(CommandList (*makeCommands)())
{
    Makers().push_back(makeCommands);
}

void SetRunningCommand(const Command* command)
{
    runningCommand = command;
}

bool Complain(const QString& reason)
{
    PrintError(ProgramAndCommand() + u": "_s + reason);
    return false;
}

int Fail(const QString& reason, const QString& problem)
{
    return ExitCodeOf(Complain(problem.isEmpty() ? reason : reason + u": "_s + problem));
}

QString PlaceProblem(const QString& path)
{
    QFileInfo directory(QFileInfo(path).absolutePath());
    while (!directory.exists() && !directory.isRoot()) {
        directory.setFile(directory.absolutePath());
    }
    if (!directory.isDir()) {
        return u"\"%1\" is not a directory"_s.arg(directory.filePath());
    }
    if (!directory.isWritable()) {
        return u"no permission to write to \"%1\""_s.arg(directory.filePath());
    }
    return QStorageInfo(directory.filePath()).bytesAvailable() == 0 ? u"the disk is full"_s : QString();
}

int FailUsage(const QString& reason)
{
    Complain(reason);
    PrintError(u"Try '%1 --help'."_s.arg(ProgramAndCommand()));
    return WrongUsage;
}

bool Misused(const QString& reason)
{
    return FailUsage(reason) == AllValid;
}

bool StartLog(const QString& file, int level, bool showSource)
{
    logger::SetLogger(&Keeper());
    if (file.isEmpty()) {
        return true;
    }
#if VXCOMMON_HAS_LOG4CPP
    constexpr std::size_t maxFileSize = std::size_t{10} * 1024 * 1024;
    constexpr int maxBackups = 3;
    const bool isConsole = file == "-"_L1;
    Keeper().log = logger::GetLog4cpp();
    return Keeper().log->Configure(
        level, isConsole ? logger::Target::Console : logger::Target::RollingFile,
        logger::Option::PatternLayout |
            (showSource ? logger::Option::ShowSource | logger::Option::ShowFunction : 0U),
        QString(), u"qt"_s, QString(), isConsole ? QString() : file, QString(), maxFileSize, maxBackups);
#else
    Q_UNUSED(level)
    Q_UNUSED(showSource)
    return false;
#endif
}

QString TakeLibraryError()
{
    static const QRegularExpression objectNumbers(u"^\\[[0-9, ]+\\]: "_s);
    return Keeper().TakeFirstError().remove(objectNumbers);
}

} // namespace vxtool
