#include <common/sip/sipid.h>

#include <initializer_list>

namespace tools::sip
{

namespace
{

// The inside of the character class of a user part, without the dot. The symbol after "*" is U+2018 LEFT
// SINGLE QUOTATION MARK; the apostrophe stands at the end.
constexpr char16_t symbols[] = uR"(-a-z0-9&=+$,;?_!~*‘()%\{\}\/')";

// Pieces that several patterns share. Their groups are captures that the address parser counts.
constexpr char16_t optionalScheme[] = uR"((sip:\s*)?)";
constexpr char16_t label[] = uR"(([a-z0-9](?:[-a-z0-9]{0,61}[a-z0-9])?\.))";
constexpr char16_t topLabel[] = uR"((?:[a-z]{2,4}))";
constexpr char16_t optionalPort[] = uR"((:([1-9][0-9]{0,4}))?)";
constexpr char16_t dialDigits[] = uR"((,[,0-9a-fA-F*#\s]+[0-9a-fA-F*#\s])?(?:,*))";
constexpr char16_t skypeDomain[] = uR"((skype(?:\.com)?))";

QString Join(std::initializer_list<QStringView> pieces)
{
    QString text;
    for (const QStringView piece : pieces) {
        text += piece;
    }
    return text;
}

/// Runs of symbols with single dots between them.
QString UserPart()
{
    return Join({u"([", symbols, u"]+(\\.[", symbols, u"]+)*)"});
}

/// An identifier of the service without its port.
QString ServiceId()
{
    return Join({u"^", UserPart(), u"@(", label, u"*(quollsip)\\.", topLabel, u")"});
}

QRegExp Pattern(std::initializer_list<QStringView> pieces)
{
    return QRegExp(Join(pieces), Qt::CaseInsensitive, QRegExp::RegExp);
}

} // namespace

// A QRegExp carries its last match. The patterns that are kept are therefore never matched on; callers get
// copies, which share the compiled engine.

QRegExp SipId::AllSymbolRegExp()
{
    static const QRegExp pattern = Pattern({u"[", AllSymbols(), u"]+"});
    return pattern;
}

QRegExp SipId::SymbolRegExp()
{
    static const QRegExp pattern = Pattern({u"[", symbols, u"\\.@]{0,255}(:[0-9]{0,5})?"});
    return pattern;
}

QRegExp SipId::FormatRegExp()
{
    static const QRegExp pattern = Pattern({ServiceId(), optionalPort, u"$"});
    return pattern;
}

QRegExp SipId::QuollSipIDRegExp()
{
    static const QRegExp pattern = Pattern({ServiceId(), optionalPort, optionalPort, u"$"});
    return pattern;
}

QRegExp SipId::URIRegExp()
{
    static const QRegExp pattern = Pattern({uR"re(^("(.+)"\s+)?<)re", optionalScheme, UserPart(), u"@((",
                                            label, u"+", topLabel, u")", optionalPort, u")(;(.*))?>$"});
    return pattern;
}

QRegExp SipId::IDRegExp()
{
    static const QRegExp pattern = Pattern({u"^", optionalScheme, UserPart(), u"@((", label, u"+", topLabel,
                                            u")", optionalPort, u")", dialDigits, u"$"});
    return pattern;
}

QRegExp SipId::IDWithoutPortRegExp()
{
    static const QRegExp pattern =
        Pattern({u"^", optionalScheme, UserPart(), u"@((", label, u"+", topLabel, u"))", dialDigits, u"$"});
    return pattern;
}

QRegExp SipId::SkypeURIRegExp()
{
    static const QRegExp pattern =
        Pattern({uR"(^(skype:\s*)([)", symbols, u"\\.]+)(?:@", skypeDomain, u")?$"});
    return pattern;
}

QRegExp SipId::SkypeIDRegExp()
{
    static const QRegExp pattern = Pattern({u"^([", symbols, u"\\.]+)@", skypeDomain, u"$"});
    return pattern;
}

QRegExp SipId::PhoneNumberRegExp()
{
    static const QRegExp pattern = Pattern({uR"(^(?:[\+\s]*)?([0-9*#]+))", dialDigits, u"$"});
    return pattern;
}

QRegExp SipId::SIPUserRegExp()
{
    static const QRegExp pattern = Pattern({u"^", UserPart(), u"(?:@*)$"});
    return pattern;
}

QRegExp SipId::NumericNumberRegExp()
{
    return Pattern({uR"(^([-()0-9*#,+\s]*)$)"});
}

QRegExp SipId::NumericSipRegExp()
{
    return Pattern({uR"(^000([-()0-9*#,+\s]*))"});
}

QString SipId::AllSymbols()
{
    return Join({symbols, u"\\.@:"});
}

SipId::Error SipId::Check(const QString& id)
{
    if (id.isEmpty()) {
        return LengthError;
    }
    if (!AllSymbolRegExp().exactMatch(id)) {
        return SymbolError;
    }
    if (!SymbolRegExp().exactMatch(id)) {
        return LengthError;
    }
    if (FormatRegExp().exactMatch(id)) {
        return NoError;
    }
    return CheckDomain(id);
}

bool SipId::IsValid(const QString& id)
{
    return Check(id) == NoError;
}

SipId::Error SipId::CheckDomain(const QString& id)
{
    const qsizetype at = id.indexOf(u'@');
    if (at <= 0) {
        return FormatError;
    }
    QString domain = id.mid(at + 1);
    if (domain.isEmpty()) {
        return FormatError;
    }
    // A second "@" counts as a letter here: it is a matter of the form, not of the symbols.
    domain.replace(u'@', u'z');
    return Pattern({u"^[-a-z0-9.:]*"}).exactMatch(domain) ? FormatError : SymbolError;
}

} // namespace tools::sip
