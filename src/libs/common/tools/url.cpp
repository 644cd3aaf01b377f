#include <common/tools/url.h>

#include "urlscanner.h"

#include <QUrl>

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <string_view>
#include <unordered_set>

namespace tools::url
{

namespace
{

constexpr std::string_view topLevelDomains =
    "ac ad ae af ag ai al am an ao aq ar as at au aw ax az ba bb bd be bf bg bh bi bj bm bn bo "
    "br bs bt bv bw by bz ca cc cd cf cg ch ci ck cl cm cn co cr cu cv cx cy cz de dj dk dm do "
    "dz ec ee eg eh er es et eu fi fj fk fm fo fr ga gd ge gf gg gh gi gl gm gn gp gq gr gs gt "
    "gu gw gy hk hm hn hr ht hu id ie il im in io iq ir is it je jm jo jp ke kg kh ki km kn kp "
    "kr kw ky kz la lb lc li lk lr ls lt lu lv ly ma mc md me mg mh mk ml mm mn mo mp mq mr ms "
    "mt mu mv mw mx my mz na nc ne nf ng ni nl no np nr nu nz om pa pe pf pg ph pk pl pm pn pr "
    "ps pt pw py qa re ro ru rs rw sa sb sc sd se sg sh si sj sk sl sm sn so sr ss st su sv sx "
    "sy sz tc td tf th tj tk tl tm tn to tp tr tt tv tw tz ua ug uk um us uy uz va vc ve vg vi "
    "vn vu wf ws ye yt yu za zm zw arpa aero asia biz cat com coop edu gov info int jobs local "
    "mil mobi museum name net org post pro tel travel xxx xn--lgbbat1ad8j xn--54b7fta0cc "
    "xn--fiqs8s xn--fiqz9s xn--wgbh1c xn--node xn--j6w193g xn--h2brj9c xn--mgbbh1a71e "
    "xn--fpcrj9c3d xn--gecrj9c xn--s9brj9c xn--xkc2dl3a5ee0h xn--45brj9c xn--mgba3a4f16a "
    "xn--mgbayh7gpa xn--80ao21a xn--mgbx4cd0ab xn--l1acc xn--mgbc0a9azcg xn--mgb9awbf "
    "xn--mgbai9azgqp6j xn--ygbi2ammx xn--wgbl6a xn--p1ai xn--mgberp4a5d4ar xn--90a3ac "
    "xn--yfro4i67o xn--clchc0ea0b2g2a9gcd xn--3e0b707e xn--fzc2c9e2c xn--xkc2al3hye2a "
    "xn--mgbtf8fl xn--kprw13d xn--kpry57d xn--o3cw4h xn--pgbs0dh xn--j1amh xn--mgbaam7a8h "
    "xn--mgb2ddes xn--ogbpf8fl xn--80adxhks xn--80aqecdr1a xn--80asehdb xn--80aswg xn--90ae "
    "xn--90ais xn--c1avg xn--d1acj3b xn--d1alf xn--e1a4c xn--j1aef xn--p1acf";

/// Length of the longest domain name (RFC 1035).
constexpr qsizetype maxDomainLength = 255;

/// Length limit for parsing a host that is not plain ASCII. Qt takes quadratic time for such a host,
/// sometimes minutes.
constexpr qsizetype maxParsedHostLength = 2 * maxDomainLength;

bool IsAscii(QStringView text)
{
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c < u'\x80'; });
}

/// A set of words, given as a text with single spaces between them. A search takes constant time.
class WordTable
{
public:
    explicit WordTable(std::string_view text)
    {
        while (!text.empty()) {
            const std::string_view word = text.substr(0, text.find(' '));
            words.insert(word);
            text.remove_prefix(std::min(word.size() + 1, text.size()));
        }
    }

    /// Ignores the case of ASCII letters; the words contain no other letters.
    bool Contains(QStringView word) const
    {
        std::array<char, 32> key; // Longer than the longest word.
        if (word.size() > static_cast<qsizetype>(key.size()) || !IsAscii(word)) {
            return false;
        }
        std::transform(word.begin(), word.end(), key.begin(), [](QChar c) {
            return static_cast<char>(c >= u'A' && c <= u'Z' ? c.unicode() + ('a' - 'A') : c.unicode());
        });
        return words.count({key.data(), static_cast<std::size_t>(word.size())}) > 0;
    }

private:
    std::unordered_set<std::string_view> words;
};

/// Returns whether a word is a top-level domain. The word must contain neither dots nor white space.
bool IsKnownDomain(QStringView word)
{
    static const WordTable table(topLevelDomains);
    return table.Contains(word) ||
           (!IsAscii(word) && word.size() <= maxDomainLength &&
            table.Contains(QString::fromLatin1(QUrl::toAce(word.toString().toLower()))));
}

