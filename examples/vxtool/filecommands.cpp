#include "command.h"
#include "input.h"
#include "output.h"
#include "platform.h"
#include "progressbar.h"

#include <common/logger/logger.h>
#include <common/shell/filecopier.h>
#include <common/shell/fileremover.h>
#include <common/shell/shell.h>

#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStorageInfo>

#include <algorithm>
#include <filesystem>

namespace vxtool
{

namespace
{

using common::FileCopier;
using common::FileRemover;
using common::Shell;

constexpr common::logger::Channel logChannel{"vxtool.files"};

const Option timingOption{u"timing"_s, u"Show the time taken."_s};
const Option tolerateOption{u"tolerate"_s, u"Skip files at the first level if they cannot be copied."_s};
const Option filterOption{
    u"filter"_s,
    u"List only files, and enter only directories, with names that match PATTERN (repeatable)."_s,
    u"PATTERN"_s};
const Option nullOption{{u"0"_s, u"null"_s}, u"End each name with a zero byte, as find -print0 does."_s};

/// An empty path most likely comes from an unset variable. It must not mean the current directory.
const QString emptyPath = u"a path must not be empty"_s;
const QString leftOutDetails =
    u"Hidden entries of directories, and names that cannot be decoded, are left out. "
    "Their number is printed; with --log, their paths are logged."_s;

/// Returns the full path. The path ends with a name, even if `path` ends with ".." or a slash. Resolves links
/// in the parent directories, but keeps a link at the end.
QString FullPath(const QString& path)
{
    const QFileInfo info(QDir(path).path()); // QDir removes a trailing slash.
    const QString name = info.fileName();
    if (name == "."_L1 || name == ".."_L1) {
        return info.canonicalFilePath();
    }
    const QString directory = QFileInfo(info.path()).canonicalFilePath();
    return directory.isEmpty() ? info.filePath() : QDir(directory).filePath(name);
}

/// Counts the entries that the library's jobs leave out.
class LeftOut
{
public:
    /// Counts and logs the entries left out below a directory.
    void Look(const QString& directory)
    {
        namespace fs = std::filesystem;
        std::error_code error;
        fs::recursive_directory_iterator entry(QFileInfo(directory).filesystemFilePath(),
                                               fs::directory_options::skip_permission_denied, error);
        for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
            const QFileInfo info(entry->path());
            const bool isUndecodable =
                info.fileName().contains(QChar::ReplacementCharacter) && !info.isSymLink() && !info.exists();
            if (isUndecodable || info.isHidden()) {
                ++(isUndecodable ? undecodable : hidden);
                LOG_MESSAGE(common::logger::Warn) << "left out: " << info.filePath();
                entry.disable_recursion_pending();
            }
        }
    }

