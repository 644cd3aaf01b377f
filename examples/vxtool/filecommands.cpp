#include "command.h"
#include "interrupt.h"
#include "output.h"
#include "progressbar.h"

#include <common/shell/filecopier.h>
#include <common/shell/fileremover.h>

#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFileInfo>

#include <algorithm>

namespace vxtool
{

namespace
{

using common::FileCopier;
using common::FileRemover;

const QString copyCommand = QStringLiteral("copy");
const QString removeCommand = QStringLiteral("remove");
const QString timingOption = QStringLiteral("timing");
/// Most likely from a variable that was not set. It must not be taken for the current directory.
const QString emptyPath = QStringLiteral("an empty path names nothing");

void AddOptions(QCommandLineParser& parser)
{
    parser.addOption({timingOption, QStringLiteral("Show how long it took, too.")});
}

/// With a last name, also of ".." and of a folder with a slash behind it. It is the file system that tells
/// what stands before a "..", and links at the end stay links.
QString FullPath(const QString& path)
{
    const QFileInfo info(QDir(path).path()); // QDir takes the slash away.
    const QString name = info.fileName();
    if (name == QLatin1String(".") || name == QLatin1String("..")) {
        return info.canonicalFilePath();
    }
    const QString folder = QFileInfo(info.path()).canonicalFilePath();
    return folder.isEmpty() ? info.absoluteFilePath() : QDir(folder).filePath(name);
}

QString TimingText(int items, qint64 milliseconds)
{
    const double seconds = static_cast<double>(milliseconds) / 1000;
    return QStringLiteral(" in %1 s, %2/s")
        .arg(QString::number(seconds, 'f', 3),
             ItemsText(static_cast<qint64>(items * 1000LL / std::max<qint64>(milliseconds, 1))));
}

/// Runs a job to its end, which comes early if the user interrupts it.
template<class Job>
int RunJob(Job& job, bool (Job::*start)(), const QCommandLineParser& parser, const QString& command,
           const QString& done)
{
    ProgressBar bar(ItemsText);
    QElapsedTimer time;
    QEventLoop loop;
    int items = 0;
    QString complaint;
    QObject::connect(&job, &Job::progress, &loop, [&](int current, int total) {
        items = current;
        bar.Update(current, total);
    });
    QObject::connect(&job, &Job::succesed, &loop, &QEventLoop::quit);
    QObject::connect(
        &job, &Job::failed, &loop,
        [&](int code, const QString& text) {
            complaint = QStringLiteral("error %1: %2").arg(code).arg(text);
            loop.quit();
        },
        // A failed start is told at once, before the loop runs.
        Qt::QueuedConnection);
    OnInterrupt([&job] { job.Abort(true); });

    time.start();
    (job.*start)();
    loop.exec();
    const QString timing = parser.isSet(timingOption) ? TimingText(items, time.elapsed()) : QString();
    bar.Finish();
    if (!complaint.isEmpty()) {
        PrintError(
            QStringLiteral("vxtool %1: %2\n%3 %4%5").arg(command, complaint, ItemsText(items), done, timing));
        return SomeFailed;
    }
    PrintLine(QStringLiteral("%1 %2%3").arg(ItemsText(items), done, timing));
    return AllValid;
}

int Copy(const QCommandLineParser& parser)
{
    QStringList sources = parser.positionalArguments();
    if (sources.size() < 2) {
        return FailUsage(QStringLiteral("something to copy and a place for it are needed"), copyCommand);
    }
    if (sources.contains(QString())) {
        return FailUsage(emptyPath, copyCommand);
    }
    const QString destination = FullPath(sources.takeLast());
    const bool isFolder = QFileInfo(destination).isDir();
    if (sources.size() > 1 && !isFolder) {
        return FailUsage(QStringLiteral("\"%1\" is no folder").arg(destination), copyCommand);
    }
    FileCopier copier;
    for (const QString& argument : std::as_const(sources)) {
        const QString source = FullPath(argument);
        const QFileInfo info(source);
        const QString target = isFolder ? destination + u'/' + info.fileName() : destination;
        if (info.isSymLink()) {
            copier.AddSymlink(source, target);
        } else if (info.isDir()) {
            copier.AddDirectory(source, target);
        } else {
            copier.AddFile(source, target);
        }
    }
    return RunJob(copier, &FileCopier::Copy, parser, copyCommand, QStringLiteral("copied"));
}

int Remove(const QCommandLineParser& parser)
{
    const QStringList arguments = parser.positionalArguments();
    if (arguments.isEmpty()) {
        return FailUsage(QStringLiteral("something to remove is needed"), removeCommand);
    }
    if (arguments.contains(QString())) {
        return FailUsage(emptyPath, removeCommand);
    }
    FileRemover remover;
    for (const QString& argument : arguments) {
        const QString path = FullPath(argument);
        const QFileInfo info(path);
        if (info.isRoot()) {
            return FailUsage(QStringLiteral("\"%1\" is all there is").arg(path), removeCommand);
        }
        if (info.isDir() && !info.isSymLink()) {
            remover.AddDirectory(path);
        } else {
            remover.AddFile(path);
        }
    }
    return RunJob(remover, &FileRemover::Remove, parser, removeCommand, QStringLiteral("removed"));
}

const CommandRegistration registration{
    {copyCommand, QStringLiteral("SOURCE... DESTINATION"),
     QStringLiteral("Copy files, links and folders, into a folder if the destination is one."), AddOptions,
     Copy},
    {removeCommand, QStringLiteral("PATH..."),
     QStringLiteral("Remove files, links and folders with all that is in them."), AddOptions, Remove},
};

} // namespace

} // namespace vxtool
