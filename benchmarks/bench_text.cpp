/// Compares the text tools (links, splitting, MD5 and AES) with other libraries for the same tasks or parts
/// of them.

#include <common/tools/aes.h>
#include <common/tools/stringconverter.h>
#include <common/tools/stringsplitter.h>
#include <common/tools/url.h>

#include "../tests/tools/urloracle.h"

#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryFile>

#include <benchmark/benchmark.h>
#include <openssl/evp.h>

namespace bench
{

namespace
{

constexpr qsizetype megabyte = 1'000'000;
constexpr qsizetype large = 64 * megabyte;

/// Returns the example's chat, repeated up to `size` bytes of UTF-8.
QByteArray Chat(qsizetype size)
{
    QFile file(QStringLiteral(CHAT));
    const QByteArray chat = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    return chat.isEmpty() ? chat : chat.repeated(size / chat.size() + 1);
}

QByteArray Noise(qsizetype size)
{
    QRandomGenerator random(1);
    QByteArray bytes(size, Qt::Uninitialized);
    random.fillRange(reinterpret_cast<quint32*>(bytes.data()), bytes.size() / qsizetype{sizeof(quint32)});
    return bytes;
}

void SetBytes(benchmark::State& state, qsizetype size)
{
    state.SetBytesProcessed(state.iterations() * size);
}

void Links(benchmark::State& state)
{
    const QByteArray bytes = Chat(megabyte);
    const QString text = QString::fromUtf8(bytes);
    for (auto _ : state) {
        benchmark::DoNotOptimize(tools::url::FindUrlRanges(text));
    }
    SetBytes(state, bytes.size());
}
BENCHMARK(Links)->Name("links in 1 MB of chat/vxcommon");

/// Measures only the regular expression that finds candidates for links.
void Pattern(benchmark::State& state)
{
    const QByteArray bytes = Chat(megabyte);
    const QString text = QString::fromUtf8(bytes);
    for (auto _ : state) {
        auto matches = urloracle::Pattern().globalMatch(text);
        while (matches.hasNext()) {
            benchmark::DoNotOptimize(matches.next());
        }
    }
    SetBytes(state, bytes.size());
}
BENCHMARK(Pattern)->Name("links in 1 MB of chat/globalMatch alone");

#ifdef LINKIFY_MODULES
void Linkify(benchmark::State& state)
{
    const QByteArray bytes = Chat(megabyte);
    QTemporaryFile file;
    if (!file.open() || file.write(bytes) != bytes.size() || !file.flush()) {
        state.SkipWithError("the text could not be written");
        return;
    }
    qputenv("NODE_PATH", LINKIFY_MODULES);
    for (auto _ : state) {
        QProcess node;
        node.start(QStringLiteral("node"), {QStringLiteral(LINKIFY_SCRIPT), file.fileName()});
        const bool isFinished = node.waitForFinished(-1) && node.exitCode() == 0;
        const double seconds = node.readAllStandardOutput().trimmed().toDouble();
        if (!isFinished || seconds <= 0) {
            state.SkipWithError("linkify-it could not be run");
            return;
        }
        state.SetIterationTime(seconds);
    }
    SetBytes(state, bytes.size());
}
BENCHMARK(Linkify)->Name("links in 1 MB of chat/linkify-it under node")->UseManualTime();
#endif

/// Returns strings of about `size` UTF-16 units that are designed to make the search slow.
QStringList HostileTexts(qsizetype size)
{
    QStringList units{QString::fromUtf16(u"\xd83d\xde00"),
                      QStringLiteral("a+").repeated(500) + QStringLiteral(".a ")};
    for (const char16_t* unit : {u"a", u"a.a.a.", u"(", u"http://", u"\u0301", u"a+", u"a-", u"1.", u"a@",
                                 u"http://a ", u"a.ru ", u"http://a/) "}) {
        units += QString::fromUtf16(unit);
    }
    QStringList texts{QStringLiteral("http://a/") + QString(size, u')'),
                      QStringLiteral("http://") + QStringLiteral("\u0301\u0316").repeated(size / 2)};
    for (const QString& unit : qAsConst(units)) {
        texts += unit.repeated(size / unit.size());
    }
    return texts;
}

/// Measures the search in all hostile strings, one after the other.
void HostileLinks(benchmark::State& state)
{
    const qsizetype size = state.range(0);
    const QStringList texts = HostileTexts(size);
    for (auto _ : state) {
        for (const QString& text : texts) {
            benchmark::DoNotOptimize(tools::url::FindUrlRanges(text));
        }
    }
    SetBytes(state, size * texts.size());
}
BENCHMARK(HostileLinks)
    ->Name("links in hostile texts/vxcommon")
    ->RangeMultiplier(10)
    ->Range(10'000, megabyte)
    ->Unit(benchmark::kMillisecond);

void LinksIn(benchmark::State& state, const QString& text)
{
    for (auto _ : state) {
        benchmark::DoNotOptimize(tools::url::FindUrlRanges(text));
    }
    SetBytes(state, text.size());
}

void SlowestLinks(benchmark::State& state)
{
    QString slowest;
    qint64 longest = 0;
    for (const QString& text : HostileTexts(megabyte)) {
        QElapsedTimer timer;
        timer.start();
        for (int i = 0; i < 5; ++i) {
            tools::url::FindUrlRanges(text);
        }
        if (timer.nsecsElapsed() > longest) {
            longest = timer.nsecsElapsed();
            slowest = text;
        }
    }
    LinksIn(state, slowest);
}
BENCHMARK(SlowestLinks)->Name("links in the slowest hostile text/vxcommon")->Unit(benchmark::kMillisecond);

void SchemePieces(benchmark::State& state)
{
    const QString unit = QStringLiteral("a+").repeated(500) + QStringLiteral(".a ");
    LinksIn(state, unit.repeated(megabyte / unit.size()));
}
BENCHMARK(SchemePieces)->Name("links in pieces of schemes/vxcommon")->Unit(benchmark::kMillisecond);

void InternationalLinks(benchmark::State& state)
{
    const QString unit = QStringLiteral("http://а.рф а.фр ");
    LinksIn(state, unit.repeated(megabyte / unit.size()));
}
BENCHMARK(InternationalLinks)->Name("links to international hosts/vxcommon")->Unit(benchmark::kMillisecond);

void Split(benchmark::State& state)
{
    const QByteArray bytes = Chat(state.range(0));
    const QString text = QString::fromUtf8(bytes);
    for (auto _ : state) {
        benchmark::DoNotOptimize(tools::string::splitter::Utf8(text, 1000));
    }
    SetBytes(state, bytes.size());
}
BENCHMARK(Split)->Name("split for UTF-8/vxcommon")->Arg(megabyte)->Arg(10 * megabyte);

/// Measures Qt's conversion to UTF-8 alone.
void Encode(benchmark::State& state)
{
    const QByteArray bytes = Chat(state.range(0));
    const QString text = QString::fromUtf8(bytes);
    for (auto _ : state) {
        benchmark::DoNotOptimize(text.toUtf8());
    }
    SetBytes(state, bytes.size());
}
BENCHMARK(Encode)->Name("split for UTF-8/toUtf8 once")->Arg(megabyte)->Arg(10 * megabyte);

void Md5(benchmark::State& state)
{
    const QByteArray bytes = Noise(large);
    for (auto _ : state) {
        benchmark::DoNotOptimize(tools::string::converter::ToMD5(bytes));
    }
    SetBytes(state, bytes.size());
}
BENCHMARK(Md5)->Name("MD5 of 64 MB/vxcommon")->Unit(benchmark::kMillisecond);

void Md5sum(benchmark::State& state)
{
    QTemporaryFile file;
    if (!file.open() || file.write(Noise(large)) != large || !file.flush()) {
        state.SkipWithError("the file could not be written");
        return;
    }
    for (auto _ : state) {
        if (QProcess::execute(
                QStringLiteral("sh"),
                {QStringLiteral("-c"), QStringLiteral("md5sum \"$0\" >/dev/null"), file.fileName()}) != 0) {
            state.SkipWithError("md5sum could not be run");
            return;
        }
    }
    SetBytes(state, large);
}
BENCHMARK(Md5sum)->Name("MD5 of 64 MB/md5sum")->Unit(benchmark::kMillisecond)->UseRealTime();

void Aes(benchmark::State& state)
{
    const QByteArray bytes = Noise(large);
    const QString key = QStringLiteral("0123456789abcdef0123456789abcdef");
    QByteArray output;
    for (auto _ : state) {
        benchmark::DoNotOptimize(tools::cipher::AES::encrypt(key, bytes, output));
    }
    SetBytes(state, bytes.size());
}
BENCHMARK(Aes)->Name("AES-256 of 64 MB/vxcommon")->Unit(benchmark::kMillisecond);

void AesEvp(benchmark::State& state)
{
    const QByteArray bytes = Noise(large);
    const auto data = [](const char* text) { return reinterpret_cast<const unsigned char*>(text); };
    QByteArray output(bytes.size(), Qt::Uninitialized);
    EVP_CIPHER_CTX* context = EVP_CIPHER_CTX_new();
    for (auto _ : state) {
        int size = 0;
        EVP_EncryptInit_ex(context, EVP_aes_256_cbc(), nullptr, data("0123456789abcdef0123456789abcdef"),
                           data("C4D17E09A2B6483F"));
        EVP_EncryptUpdate(context, reinterpret_cast<unsigned char*>(output.data()), &size,
                          data(bytes.constData()), static_cast<int>(bytes.size()));
        benchmark::DoNotOptimize(output.data());
    }
    EVP_CIPHER_CTX_free(context);
    SetBytes(state, bytes.size());
}
BENCHMARK(AesEvp)->Name("AES-256 of 64 MB/EVP interface")->Unit(benchmark::kMillisecond);

} // namespace

} // namespace bench

BENCHMARK_MAIN();
