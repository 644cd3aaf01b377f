#include <common/sip/sipid.h>

namespace tools::sip
{

namespace
{

QRegExp Pattern(const char16_t* text)
{
    return QRegExp(QString::fromUtf16(text), Qt::CaseInsensitive, QRegExp::RegExp);
}

} // namespace

// In the character classes, the symbol after "*" is U+2018 LEFT SINGLE QUOTATION MARK; the apostrophe is
// listed separately.
//
// A QRegExp stores its last match. Therefore the statics are never used for matching: callers get copies,
// which share the compiled engine.

QRegExp SipId::AllSymbolRegExp()
{
    static const QRegExp pattern = Pattern(uR"re([-a-z0-9&=+$,;?_!~*‘()%\{\}\/'\.@:]+)re");
    return pattern;
}

QRegExp SipId::SymbolRegExp()
{
    static const QRegExp pattern = Pattern(uR"re([-a-z0-9&=+$,;?_!~*‘()%\{\}\/'\.@]{0,255}(:[0-9]{0,5})?)re");
    return pattern;
}

QRegExp SipId::FormatRegExp()
{
    static const QRegExp pattern = Pattern(
        uR"re(^([-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+(\.[-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+)*)@(([a-z0-9](?:[-a-z0-9]{0,61}[a-z0-9])?\.)*(quollsip)\.(?:[a-z]{2,4}))(:([1-9][0-9]{0,4}))?$)re");
    return pattern;
}

QRegExp SipId::QuollSipIDRegExp()
{
    static const QRegExp pattern = Pattern(
        uR"re(^([-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+(\.[-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+)*)@(([a-z0-9](?:[-a-z0-9]{0,61}[a-z0-9])?\.)*(quollsip)\.(?:[a-z]{2,4}))(:([1-9][0-9]{0,4}))?(:([1-9][0-9]{0,4}))?$)re");
    return pattern;
}

QRegExp SipId::URIRegExp()
{
    static const QRegExp pattern = Pattern(
        uR"re(^("(.+)"\s+)?<(sip:\s*)?([-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+(\.[-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+)*)@((([a-z0-9](?:[-a-z0-9]{0,61}[a-z0-9])?\.)+(?:[a-z]{2,4}))(:([1-9][0-9]{0,4}))?)(;(.*))?>$)re");
    return pattern;
}

QRegExp SipId::IDRegExp()
{
    static const QRegExp pattern = Pattern(
        uR"re(^(sip:\s*)?([-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+(\.[-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+)*)@((([a-z0-9](?:[-a-z0-9]{0,61}[a-z0-9])?\.)+(?:[a-z]{2,4}))(:([1-9][0-9]{0,4}))?)(,[,0-9a-fA-F*#\s]+[0-9a-fA-F*#\s])?(?:,*)$)re");
    return pattern;
}

QRegExp SipId::IDWithoutPortRegExp()
{
    static const QRegExp pattern = Pattern(
        uR"re(^(sip:\s*)?([-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+(\.[-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+)*)@((([a-z0-9](?:[-a-z0-9]{0,61}[a-z0-9])?\.)+(?:[a-z]{2,4})))(,[,0-9a-fA-F*#\s]+[0-9a-fA-F*#\s])?(?:,*)$)re");
    return pattern;
}

QRegExp SipId::SkypeURIRegExp()
{
    static const QRegExp pattern =
        Pattern(uR"re(^(skype:\s*)([-a-z0-9&=+$,;?_!~*‘()%\{\}\/'\.]+)(?:@(skype(?:\.com)?))?$)re");
    return pattern;
}

QRegExp SipId::SkypeIDRegExp()
{
    static const QRegExp pattern =
        Pattern(uR"re(^([-a-z0-9&=+$,;?_!~*‘()%\{\}\/'\.]+)@(skype(?:\.com)?)$)re");
    return pattern;
}

QRegExp SipId::PhoneNumberRegExp()
{
    static const QRegExp pattern =
        Pattern(uR"re(^(?:[\+\s]*)?([0-9*#]+)(,[,0-9a-fA-F*#\s]+[0-9a-fA-F*#\s])?(?:,*)$)re");
    return pattern;
}

QRegExp SipId::SIPUserRegExp()
{
    static const QRegExp pattern =
        Pattern(uR"re(^([-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+(\.[-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+)*)(?:@*)$)re");
    return pattern;
}

QRegExp SipId::NumericNumberRegExp()
{
    return Pattern(uR"re(^([-()0-9*#,+\s]*)$)re");
}

QRegExp SipId::NumericSipRegExp()
{
    return Pattern(uR"re(^000([-()0-9*#,+\s]*))re");
}

QString SipId::AllSymbols()
{
    return QString::fromUtf16(uR"(-a-z0-9&=+$,;?_!~*‘()%\{\}\/'\.@:)");
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
    // A second "@" is a format error, not a symbol error.
    domain.replace(u'@', u'z');
    return Pattern(u"^[-a-z0-9.:]*").exactMatch(domain) ? FormatError : SymbolError;
}

} // namespace tools::sip
