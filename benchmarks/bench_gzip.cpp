/// Compares gzip compression and decompression of whole buffers with libdeflate and with single zlib calls
/// that use the same settings.

#include <common/tools/qcompressor.h>

#include <QFile>
#include <QRandomGenerator>

#include <benchmark/benchmark.h>
#include <libdeflate.h>
#include <zlib.h>

#include <vector>

namespace bench
{

namespace
{

constexpr qsizetype inputSize = 64'000'000;
constexpr int level = 6;
constexpr int windowBits = 31;
constexpr int memoryLevel = 8;

/// Returns the words of examples/data/chat.txt in random order. They compress about as well as a log or a
/// JSON response.
const QByteArray& Input()
{
    static const QByteArray input = [] {
        QFile file(QStringLiteral(CHAT));
        QByteArray text;
        if (file.open(QIODevice::ReadOnly)) {
            const QByteArrayList words = file.readAll().split(' ');
            QRandomGenerator random(1);
            text.reserve(inputSize + 1000);
            while (text.size() < inputSize) {
                text += words.at(random.bounded(static_cast<int>(words.size()))) + ' ';
            }
        }
        text.truncate(inputSize);
        return text;
    }();
    return input;
}

const QByteArray& Packed()
{
    static const QByteArray packed = [] {
        QByteArray output;
        tools::QCompressor::gzipCompress(Input(), output, level);
        return output;
    }();
    return packed;
}

Bytef* Bytes(const QByteArray& bytes)
{
    return reinterpret_cast<Bytef*>(const_cast<char*>(bytes.constData()));
}

/// Measures `step`, which returns whether it has succeeded. Creates the input and its compressed form outside
/// the measurement.
template<class Step>
void Measure(benchmark::State& state, const Step& step)
{
    Packed();
    for (auto _ : state) {
        if (!step()) {
            state.SkipWithError("packing or unpacking failed");
        }
    }
    state.SetBytesProcessed(state.iterations() * Input().size());
}

void Compress(benchmark::State& state)
{
    Measure(state, [] {
        QByteArray output;
        return tools::QCompressor::gzipCompress(Input(), output, level);
    });
}
BENCHMARK(Compress)->Name("gzip of 64 MB/vxcommon")->Unit(benchmark::kMillisecond);

void CompressZlib(benchmark::State& state)
{
    Measure(state, [] {
        z_stream stream{};
        deflateInit2(&stream, level, Z_DEFLATED, windowBits, memoryLevel, Z_DEFAULT_STRATEGY);
        std::vector<Bytef> output(deflateBound(&stream, static_cast<uLong>(Input().size())));
        stream.next_in = Bytes(Input());
        stream.avail_in = static_cast<uInt>(Input().size());
        stream.next_out = output.data();
        stream.avail_out = static_cast<uInt>(output.size());
        const bool isWhole = deflate(&stream, Z_FINISH) == Z_STREAM_END;
        deflateEnd(&stream);
        return isWhole;
    });
}
BENCHMARK(CompressZlib)->Name("gzip of 64 MB/zlib")->Unit(benchmark::kMillisecond);

void CompressLibdeflate(benchmark::State& state)
{
    Measure(state, [] {
        libdeflate_compressor* compressor = libdeflate_alloc_compressor(level);
        const auto size = static_cast<std::size_t>(Input().size());
        std::vector<char> output(libdeflate_gzip_compress_bound(compressor, size));
        const std::size_t packedSize =
            libdeflate_gzip_compress(compressor, Input().constData(), size, output.data(), output.size());
        libdeflate_free_compressor(compressor);
        return packedSize > 0;
    });
}
BENCHMARK(CompressLibdeflate)->Name("gzip of 64 MB/libdeflate")->Unit(benchmark::kMillisecond);

void Decompress(benchmark::State& state)
{
    Measure(state, [] {
        QByteArray output;
        return tools::QCompressor::gzipDecompress(Packed(), output);
    });
}
BENCHMARK(Decompress)->Name("gunzip of 64 MB/vxcommon")->Unit(benchmark::kMillisecond);

void DecompressZlib(benchmark::State& state)
{
    Measure(state, [] {
        z_stream stream{};
        inflateInit2(&stream, windowBits);
        // Here, the output size is known in advance; in the library, it is not.
        QByteArray output(Input().size(), Qt::Uninitialized);
        stream.next_in = Bytes(Packed());
        stream.avail_in = static_cast<uInt>(Packed().size());
        stream.next_out = Bytes(output);
        stream.avail_out = static_cast<uInt>(output.size());
        const bool isWhole = inflate(&stream, Z_FINISH) == Z_STREAM_END;
        inflateEnd(&stream);
        return isWhole;
    });
}
BENCHMARK(DecompressZlib)->Name("gunzip of 64 MB/zlib")->Unit(benchmark::kMillisecond);

void DecompressLibdeflate(benchmark::State& state)
{
    Measure(state, [] {
        libdeflate_decompressor* decompressor = libdeflate_alloc_decompressor();
        QByteArray output(Input().size(), Qt::Uninitialized);
        const libdeflate_result result = libdeflate_gzip_decompress(
            decompressor, Packed().constData(), static_cast<std::size_t>(Packed().size()), output.data(),
            static_cast<std::size_t>(output.size()), nullptr);
        libdeflate_free_decompressor(decompressor);
        return result == LIBDEFLATE_SUCCESS;
    });
}
BENCHMARK(DecompressLibdeflate)->Name("gunzip of 64 MB/libdeflate")->Unit(benchmark::kMillisecond);

/// Measures the decompression of input to a far larger output. The time must grow linearly with
/// the output size.
void DecompressZeros(benchmark::State& state)
{
    QByteArray packed;
    tools::QCompressor::gzipCompress(QByteArray(state.range(0), '\0'), packed, 9);
    for (auto _ : state) {
        QByteArray output;
        if (!tools::QCompressor::gzipDecompress(packed, output)) {
            state.SkipWithError("unpacking failed");
        }
        benchmark::DoNotOptimize(output.constData());
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(DecompressZeros)
    ->Name("gunzip of zeros/vxcommon")
    ->Arg(1 << 20)
    ->Arg(1 << 25)
    ->Arg(1 << 30)
    ->Unit(benchmark::kMillisecond);

} // namespace

} // namespace bench

BENCHMARK_MAIN();
