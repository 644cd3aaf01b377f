#include <common/sip/sipid.h>

#include <QStringList>

namespace tools::sip
{

namespace
{

constexpr int notSet = -1; ///< QList::value returns an empty string for it.

/// Maps the captures of a pattern to the outputs. A match with fewer than `minimum` captures fails.
struct Form
{
    QRegExp (*pattern)();
    qsizetype minimum;
    int user;
    int domain;
    int name;
    int extension;
    int port;
    bool isSkype;
};

// The first pattern that matches is used. Kept for compatibility: the pattern of Skype identifiers has 3
// captures but needs 4, so a name with the short Skype domain is never parsed.
constexpr Form forms[] = {
    {SipId::URIRegExp, 13, 4, 7, 2, notSet, 10, false},
    {SipId::IDRegExp, 10, 2, 5, notSet, 9, 8, false},
    {SipId::SkypeURIRegExp, 4, 2, notSet, notSet, notSet, notSet, true},
    {SipId::SkypeIDRegExp, 4, 1, notSet, notSet, notSet, notSet, true},
    {SipId::PhoneNumberRegExp, 3, 1, notSet, notSet, 2, notSet, false},
    {SipId::SIPUserRegExp, 3, 1, notSet, notSet, notSet, notSet, false},
};

/// Avoids QRegularExpression: in mingw-w64 builds, a thread that has used it fails when it ends.
bool IsWhiteSpace(QChar character)
{
    return character == u' ' || (character >= u'\t' && character <= u'\r');
}

} // namespace

bool SipId::ParseURIEx(const QString& uri, QString& user, QString& domain, QString& name, QString& extension,
                       QString& port)
{
    const QString text = uri.trimmed();
    extension.clear();
    user.clear();
    domain.clear();
    name.clear();

    for (const Form& form : forms) {
        QRegExp pattern = form.pattern();
        if (!pattern.exactMatch(text)) {
            continue;
        }
        const QStringList captures = pattern.capturedTexts();
        if (captures.size() < form.minimum) {
            break;
        }
        user = captures.value(form.user);
        domain = form.isSkype ? QStringLiteral("skype.com") : captures.value(form.domain);
        name = captures.value(form.name);
        extension = captures.value(form.extension).removeIf(IsWhiteSpace);
        if (form.port != notSet) {
            port = captures.at(form.port);
        }
        return true;
    }
    user = text;
    return false;
}

bool SipId::ParseURIEx(const QString& uri, QString& user, QString& domain, QString& name, QString& extension)
{
    QString port;
    if (!ParseURIEx(uri, user, domain, name, extension, port)) {
        return false;
    }
    if (!port.isEmpty()) {
        domain += u':' + port;
    }
    return true;
}

bool SipId::ParseURI(const QString& uri, QString& user, QString& domain, QString& name)
{
    QString extension;
    return ParseURIEx(uri, user, domain, name, extension);
}

} // namespace tools::sip
