// Parses an arbitrary string as an address and checks it as an identifier.

#include "fuzztarget.h"

#include <common/sip/sipid.h>

using tools::sip::SipId;

void RunInput(const QByteArray& input)
{
    const QString text = QString::fromUtf8(input);
    QString user;
    QString domain;
    QString name;
    QString extension;
    QString port;
    if (!SipId::ParseURIEx(text, user, domain, name, extension, port)) {
        Require(user == text.trimmed(), "what is not understood comes back trimmed");
    }
    SipId::Check(text);
}
