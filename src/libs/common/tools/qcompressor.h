#pragma once

#include <common/vxcommon_export.h>

#include <QByteArray>

namespace tools
{

/**
 * Compresses and decompresses whole buffers with gzip (RFC 1952), through zlib. Thread-safe.
 *
 * `input` and `output` can be the same object.
 *
 * @warning Only memory limits the size of the output. One megabyte can decompress to a gigabyte, so
 * limit the size of data from an untrusted source before you decompress it.
 */
class VXCOMMON_EXPORT QCompressor
{
public:
    QCompressor() = delete;

    /**
     * Compresses `input` into one gzip member.
     *
     * @param output replaced; empty, without a gzip header, if `input` is empty
     * @param level compression level of zlib, clamped to the range -1 (zlib's default) to 9 (smallest output)
     * @return false if zlib fails; `output` is then incomplete
     */
    static bool gzipCompress(const QByteArray& input, QByteArray& output, int level);

    /**
     * Decompresses the first gzip member of `input`. Ignores all bytes after it, including other members.
     *
     * @param output replaced; empty if `input` is empty, which counts as success
     * @return false if `input` is not a gzip stream, is damaged or truncated, or if memory runs out; `output`
     * then holds the data decoded up to that point
     */
    static bool gzipDecompress(const QByteArray& input, QByteArray& output);
};

} // namespace tools
