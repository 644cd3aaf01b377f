#pragma once

#include <common/vxcommon_export.h>

#include <QIcon>
#include <QList>
#include <QString>

namespace tools::svg
{

/**
 * Icons from SVG files, drawn afresh for each of the sizes 16, 24, 32, 48, 64 and 128, so that all are sharp.
 *
 * For the interface thread. A file that is missing or no SVG gives transparent pixmaps.
 */
class VXCOMMON_EXPORT SvgIcon
{
public:
    SvgIcon() = delete;

    /// The icon of one file, a path or a resource.
    static QIcon CreateFromSvg(const QString& path);

    /**
     * The frames of a fade from one SVG into another: `second` grows opaque over `first`.
     *
     * @param steps how many icons; none if 0 or less. The last shows `second` at full opacity.
     */
    static QList<QIcon> CreateFromTwoSvgWithOverlay(const QString& first, const QString& second, int steps);
};

} // namespace tools::svg
