#include <common/tools/url.h>

#include "urlcandidate.h"

#include <QByteArray>
#include <QUrl>

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string_view>
#include <unordered_set>

namespace tools::url
{

namespace
{

constexpr std::string_view webSchemes = "ftp http https";
constexpr std::string_view otherSchemes = "callto mailto sip sips tel";
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

/// No domain name is longer (RFC 1035). Qt takes quadratic time to bring some longer ones into normal form.
constexpr qsizetype maxDomainLength = 255;

/// A host name of the greatest length takes up to two units a character, and a user's name may stand before
/// it.
constexpr qsizetype maxUnicodeAuthorityLength = 2 * (maxDomainLength + 1);

/// The words of a text, separated by single blanks, for look-up in constant time.
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

    bool Contains(const QByteArray& word) const
    {
        const QByteArray key = word.toLower();
        return words.count(std::string_view(key.constData(), static_cast<std::size_t>(key.size()))) > 0;
    }

private:
    std::unordered_set<std::string_view> words;
};

bool IsWebScheme(QStringView scheme)
{
    static const WordTable table(webSchemes);
    return table.Contains(scheme.toLatin1());
}

bool IsOtherScheme(QStringView scheme)
{
    static const WordTable table(otherSchemes);
    return table.Contains(scheme.toLatin1());
}

bool HasOnly(QStringView text, bool (*predicate)(char16_t))
{
    return std::all_of(text.begin(), text.end(), [predicate](QChar c) { return predicate(c.unicode()); });
}

/// What stands behind the last dot of a host, in lower case; empty without a dot.
QString TopLevelPart(QStringView host)
{
    if (host.endsWith(u'.')) {
        host.chop(1);
    }
    const qsizetype dot = host.lastIndexOf(u'.');
    return dot < 0 ? QString() : host.mid(dot + 1).toString().toLower();
}

/// User, host and port of an address with "://".
QStringView Authority(QStringView address)
{
    const QStringView rest = address.mid(address.indexOf(QLatin1String("://")) + 3);
    const auto end =
        std::find_if(rest.begin(), rest.end(), [](QChar c) { return c == u'/' || c == u'?' || c == u'#'; });
    return rest.left(end - rest.begin());
}

/// Whether QUrl reads the host of `address` in linear time.
bool IsHostReadable(QStringView address)
{
    const QStringView authority = Authority(address);
    return authority.size() <= maxUnicodeAuthorityLength ||
           HasOnly(authority, [](char16_t unit) { return unit < 0x80 && unit != u'%'; });
}

/// An ASCII top-level domain need not be known, so that private and new ones work; an international one must
/// be.
bool IsWebLink(const QString& candidate, QStringView scheme)
{
    if (!IsWebScheme(scheme) || !IsHostReadable(candidate)) {
        return false;
    }
    const QString host = QUrl(candidate, QUrl::TolerantMode).host(QUrl::FullyDecoded);
    const QString domain = TopLevelPart(host);
    const bool isInternational = domain.startsWith(QLatin1String("xn--")) ||
                                 !HasOnly(domain, [](char16_t unit) { return unit < 0x80; });
    return !isInternational || IsValidTopLevelDomain(domain);
}

constexpr QStringView openers = u"([{";
constexpr QStringView closers = u")]}";

/// Openers minus closers of each kind of bracket.
struct BracketBalances
{
    qsizetype ofKind[3] = {};
};

BracketBalances CountBrackets(QStringView text)
{
    BracketBalances balances;
    for (const QChar unit : text) {
        if (const qsizetype opener = openers.indexOf(unit); opener >= 0) {
            ++balances.ofKind[opener];
        } else if (const qsizetype closer = closers.indexOf(unit); closer >= 0) {
            --balances.ofKind[closer];
        }
    }
    return balances;
}

/// The length of a match without what the sentence around it put at its end: punctuation, and closing
/// brackets that it did not open.
qsizetype TrimmedLength(QStringView match)
{
    constexpr QStringView trailingMarks = u".,!?:;\"'";
    std::optional<BracketBalances> balances;
    for (; !match.isEmpty(); match.chop(1)) {
        if (trailingMarks.contains(match.back())) {
            continue;
        }
        const qsizetype closer = closers.indexOf(match.back());
        if (closer < 0) {
            break;
        }
        if (!balances) {
            balances = CountBrackets(match);
        }
        if (balances->ofKind[closer] >= 0) {
            break;
        }
        ++balances->ofKind[closer];
    }
    return match.size();
}

} // namespace

QList<UrlRange> FindUrlRanges(const QString& text)
{
    QList<UrlRange> ranges;
    ForEachUrlCandidate(text, [&](const UrlCandidate& candidate) {
        const qsizetype length = TrimmedLength(QStringView(text).mid(candidate.start, candidate.length));
        if (length == 0) {
            return;
        }
        bool isLink = false;
        if (candidate.scheme.isEmpty()) {
            isLink = IsValidTopLevelDomain(TopLevelPart(candidate.host));
        } else if (candidate.hasAuthority) {
            isLink = IsWebLink(text.mid(candidate.start, length), candidate.scheme);
        } else {
            isLink = IsOtherScheme(candidate.scheme); // whatever stands behind it
        }
        if (isLink) {
            ranges.append({static_cast<int>(candidate.start), static_cast<int>(length)});
        }
    });
    return ranges;
}

bool IsValidTopLevelDomain(const QString& domain)
{
    QString name = domain.trimmed().toLower();
    if (name.startsWith(u'.')) {
        name.remove(0, 1);
    }
    if (name.endsWith(u'.')) {
        name.chop(1);
    }
    if (name.isEmpty() || name.size() > maxDomainLength) {
        return false;
    }
    static const WordTable table(topLevelDomains);
    return table.Contains(QUrl::toAce(name));
}

} // namespace tools::url
