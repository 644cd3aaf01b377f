#include "httpoptions.h"

#include "input.h"
#include "output.h"

#include <common/http/ihttprequest.h>
#include <common/http/ihttprequestmultipartdata.h>

#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <limits>

namespace vxtool
{

namespace
{

using namespace common::http;

const Option verboseOption{{u"v"_s, u"verbose"_s}, u"Print the signals of the request to standard error."_s};
const Option headerOption{{u"H"_s, u"header"_s}, u"Header to send (repeatable)."_s, u"NAME: VALUE"_s};
const Option timeoutOption{u"timeout"_s,
                           u"Seconds of silence after which an attempt fails (default: no limit)."_s, u"S"_s};
const Option attemptsOption{u"attempts"_s, u"Maximum number of attempts on network problems (default: 1)."_s,
                            u"N"_s};
const Option intervalOption{u"interval"_s, u"Seconds between two attempts (default: 20)."_s, u"S"_s};
const Option ignoreSslOption{u"ignore-ssl"_s, u"Ignore errors of the TLS handshake."_s};
const Option certificateOption{u"client-cert"_s, u"Client certificate (PEM)."_s, u"FILE"_s};
const Option clientKeyOption{u"client-key"_s, u"Key of the client certificate (PEM)."_s, u"FILE"_s};
const Option authoritiesOption{u"ca"_s, u"Trusted CA certificates (PEM)."_s, u"FILE"_s};
const Option redirectOption{u"redirect"_s,
                            u"Redirects to follow: manual (none), same-origin or no-less-safe (default)."_s,
                            u"POLICY"_s};
const Option queryOption{u"query"_s, u"Query parameter (repeatable)."_s, u"KEY=VALUE"_s};
const Option jsonFileOption{u"json-file"_s, u"Send the JSON object in FILE."_s, u"FILE"_s};
const Option formOption{u"form"_s, u"Field of a URL-encoded form (repeatable)."_s, u"KEY=VALUE"_s};
const Option textOption{u"text"_s, u"Text part of a multipart form (repeatable)."_s, u"NAME=TEXT"_s};
const Option fileOption{u"file"_s, u"File part of a multipart form (repeatable)."_s, u"NAME=PATH"_s};

QString NameOf(const Option& option)
{
    return u"--"_s + option.names().constLast();
}

/// Calls `use` with both parts of each `option` value, split at the first "=". Reports a value without
/// "=" as an error.
template<typename Use>
bool ForEachPair(const QCommandLineParser& parser, const Option& option, const Use& use)
{
    for (const QString& pair : parser.values(option)) {
        const qsizetype sign = pair.indexOf(u'=');
        if (sign < 0) {
            return Misused(u"%1 takes %2, not \"%3\""_s.arg(NameOf(option), option.valueName(), pair));
        }
        use(pair.left(sign), pair.mid(sign + 1));
    }
    return true;
}

/// Headers and part names are sent verbatim, so a line break would start another header.
bool HasControls(const QString& text)
{
    return std::any_of(text.begin(), text.end(), [](QChar character) {
        return character.category() == QChar::Other_Control && character != u'\t';
    });
}

bool ApplyHeaders(const QCommandLineParser& parser, IHttpRequest& request)
{
    for (const QString& header : parser.values(headerOption)) {
        const qsizetype colon = header.indexOf(u':');
        if (colon <= 0) {
            return Misused(u"--header takes NAME: VALUE, not \"%1\""_s.arg(header));
        }
        if (HasControls(header)) {
            return Misused(u"--header must not contain line breaks or other control characters"_s);
        }
        request.SetRawHeader(header.left(colon), header.mid(colon + 1).trimmed());
    }
    return true;
}

bool ApplyMap(const QCommandLineParser& parser, const Option& option, IHttpRequest& request)
{
    const auto map = IHttpRequestDataMap::CreateUrlencodedDataMap();
    request.SetData(map);
    return ForEachPair(parser, option,
                       [&map](const QString& key, const QString& value) { map->SetValue(key, value); });
}

bool ApplyJson(const QString& path, IHttpRequest& request)
{
    QByteArray text;
    if (!ReadInput(path, text)) {
        return false;
    }
    const QJsonDocument document = QJsonDocument::fromJson(text);
    request.SetData(IHttpRequestSimpleData::CreateJsonData(document.object()));
    return document.isObject() || Complain(u"%1 contains no JSON object"_s.arg(path));
}

bool ApplyMultiPart(const QCommandLineParser& parser, IHttpRequest& request)
{
    const auto form = IHttpRequestMultiPartData::CreateMultiPartFormData();
    request.SetData(form);
    bool hasControls = false;
    const auto addText = [&](const QString& name, const QString& text) {
        hasControls |= HasControls(name);
        form->AddPart(IHttpRequestPartData::CreateTextPartFormData(name, text));
    };
    const auto addFile = [&](const QString& name, const QString& path) {
        hasControls |= HasControls(name + path);
        form->AddPart(IHttpRequestPartData::CreateFilePartFormData(name, path));
    };
    if (!ForEachPair(parser, textOption, addText) || !ForEachPair(parser, fileOption, addFile)) {
        return false;
    }
    return !hasControls ||
           Misused(u"names of parts and files must not contain line breaks or other control characters"_s);
}

bool ApplyPayload(const QCommandLineParser& parser, IHttpRequest& request)
{
    const QStringList given = parser.optionNames();
    const auto isGiven = [&given](const Option& option) {
        return given.contains(option.names().constLast());
    };
    if (isGiven(queryOption)) {
        return ApplyMap(parser, queryOption, request);
    }
    const bool isMultiPart = isGiven(textOption) || isGiven(fileOption);
    if (int(isGiven(jsonFileOption)) + int(isGiven(formOption)) + int(isMultiPart) > 1) {
        return Misused(u"--json-file, --form and --text with --file cannot be combined"_s);
    }
    if (isGiven(jsonFileOption)) {
        return ApplyJson(parser.value(jsonFileOption), request);
    }
    if (isGiven(formOption)) {
        return ApplyMap(parser, formOption, request);
    }
    return !isMultiPart || ApplyMultiPart(parser, request);
}

bool ApplyNumbers(const QCommandLineParser& parser, IHttpRequest& request)
{
    const auto apply = [&](const Option& option, int least, void (IHttpRequest::*set)(int)) {
        qint64 number = 0;
        const bool isValid = ReadNumber(parser, option, least, std::numeric_limits<int>::max(), number);
        if (isValid && parser.isSet(option)) {
            (request.*set)(static_cast<int>(number));
        }
        return isValid;
    };
    return apply(timeoutOption, 0, &IHttpRequest::SetTimeout) &&
           apply(attemptsOption, 1, &IHttpRequest::SetAttemptCountOnNetworkProblem) &&
           apply(intervalOption, 0, &IHttpRequest::SetAttemptIntervalOnNetworkProblem);
}

bool ApplyRedirect(const QCommandLineParser& parser, IHttpRequest& request)
{
    const QHash<QString, int> policies{{u"manual"_s, QNetworkRequest::ManualRedirectPolicy},
                                       {u"no-less-safe"_s, QNetworkRequest::NoLessSafeRedirectPolicy},
                                       {u"same-origin"_s, QNetworkRequest::SameOriginRedirectPolicy}};
    const QString name = parser.value(redirectOption);
    if (policies.contains(name)) {
        request.SetAttribute(QNetworkRequest::RedirectPolicyAttribute, policies[name]);
    }
    return policies.contains(name) || !parser.isSet(redirectOption) ||
           Misused(u"unknown redirect policy \"%1\""_s.arg(name));
}

bool ApplyTls(const QCommandLineParser& parser, IHttpRequest& request)
{
    request.SetIgnoreSSLErrors(parser.isSet(ignoreSslOption));
    QByteArray certificate;
    QByteArray key;
    QByteArray authorities;
    const std::pair<const Option&, QByteArray&> files[] = {
        {certificateOption, certificate}, {clientKeyOption, key}, {authoritiesOption, authorities}};
    for (const auto& [option, content] : files) {
        if (parser.isSet(option) && !ReadInput(parser.value(option), content)) {
            return false;
        }
    }
    const QSslCertificate ownCertificate(certificate);
    QSslKey ownKey(key, QSsl::Rsa);
    if (ownKey.isNull()) {
        ownKey = QSslKey(key, QSsl::Ec);
    }
    const auto known = QSslCertificate::fromData(authorities);
    if ((!certificate.isEmpty() && ownCertificate.isNull()) || (!key.isEmpty() && ownKey.isNull()) ||
        (!authorities.isEmpty() && known.isEmpty())) {
        return Misused(u"certificates and keys must be in PEM format"_s);
    }
    request.SetSslCertificate(ownCertificate, ownKey, known);
    return true;
}

} // namespace

Options GetOptions()
{
    return {verboseOption,     headerOption,    timeoutOption,     attemptsOption,
            intervalOption,    ignoreSslOption, certificateOption, clientKeyOption,
            authoritiesOption, redirectOption,  forceOption,       queryOption};
}

Options PostOptions()
{
    Options options = GetOptions();
    options.back() = jsonFileOption; // Replaces --query.
    return options + Options{formOption, textOption, fileOption};
}

bool ReadUrl(const QString& text, QUrl& url)
{
    url = QUrl(text, QUrl::TolerantMode);
    return text.contains("://"_L1) || Misused(u"\"%1\" has no scheme. Did you mean http://%1?"_s.arg(text));
}

bool ApplyHttpOptions(const QCommandLineParser& parser, IHttpRequest& request)
{
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 1) {
        return Misused(u"one URL is needed"_s);
    }
    QUrl url;
    if (!ReadUrl(arguments.front(), url)) {
        return false;
    }
    request.SetUrl(url);
    return ApplyHeaders(parser, request) && ApplyNumbers(parser, request) && ApplyRedirect(parser, request) &&
           ApplyTls(parser, request) && ApplyPayload(parser, request);
}

StatusKeeper::StatusKeeper()
{
    connect(this, &QNetworkAccessManager::finished, this, [this](const QNetworkReply* reply) {
        status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    });
}

QString StatusKeeper::ErrorText(const QUrl& url, int error, const QString& text) const
{
    constexpr int firstError = 400;
    return u"%1: error %2%3: %4"_s.arg(url.toDisplayString(), QString::number(error),
                                       status < firstError ? QString() : u" (HTTP status %1)"_s.arg(status),
                                       text);
}

} // namespace vxtool
