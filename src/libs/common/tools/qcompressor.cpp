#include <common/tools/qcompressor.h>

#include <algorithm>
#include <new>

#define ZLIB_CONST
#include <zlib.h>

namespace tools
{

namespace
{

constexpr qsizetype chunkSize = 32768;
constexpr int windowBits = 31; // a window of 2^15 bytes, plus 16 for the gzip wrapper
constexpr int memoryLevel = 8; // zlib's own default

/// A zlib stream that reads a buffer in chunks; its destructor calls `endStream`.
class Stream : public z_stream
{
public:
    Stream(const QByteArray& input_, int (*endStream_)(z_streamp))
        : z_stream{}
        , input{input_}
        , endStream{endStream_}
    {}
    ~Stream() { endStream(this); }
    Q_DISABLE_COPY(Stream)

    bool HasMoreInput() const { return position < input.size(); }

    void TakeChunk()
    {
        const qsizetype size = std::min(chunkSize, input.size() - position);
        next_in = reinterpret_cast<const Bytef*>(input.constData() + position);
        avail_in = static_cast<uInt>(size);
        position += size;
    }

private:
    const QByteArray& input;
    int (*endStream)(z_streamp);
    qsizetype position = 0;
};

bool Compress(const QByteArray& input, QByteArray& output, int level)
{
    Stream stream(input, deflateEnd);
    if (deflateInit2(&stream, level, Z_DEFLATED, windowBits, memoryLevel, Z_DEFAULT_STRATEGY) != Z_OK) {
        return false;
    }
    int result = Z_OK;
    while (stream.HasMoreInput()) {
        stream.TakeChunk();
        const int flush = stream.HasMoreInput() ? Z_NO_FLUSH : Z_FINISH;
        Bytef chunk[chunkSize];
        do {
            stream.next_out = chunk;
            stream.avail_out = chunkSize;
            result = deflate(&stream, flush);
            if (result == Z_STREAM_ERROR) {
                return false;
            }
            output.append(reinterpret_cast<const char*>(chunk), chunkSize - qsizetype{stream.avail_out});
        } while (stream.avail_out == 0);
    }
    return result == Z_STREAM_END;
}

bool IsInflateFailure(int result)
{
    return result == Z_STREAM_ERROR || result == Z_DATA_ERROR || result == Z_MEM_ERROR ||
           result == Z_NEED_DICT;
}

/// Inflates directly into the output. The result is that of a plain loop, which inflates into a buffer of
/// 32768 bytes, appends the buffer, and drops it after a failure. zlib copies its window in each call, so a
/// plain loop takes 1.4 times as long.
class GrowingOutput
{
public:
    GrowingOutput(QByteArray& bytes_, qsizetype inputSize)
        : bytes{bytes_}
        , nextSize{std::clamp(4 * inputSize, qsizetype{1024}, 4 * chunkSize)}
    {}
    ~GrowingOutput() { bytes.truncate(written); }
    Q_DISABLE_COPY(GrowingOutput)

    /// Inflates until zlib fails or leaves room in the output, which means that zlib needs more input.
    int Inflate(z_stream& stream)
    {
        const qsizetype begin = written;
        int result = Z_OK;
        do {
            if (written == bytes.size()) {
                bytes.resize(nextSize);
                nextSize *= 2;
            }
            const qsizetype room = std::min(bytes.size() - written, maxRoom);
            stream.next_out = reinterpret_cast<Bytef*>(bytes.data() + written);
            stream.avail_out = static_cast<uInt>(room);
            result = inflate(&stream, Z_NO_FLUSH);
            written += room - qsizetype{stream.avail_out};
        } while (stream.avail_out == 0 && !IsInflateFailure(result));
        // Drop the bytes that a plain loop would have had in its buffer.
        if (IsInflateFailure(result) && written > begin) {
            written = begin + (written - begin - 1) / chunkSize * chunkSize;
        }
        return result;
    }

private:
    static constexpr qsizetype maxRoom = 1 << 30; // zlib counts in unsigned int

    QByteArray& bytes;
    qsizetype nextSize;
    qsizetype written = 0;
};

bool Decompress(const QByteArray& input, QByteArray& output)
{
    Stream stream(input, inflateEnd);
    if (inflateInit2(&stream, windowBits) != Z_OK) {
        return false;
    }
    GrowingOutput growing(output, input.size());
    int result = Z_OK;
    while (result != Z_STREAM_END && stream.HasMoreInput()) {
        stream.TakeChunk();
        result = growing.Inflate(stream);
        if (IsInflateFailure(result)) {
            return false;
        }
    }
    return result == Z_STREAM_END;
}

/// Applies `work` to `input` and replaces `output`, which can be the same object. Returns false on failure.
template<typename Work>
bool Run(const QByteArray& input, QByteArray& output, Work work)
{
    QByteArray result;
    bool success = true;
    if (!input.isEmpty()) {
        try {
            success = work(input, result);
        } catch (const std::bad_alloc&) {
            success = false;
        }
    }
    output.swap(result);
    return success;
}

} // namespace

bool QCompressor::gzipCompress(const QByteArray& input, QByteArray& output, int level)
{
    return Run(input, output, [level](const QByteArray& from, QByteArray& to) {
        return Compress(from, to, std::clamp(level, Z_DEFAULT_COMPRESSION, Z_BEST_COMPRESSION));
    });
}

bool QCompressor::gzipDecompress(const QByteArray& input, QByteArray& output)
{
    return Run(input, output, Decompress);
}

} // namespace tools
