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
 * Finds directories, the entries below them, and single files. Reports each entry and can remove all of
 * them. All work is done inside the call, on the caller's thread.
 *
 * Does not find hidden entries or system entries (on Linux fifos, sockets, devices and dangling links). Keeps
 * what it has found, so a second scan adds the same entries again.
 *
 * @warning The signals are emitted inside the call: a receiver must not delete the helper.
 */
class VXCOMMON_EXPORT FileHelper : public QObject
{
    Q_OBJECT

public:
    FileHelper();
    explicit FileHelper(const QString& dir); ///< Adds `dir` as the first directory.
    ~FileHelper() override;

    void AppendDir(const QString& dir);         ///< Adds a directory to scan.
    void AppendFiles(const QStringList& added); ///< Adds single files. Skips missing ones.

    const QStringList& NameFilters() const; ///< @see SetNameFilters
    /// Sets wildcards as in QDir::setNameFilters; an empty list finds everything. The filters also apply to
    /// subdirectories; one that does not match is not entered.
    void SetNameFilters(const QStringList& filters);

    /// Scans and returns false. Kept for compatibility: it copies nothing; use FileCopier.
    bool Copy(const QString& destination);

    /**
     * Scans, then removes the entries found. Removes a directory after its contents. Removes a link as a
     * link. Continues after a failure.
     *
     * @return whether everything was removed; true if nothing was found
     */
    bool Remove();

Q_SIGNALS:
    /// Emitted for each entry found; `total` counts the entries found so far.
    void scan(const QString& file, quint64 total);
    /// Emitted for each entry that cannot be removed.
    void failed(const QString& file);
    /// Emitted before entry number `current` of `total` is removed.
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