    void Report() const
    {
        QStringList counts;
        if (hidden > 0) {
            counts += u"%1 hidden"_s.arg(hidden);
        }
        if (undecodable > 0) {
            counts += u"%1 with a name that cannot be decoded"_s.arg(undecodable);
        }
        if (!counts.isEmpty()) {
            Complain(u"left out: %1 (--log FILE lists them)"_s.arg(counts.join(u", "_s)));
        }
    }

private:
    int hidden = 0;
    int undecodable = 0;
};

/// Returns why a path quoted in an error of the library cannot be used; empty if no reason is found.
QString ReasonOf(const QString& error)
{
    static const QRegularExpression quoted(u"'([^']*)'"_s);
    auto matches = quoted.globalMatch(error);
    const QString path = matches.hasNext() ? matches.next().captured(1) : QString();
    const QFileInfo info(path);
    const QDir::Filters everything = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
    if (path.isEmpty() || error.contains("exist"_L1)) {
        return {};
    }
    if (info.isDir() && !info.isSymLink()) {
        return QDir(path).isEmpty(everything) ? PlaceProblem(path) : u"the directory is not empty"_s;
    }
    if (info.exists() && !info.isFile()) {
        return u"\"%1\" is not a regular file"_s.arg(path);
    }
    if (info.exists() && !info.isReadable()) {
        return u"no permission to read \"%1\""_s.arg(path);
    }
    return PlaceProblem(matches.hasNext() ? matches.next().captured(1) : path);
}

QString JobError(int code, const QString& text)
{
    const QString cause = TakeLibraryError();
    const QString reason = ReasonOf(cause);
    return u"error %1: %2"_s.arg(code).arg(cause.isEmpty() ? text : cause) +
           (reason.isEmpty() ? QString() : u" ("_s + reason + u')');
}

QString TimingText(int items, qint64 milliseconds)
{
    const double seconds = static_cast<double>(milliseconds) / 1000;
    return u" in %1 s, %2/s"_s.arg(
        QString::number(seconds, 'f', 3),
        ItemsText(static_cast<qint64>(items * 1000LL / std::max<qint64>(milliseconds, 1))));
}

/// Runs a job until it has ended or the user interrupts it.
template<class Job>
int RunJob(Job& job, bool (Job::*start)(), const QCommandLineParser& parser, const QString& done)
{
    ProgressBar bar(ItemsText);
    QElapsedTimer time;
    QEventLoop loop;
    int items = 0;
    bool interrupted = false;
    QString complaint;
    QObject::connect(&job, &Job::progress, &loop, [&](int current, int total) {
        items = current;
        bar.Update(current, total);
    });
    QObject::connect(&job, &Job::succesed, &loop, &QEventLoop::quit);
    QObject::connect(
        &job, &Job::failed, &loop,
        [&](int code, const QString& text) {
            complaint = interrupted ? u"interrupted"_s : JobError(code, text);
            loop.quit();
        },
        // If the start fails, the signal is emitted before the loop runs.
        Qt::QueuedConnection);
    platform::OnInterrupt([&] {
        interrupted = true;
        job.Abort(true);
    });

    time.start();
    (job.*start)();
    loop.exec();
    const QString summary = ItemsText(items) + u' ' + done +
                            (parser.isSet(timingOption) ? TimingText(items, time.elapsed()) : QString());
    bar.Finish();
    if (!complaint.isEmpty()) {
        return Fail(items == 0 ? complaint : complaint + u"; "_s + summary);
    }
    if (!IsQuiet()) {
        PrintLine(summary);
    }
    return AllValid;
}

int Copy(const QCommandLineParser& parser)
{
    QStringList sources = parser.positionalArguments();
    if (sources.size() < 2) {
        return FailUsage(u"a source and a destination are needed"_s);
    }
    if (sources.contains(QString())) {
        return FailUsage(emptyPath);
    }
    const QString destination = FullPath(sources.takeLast());
    const bool isDirectory = QFileInfo(destination).isDir();
    if (sources.size() > 1 && !isDirectory) {
        return FailUsage(u"\"%1\" is not a directory"_s.arg(destination));
    }
    FileCopier copier;
    LeftOut leftOut;
    for (const QString& argument : std::as_const(sources)) {
        const QString source = FullPath(argument);
        const QFileInfo info(source);
        const QString target = isDirectory ? destination + u'/' + info.fileName() : destination;
        if (info.isSymLink()) {
            copier.AddSymlink(source, target);
        } else if (info.isDir()) {
            copier.AddDirectory(source, target);
            leftOut.Look(source);
        } else {
            copier.AddFile(source, target);
        }
    }
    const int exitCode = RunJob(copier, &FileCopier::Copy, parser, u"copied"_s);
    leftOut.Report();
    return exitCode;
}

int Remove(const QCommandLineParser& parser)
{
    const QStringList arguments = parser.positionalArguments();
    if (arguments.isEmpty()) {
        return FailUsage(u"a path to remove is needed"_s);
    }
    if (arguments.contains(QString())) {
        return FailUsage(emptyPath);
    }
    FileRemover remover;
    LeftOut leftOut;
    for (const QString& argument : arguments) {
        const QString path = FullPath(argument);
        const QFileInfo info(path);
        if (info.isRoot()) {
            return FailUsage(u"\"%1\" is the root of the file system"_s.arg(path));
        }
        if (info.isDir() && !info.isSymLink()) {
            remover.AddDirectory(path);
            leftOut.Look(path);
        } else {
            remover.AddFile(path);
        }
    }
    const int exitCode = RunJob(remover, &FileRemover::Remove, parser, u"removed"_s);
    leftOut.Report();
    return exitCode;
}

/// Returns why CopyDir would fail; empty if no reason is found. Call it before CopyDir, which logs nothing.
QString CopyProblem(const QString& source, const QString& destination)
{
    if (!QFileInfo(source).isDir()) {
        return u"\"%1\" is not a directory"_s.arg(source);
    }
    for (const QString& file : Shell::ScanFiles(source, {})) {
        const QString target = destination + u'/' + QDir(source).relativeFilePath(file);
        if (!QFileInfo(file).isReadable()) {
            return u"no permission to read \"%1\""_s.arg(file);
        }
        if (QFileInfo::exists(target)) {
            return u"\"%1\" already exists"_s.arg(target);
        }
    }
    return QFileInfo(destination).isDir() ? PlaceProblem(destination + u"/x"_s)
                                          : u"\"%1\" is not a directory"_s.arg(destination);
}

QString MoveProblem(const QString& source, const QString& destination)
{
    if (!QFileInfo(source).isDir()) {
        return u"\"%1\" is not a directory"_s.arg(source);
    }
    if (QFileInfo::exists(destination)) {
        return u"\"%1\" already exists"_s.arg(destination);
    }
    const QString parent = QFileInfo(destination).absolutePath();
    if (!QFileInfo(parent).isDir()) {
        return u"\"%1\" is not a directory"_s.arg(parent);
    }
    return QStorageInfo(source).device() != QStorageInfo(parent).device()
               ? u"the destination is on another file system"_s
               : PlaceProblem(destination);
}

int CopyDir(const QCommandLineParser& parser)
{
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 2) {
        return FailUsage(u"a source and a destination are needed"_s);
    }
    const QString problem = CopyProblem(arguments.at(0), arguments.at(1));
    return Shell::CopyDir(arguments.at(0), arguments.at(1), QDir::Dirs | QDir::NoDotAndDotDot,
                          parser.isSet(tolerateOption))
               ? AllValid
               : Fail(u"cannot copy \"%1\" to \"%2\""_s.arg(arguments.at(0), arguments.at(1)), problem);
}

