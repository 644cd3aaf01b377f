/// Measures how long an input field takes to clean 10,000 pasted characters.

#include <common/sip/sipid.h>
#include <common/tools/insertionfixupvalidator.h>

#include <benchmark/benchmark.h>

#include <QRegExp>
#include <QString>

#include <string>

namespace bench
{

namespace
{

using tools::sip::SipId;

void Fixup(benchmark::State& state, const QRegExp& pattern, const QString& text)
{
    const tools::CInsertionFixupValidator validator(pattern);
    for (auto _ : state) {
        QString input = text;
        validator.fixup(input);
        benchmark::DoNotOptimize(input);
    }
}

void Register(const char* topic, const QRegExp& pattern, const QString& text)
{
    benchmark::RegisterBenchmark((std::string(topic) + "/vxcommon").c_str(), Fixup, pattern, text)
        ->Unit(benchmark::kMillisecond);
}

} // namespace

} // namespace bench

int main(int argc, char** argv)
{
    using bench::SipId;
    bench::Register("pasting prose into an address field", SipId::AllSymbolRegExp(),
                    QStringLiteral("Call me at work. ").repeated(589).left(10000));
    bench::Register("pasting letters between all digits", SipId::PhoneNumberRegExp(),
                    QStringLiteral("1x").repeated(5000));
    bench::Register("pasting beyond the length limit", SipId::SymbolRegExp(),
                    QStringLiteral("abcdefghij").repeated(1000));
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