/// Returns the part of a host after its last dot, or nothing if it has no dot.
QStringView TopLevelPart(QStringView host)
{
    if (host.endsWith(u'.')) {
        host.chop(1);
    }
    const qsizetype dot = host.lastIndexOf(u'.');
    return dot < 0 ? QStringView() : host.mid(dot + 1);
}

/// Returns the host and port of an address that contains "://", by the rules of QUrl.
QStringView HostAndPort(QStringView address)
{
    const QStringView rest = address.mid(address.indexOf(u':') + 3);
    const auto end =
        std::find_if(rest.begin(), rest.end(), [](QChar c) { return c == u'/' || c == u'?' || c == u'#'; });
    const QStringView authority = rest.left(end - rest.begin());
    return authority.mid(authority.indexOf(u'@') + 1);
}

/// Returns whether a web address with this host is a link. An international top-level domain must be known;
/// an ASCII one need not be, so that private and new domains work. A host that QUrl rejects is accepted.
bool IsWebHost(QStringView hostAndPort)
{
    const bool isPlain = IsAscii(hostAndPort) && !hostAndPort.contains(u'%');
    if (isPlain ? !hostAndPort.contains(u"--") : hostAndPort.size() > maxParsedHostLength) {
        return true;
    }
    // Add an empty user name, so that another "@" stays in the host, where it is invalid.
    const QUrl url(QLatin1String("http://@") + hostAndPort.toString(), QUrl::TolerantMode);
    const QString host = url.host(QUrl::FullyDecoded);
    const QStringView domain = TopLevelPart(host);
    const bool isInternational =
        domain.startsWith(QLatin1String("xn--"), Qt::CaseInsensitive) || !IsAscii(domain);
    return !isInternational || IsKnownDomain(domain);
}

constexpr std::u16string_view trailingMarks = u".,!?:;\"'";
constexpr std::u16string_view brackets = u"()[]{}"; // Each closing bracket follows its opening bracket.

/// Returns the number of opening minus closing brackets of each kind.
std::array<qsizetype, 3> BracketBalances(QStringView text)
{
    std::array<qsizetype, 3> balances{};
    for (const QChar unit : text) {
        const std::size_t bracket = brackets.find(unit.unicode());
        if (bracket != brackets.npos) {
            balances[bracket / 2] += bracket % 2 == 0 ? 1 : -1;
        }
    }
    return balances;
}

/// Returns a match without the punctuation and closing brackets at its end that belong to the sentence around
/// it. A closing bracket belongs to the match if its opening bracket does.
QStringView Trimmed(QStringView match)
{
    std::optional<std::array<qsizetype, 3>> balances;
    for (; !match.isEmpty(); match.chop(1)) {
        const char16_t last = match.back().unicode();
        if (trailingMarks.find(last) != trailingMarks.npos) {
            continue;
        }
        const std::size_t bracket = brackets.find(last);
        if (bracket == brackets.npos || bracket % 2 == 0) {
            break;
        }
        if (!balances) {
            balances = BracketBalances(match);
        }
        if ((*balances)[bracket / 2] >= 0) {
            break;
        }
        ++(*balances)[bracket / 2];
    }
    return match;
}

} // namespace

QList<UrlRange> FindUrlRanges(const QString& text)
{
    static const WordTable webSchemes("ftp http https");
    static const WordTable otherSchemes("callto mailto sip sips tel");
    QList<UrlRange> ranges;
    UrlScanner scanner(text);
    UrlCandidate candidate{};
    while (scanner.Next(candidate)) {
        const QStringView link = Trimmed(QStringView(text).mid(candidate.start, candidate.length));
        bool isLink = false;
        if (candidate.scheme.isEmpty()) {
            isLink = IsKnownDomain(TopLevelPart(candidate.host));
        } else if (candidate.hasAuthority) {
            isLink = webSchemes.Contains(candidate.scheme) && IsWebHost(HostAndPort(link));
        } else {
            isLink = otherSchemes.Contains(candidate.scheme); // Any text may follow the scheme.
        }
        if (isLink) {
            ranges.append({static_cast<int>(candidate.start), static_cast<int>(link.size())});
        }
    }
    return ranges;
}

bool IsValidTopLevelDomain(const QString& domain)
{
    QStringView word = QStringView(domain).trimmed();
    if (word.startsWith(u'.')) {
        word = word.mid(1);
    }
    if (word.endsWith(u'.')) {
        word.chop(1);
    }
    return IsKnownDomain(word);
}

} // namespace tools::url
