/// Measures the time per address, for single addresses and long lists, and the time of each pattern on long
/// strings.

#include <common/sip/password.h>
#include <common/sip/sipid.h>

#include <QFile>
#include <QStringList>

#include <benchmark/benchmark.h>

namespace bench
{

namespace
{

using tools::sip::Password;
using tools::sip::SipId;

/// Returns `count` addresses: the demo's address book, repeated.
QStringList Addresses(qsizetype count)
{
    QFile file(QStringLiteral(ADDRESS_BOOK));
    QStringList book;
    if (file.open(QIODevice::ReadOnly)) {
        book = QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
    }
    QStringList addresses;
    addresses.reserve(count);
    for (qsizetype i = 0; i < count && !book.isEmpty(); ++i) {
        addresses += book.at(i % book.size());
    }
    return addresses;
}

void Check(benchmark::State& state)
{
    const QStringList addresses = Addresses(state.range(0));
    for (auto _ : state) {
        for (const QString& address : addresses) {
            benchmark::DoNotOptimize(SipId::Check(address));
        }
    }
    state.SetItemsProcessed(state.iterations() * addresses.size());
}
BENCHMARK(Check)->Name("check of an address list/vxcommon")->RangeMultiplier(10)->Range(100, 100'000);

void Parse(benchmark::State& state)
{
    const QStringList addresses = Addresses(state.range(0));
    QString user, domain, name, extension, port;
    for (auto _ : state) {
        for (const QString& address : addresses) {
            benchmark::DoNotOptimize(SipId::ParseURIEx(address, user, domain, name, extension, port));
        }
    }
    state.SetItemsProcessed(state.iterations() * addresses.size());
}
BENCHMARK(Parse)->Name("parsing of an address list/vxcommon")->RangeMultiplier(10)->Range(100, 100'000);

template<QRegExp (*get)()>
bool Matches(const QString& text)
{
    return get().exactMatch(text);
}

bool HasNoError(const QString& text)
{
    return SipId::Check(text) == SipId::NoError;
}

struct Pattern
{
    const char* name;
    bool (*match)(const QString& text);
};

constexpr Pattern patterns[] = {
    {"AllSymbolRegExp", Matches<SipId::AllSymbolRegExp>},
    {"SymbolRegExp", Matches<SipId::SymbolRegExp>},
    {"FormatRegExp", Matches<SipId::FormatRegExp>},
    {"QuollSipIDRegExp", Matches<SipId::QuollSipIDRegExp>},
    {"URIRegExp", Matches<SipId::URIRegExp>},
    {"IDRegExp", Matches<SipId::IDRegExp>},
    {"IDWithoutPortRegExp", Matches<SipId::IDWithoutPortRegExp>},
    {"SkypeURIRegExp", Matches<SipId::SkypeURIRegExp>},
    {"SkypeIDRegExp", Matches<SipId::SkypeIDRegExp>},
    {"PhoneNumberRegExp", Matches<SipId::PhoneNumberRegExp>},
    {"SIPUserRegExp", Matches<SipId::SIPUserRegExp>},
    {"NumericNumberRegExp", Matches<SipId::NumericNumberRegExp>},
    {"NumericSipRegExp", Matches<SipId::NumericSipRegExp>},
    {"PasswordSymbolRegExp", Matches<Password::PasswordSymbolRegExp>},
    {"Password::IsGood", Password::IsGood},
    {"SipId::Check", HasNoError},
};

/// Pieces that are repeated to form hostile strings: single symbols, and parts of addresses that a pattern
/// can match in several ways.
constexpr const char16_t* hostilePieces[] = {u"a",    u"1",        u".",        u"a.",
                                             u"a@",   u",1",       u"- ",       u"a1-_",
                                             u"@a.b", u"a@b.cc:1", u"\"\\\" <", u"\xd83d\xde00"};

QStringList HostileTexts(qsizetype length)
{
    QStringList texts;
    for (const char16_t* piece : hostilePieces) {
        const QString unit = QString::fromUtf16(piece);
        const QString body = unit.repeated(length / unit.size() + 1).left(length);
        texts += body;
        texts += QStringLiteral("\"a\" <sip:") + body;
        texts += QStringLiteral("a@quollsip.") + body;
        texts += QStringLiteral("skype:") + body + u'!';
        texts += QStringLiteral("1,") + body;
        texts += QStringLiteral("a@b.cc,") + body;
        texts += QStringLiteral("\"a\" ") + body + u'<';
    }
    return texts;
}

void MatchHostile(benchmark::State& state, const Pattern& pattern)
{
    const QStringList texts = HostileTexts(state.range(0));
    for (auto _ : state) {
        for (const QString& text : texts) {
            benchmark::DoNotOptimize(pattern.match(text));
        }
    }
}

void RegisterPatterns()
{
    for (const Pattern& pattern : patterns) {
        const std::string name = std::string("pattern on hostile texts/") + pattern.name;
        benchmark::RegisterBenchmark(name.c_str(), MatchHostile, pattern)
            ->Unit(benchmark::kMillisecond)
            ->RangeMultiplier(10)
            ->Range(10, 100'000);
    }
}

} // namespace

} // namespace bench

int main(int argc, char* argv[])
{
    bench::RegisterPatterns();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