int MoveDir(const QCommandLineParser& parser)
{
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 2) {
        return FailUsage(u"a source and a destination are needed"_s);
    }
    const QString& source = arguments.at(0);
    const QString problem = MoveProblem(source, arguments.at(1));
    if (!Shell::MoveDir(source, arguments.at(1))) {
        return Fail(u"cannot move \"%1\" to \"%2\""_s.arg(source, arguments.at(1)), problem);
    }
    return QFileInfo::exists(source) ? Fail(u"copied, but cannot remove \"%1\""_s.arg(source)) : AllValid;
}

bool IsDirectory(const QString& path)
{
    const QFileInfo info(path);
    return info.isDir() || Complain(info.exists() ? u"\"%1\" is not a directory"_s.arg(path)
                                                  : u"there is no directory \"%1\""_s.arg(path));
}

int Scan(const QCommandLineParser& parser)
{
    RowPrinter printer(parser);
    return ExitCodeOf(ForEachInput(parser.positionalArguments(), [&](const QString& path) {
        if (!IsDirectory(path)) {
            return false;
        }
        for (const QString& file : Shell::ScanFiles(path, parser.values(filterOption))) {
            if (parser.isSet(nullOption)) {
                PrintBytes(QFile::encodeName(file) + '\0');
            } else {
                printer.Print({{u"file"_s, file}});
            }
        }
        return true;
    }));
}

int RemoveAfterExit(const QCommandLineParser& parser)
{
    return ExitCodeOf(ForEachInput(parser.positionalArguments(), [](const QString& path) {
        return IsDirectory(path) && (Shell::RemoveAfterExit(path) || Complain(TakeLibraryError()));
    }));
}

const CommandRegistration registration([] {
    return CommandList{
        {u"copy"_s,
         u"SOURCE... DESTINATION"_s,
         u"Copy files, links and directories."_s,
         {timingOption},
         Copy,
         u"Copies into DESTINATION if it is a directory. Existing files are replaced. "_s + leftOutDetails,
         u"vxtool copy --timing photos notes.txt /media/backup"_s},
        {u"remove"_s,
         u"PATH..."_s,
         u"Remove files, links and whole directories."_s,
         {timingOption},
         Remove,
         leftOutDetails + u" A directory that contains such entries cannot be removed."_s,
         u"vxtool remove --quiet build"_s},
        {u"copydir"_s,
         u"SOURCE DESTINATION"_s,
         u"Copy the contents of a directory."_s,
         {tolerateOption},
         CopyDir,
         u"DESTINATION must exist unless SOURCE has subdirectories. "
         "Fails if a file of the same name exists there. "
         "Hidden entries are left out."_s},
        {u"movedir"_s, u"SOURCE DESTINATION"_s, u"Move a directory."_s, {}, MoveDir},
        {u"scan"_s, u"[DIR...]"_s, u"List all files below directories."_s,
         RowPrinter::Options({filterOption, nullOption}), Scan, u"Hidden entries are left out."_s,
         u"vxtool scan --null --filter '*.wav' ~/Music | xargs -0 ls -l"_s},
        {u"removeafterexit"_s,
         u"[DIR...]"_s,
         u"Remove directories after vxtool exits."_s,
         {},
         RemoveAfterExit},
    };
});

} // namespace

} // namespace vxtool
