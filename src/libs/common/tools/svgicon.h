#pragma once

#include <common/vxcommon_export.h>

#include <QIcon>
#include <QList>
#include <QString>

namespace tools::svg
{

/**
 * Creates icons from SVG files. Renders the sizes 16, 24, 32, 48, 64 and 128 separately, so that all are
 * sharp.
 *
 * Use it on the GUI thread. A file that is missing or not an SVG file gives transparent pixmaps.
 */
class VXCOMMON_EXPORT SvgIcon
{
public:
    SvgIcon() = delete;

    /// Creates an icon from one file. `path` can be a resource path.
    static QIcon CreateFromSvg(const QString& path);

    /**
     * Creates the frames of a fade: draws `second` over `first` with increasing opacity.
     *
     * @param steps Number of icons; none if 0 or less. The last icon shows `second` at full opacity.
     */
    static QList<QIcon> CreateFromTwoSvgWithOverlay(const QString& first, const QString& second, int steps);
};

} // namespace tools::svg
