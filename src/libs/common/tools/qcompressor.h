#pragma once

#include <common/vxcommon_export.h>

#include <QByteArray>

namespace tools
{

/**
 * gzip (RFC 1952) for whole buffers, through zlib. Any thread may call.
 *
 * `input` and `output` may be the same object. Neither function limits the size of its output: what memory
 * holds is the only bound, so do not unpack data from a source that may be hostile without a bound of your
 * own.
 */
class VXCOMMON_EXPORT QCompressor
{
public:
    QCompressor() = delete;

    /**
     * Packs `input` into one gzip member.
     *
     * @param output replaced; stays empty, without even a gzip header, if `input` is empty
     * @param level zlib's compression level, clamped to -1 (zlib's default) to 9 (smallest)
     * @return false if zlib fails, which leaves `output` incomplete
     */
    static bool gzipCompress(const QByteArray& input, QByteArray& output, int level);

    /**
     * Unpacks the first gzip member of `input`. What stands behind it, further members included, is ignored.
     *
     * @param output replaced; empty if `input` is empty, which counts as success
     * @return false if `input` is no gzip, is damaged or ends too early, or if memory runs out; `output` then
     * holds what was decoded before
     */
    static bool gzipDecompress(const QByteArray& input, QByteArray& output);
};

} // namespace tools
