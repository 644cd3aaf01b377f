#pragma once

#include <common/vxcommon_export.h>

#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>

class QFileInfo;

namespace common
{

/**
 * Finds what is below some directories, tells of each entry, and can remove it all: at once, on the caller's
 * thread. Signals are emitted inside the call, so a receiver must not delete the helper.
 *
 * Hidden entries and system entries (on Linux fifos, sockets, devices and links to nothing) are not found.
 * What was found is kept: a second scan finds the same entries again and has them twice.
 */
class VXCOMMON_EXPORT FileHelper : public QObject
{
    Q_OBJECT

public:
    FileHelper();
    explicit FileHelper(const QString& dir); ///< With a first directory.
    ~FileHelper() override;

    void AppendDir(const QString& dir);         ///< Adds a directory to be scanned.
    void AppendFiles(const QStringList& added); ///< Adds single files; missing ones are passed over.

    const QStringList& NameFilters() const; ///< As set.
    /// Wildcards as QDir::setNameFilters takes them; empty for all. A directory below a given one whose name
    /// does not match is not entered.
    void SetNameFilters(const QStringList& filters);

    /// Scans and returns false: copies nothing, whatever the argument. That is meant; FileCopier copies.
    bool Copy(const QString& destination);

    /**
     * Scans and removes what was found, the content of a directory before the directory itself. A link is
     * removed as a link. Goes on after a failure.
     *
     * @return whether everything could be removed; true if there was nothing
     */
    bool Remove();

Q_SIGNALS:
    /// An entry was found; it is number `total`.
    void scan(const QString& file, quint64 total);
    /// An entry could not be removed.
    void failed(const QString& file);
    /// An entry is about to be removed, number `current` of `total`.
    void progress(const QString& file, quint64 current, quint64 total);

private:
    Q_DISABLE_COPY(FileHelper)

    struct Private;

    void Scan();
    void ScanPath(const QString& root);
    void AddFound(const QFileInfo& entry, const QString& reportedPath, int directory, int itself);

    QStringList dirs;
    QStringList files;
    QStringList nameFilters;
    std::unique_ptr<Private> d;
};

} // namespace common
