#pragma once

#include <common/vxcommon_export.h>

#include <QFileIconProvider>
#include <QIcon>
#include <QMap>
#include <QString>

namespace tools
{

/**
 * Provides the system's icons for file types. The file need not exist: the provider queries the icon of an
 * empty temporary file of the same type.
 *
 * Use it on the GUI thread. Icons are cached by suffix (case-sensitive) until the process ends.
 */
class VXCOMMON_EXPORT FileIconProvider : public QFileIconProvider
{
public:
    FileIconProvider();
    ~FileIconProvider() override;

    using QFileIconProvider::icon;
    /// Returns the icon for the suffix of `info`, or the generic file icon if the system has none.
    QIcon icon(const QFileInfo& info) const override;

private:
    Q_DISABLE_COPY(FileIconProvider)

    static QMap<QString, QIcon> iconCache_;
};

} // namespace tools
