#pragma once

#include <common/vxcommon_export.h>

#include <QFileIconProvider>
#include <QIcon>
#include <QMap>
#include <QString>

namespace tools
{

/**
 * Provides the system's icons for file types, also for files that do not exist: it queries the system for an
 * empty temporary file of that type.
 *
 * Use it on the interface thread. If a suffix has an icon, it is queried once per process; suffixes that
 * differ in case are different.
 */
class VXCOMMON_EXPORT FileIconProvider : public QFileIconProvider
{
public:
    FileIconProvider();
    ~FileIconProvider() override;

    using QFileIconProvider::icon;
    /// Returns the icon for files with the suffix of `info`; the generic one if the system has none for them.
    QIcon icon(const QFileInfo& info) const override;

private:
    Q_DISABLE_COPY(FileIconProvider)

    static QMap<QString, QIcon> iconCache_;
};

} // namespace tools
