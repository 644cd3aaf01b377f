#pragma once

#include <common/vxcommon_export.h>

#include <QIcon>
#include <QList>
#include <QString>

namespace tools::svg
{

/**
 * Creates icons from SVG files, rendered for each of the sizes 16, 24, 32, 48, 64 and 128, so that all are
 * sharp.
 *
 * Use it on the interface thread. A file that is missing or not an SVG gives transparent pixmaps.
 */
class VXCOMMON_EXPORT SvgIcon
{
public:
    SvgIcon() = delete;

    /// Creates the icon of one file. The path may name a resource.
    static QIcon CreateFromSvg(const QString& path);

    /**
     * Creates the frames of a fade from one SVG into another: `second` becomes opaque over `first`.
     *
     * @param steps Number of icons; none if 0 or less. The last shows `second` at full opacity.
     */
    static QList<QIcon> CreateFromTwoSvgWithOverlay(const QString& first, const QString& second, int steps);
};

} // namespace tools::svg
