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

/// A zlib stream that reads a buffer in chunks, writes to another one, and ends itself with `endStream`.
class Stream
{
public:
    Stream(const QByteArray& input_, QByteArray& output_, int (*endStream_)(z_streamp))
        : input{input_}
        , output{output_}
        , endStream{endStream_}
    {}
    ~Stream() { endStream(&stream); }
    Q_DISABLE_COPY_MOVE(Stream)

    z_stream* Get() { return &stream; }
    bool HasMoreInput() const { return position < input.size(); }

    void TakeChunk()
    {
        const qsizetype size = std::min(chunkSize, input.size() - position);
        stream.next_in = reinterpret_cast<const Bytef*>(input.constData() + position);
        stream.avail_in = static_cast<uInt>(size);
        position += size;
    }

    /// Runs `step` (deflate or inflate) until it leaves room in the output chunk, that is, until it wants
    /// more input, or until it returns a result that `isFailure`. What a failed step made is dropped.
    template<typename IsFailure>
    int Drain(int (*step)(z_streamp, int), int flush, IsFailure isFailure)
    {
        Bytef chunk[chunkSize];
        int result = Z_OK;
        do {
            stream.next_out = chunk;
            stream.avail_out = chunkSize;
            result = step(&stream, flush);
            if (isFailure(result)) {
                break;
            }
            // Grows geometrically, so that each byte is moved a constant number of times.
            output.append(reinterpret_cast<const char*>(chunk), chunkSize - qsizetype{stream.avail_out});
        } while (stream.avail_out == 0);
        return result;
    }

private:
    z_stream stream{};
    const QByteArray& input;
    QByteArray& output;
    int (*endStream)(z_streamp);
    qsizetype position = 0;
};

bool IsDeflateFailure(int result)
{
    return result == Z_STREAM_ERROR;
}

bool IsInflateFailure(int result)
{
    return result == Z_STREAM_ERROR || result == Z_DATA_ERROR || result == Z_MEM_ERROR ||
           result == Z_NEED_DICT;
}

bool Compress(const QByteArray& input, QByteArray& output, int level)
{
    Stream stream(input, output, deflateEnd);
    if (deflateInit2(stream.Get(), level, Z_DEFLATED, windowBits, memoryLevel, Z_DEFAULT_STRATEGY) != Z_OK) {
        return false;
    }
    int result = Z_OK;
    while (stream.HasMoreInput()) {
        stream.TakeChunk();
        result = stream.Drain(deflate, stream.HasMoreInput() ? Z_NO_FLUSH : Z_FINISH, IsDeflateFailure);
        if (IsDeflateFailure(result)) {
            return false;
        }
    }
    return result == Z_STREAM_END;
}

bool Decompress(const QByteArray& input, QByteArray& output)
{
    Stream stream(input, output, inflateEnd);
    if (inflateInit2(stream.Get(), windowBits) != Z_OK) {
        return false;
    }
    int result = Z_OK;
    while (result != Z_STREAM_END && stream.HasMoreInput()) {
        stream.TakeChunk();
        result = stream.Drain(inflate, Z_NO_FLUSH, IsInflateFailure);
        if (IsInflateFailure(result)) {
            return false;
        }
    }
    return result == Z_STREAM_END;
}

/// Runs `work` from `input` to `output`, which may be one object; memory that runs out is a failure like any
/// other.
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
