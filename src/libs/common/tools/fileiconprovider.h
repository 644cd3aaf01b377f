#pragma once

#include <common/vxcommon_export.h>

#include <QFileIconProvider>
#include <QIcon>
#include <QMap>
#include <QString>

namespace tools
{

/**
 * The system's icons for types of files, also for a file that does not exist: the system is asked about an
 * empty file of that type.
 *
 * For the interface thread. The icon of a suffix is asked for once in the life of the process, if there is
 * one; suffixes that differ in case count as different.
 */
class VXCOMMON_EXPORT FileIconProvider : public QFileIconProvider
{
public:
    FileIconProvider();
    ~FileIconProvider() override;

    using QFileIconProvider::icon;
    /// The icon for files with the suffix of `info`; the generic one if the system has none for them.
    QIcon icon(const QFileInfo& info) const override;

private:
    Q_DISABLE_COPY(FileIconProvider)

    static QMap<QString, QIcon> iconCache_;
};

} // namespace tools
