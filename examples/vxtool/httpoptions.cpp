#include "httpoptions.h"

#include <common/http/ihttprequest.h>
#include <common/http/ihttprequestmultipartdata.h>

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <limits>

namespace vxtool
{

namespace
{

using namespace common::http;

const QString jsonOption = QStringLiteral("json");
const QString formOption = QStringLiteral("form");
const QString textOption = QStringLiteral("text");
const QString fileOption = QStringLiteral("file");
const QString queryOption = QStringLiteral("query");
const QString headerOption = QStringLiteral("header");
const QString timeoutOption = QStringLiteral("timeout");
const QString attemptsOption = QStringLiteral("attempts");
const QString intervalOption = QStringLiteral("interval");
const QString ignoreSslOption = QStringLiteral("ignore-ssl");
const QString certificateOption = QStringLiteral("client-cert");
const QString keyOption = QStringLiteral("client-key");
const QString authoritiesOption = QStringLiteral("ca");
const QString redirectOption = QStringLiteral("redirect");

const QString keyValue = QStringLiteral("KEY=VALUE");

void AddCommonOptions(QCommandLineParser& parser)
{
    const QString number = QStringLiteral("N");
    const QString file = QStringLiteral("FILE");
    parser.addOption({{QStringLiteral("v"), QStringLiteral("verbose")},
                      QStringLiteral("Print the signals of the request to standard error as they come.")});
    parser.addOption(
        {headerOption, QStringLiteral("A header to send; may be repeated."), QStringLiteral("NAME: VALUE")});
    parser.addOption({timeoutOption, QStringLiteral("Seconds of silence after which a try fails."), number});
    parser.addOption({attemptsOption, QStringLiteral("Tries in all on network problems."), number});
    parser.addOption({intervalOption, QStringLiteral("Seconds between two tries; 20 if not given."), number});
    parser.addOption({ignoreSslOption, QStringLiteral("Ignore errors of the TLS handshake.")});
    parser.addOption({certificateOption, QStringLiteral("Own certificate, in PEM."), file});
    parser.addOption({keyOption, QStringLiteral("Key of the own certificate, in PEM."), file});
    parser.addOption({authoritiesOption, QStringLiteral("Authorities to know, in PEM."), file});
    parser.addOption({redirectOption,
                      QStringLiteral("What to do on a redirect: manual, no-less-safe or same-origin."),
                      QStringLiteral("POLICY")});
}

bool ReadFile(const QString& path, QByteArray& content)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return false;
    }
    content = file.readAll();
    return true;
}

/// Calls `use` with the two sides of each value of an option; returns a complaint about one without "=".
template<typename Use>
QString ForEachPair(const QCommandLineParser& parser, const QString& option, const Use& use)
{
    for (const QString& pair : parser.values(option)) {
        const qsizetype sign = pair.indexOf(u'=');
        if (sign < 0) {
            return QStringLiteral("--%1 takes %2, not \"%3\"").arg(option, keyValue, pair);
        }
        use(pair.left(sign), pair.mid(sign + 1));
    }
    return {};
}

/// Headers and the names of parts go out as they stand, so a line break in one would begin a header of its
/// own.
bool HasControls(const QString& text)
{
    return std::any_of(text.begin(), text.end(), [](QChar character) {
        return character.category() == QChar::Other_Control && character != u'\t';
    });
}

QString ApplyHeaders(const QCommandLineParser& parser, IHttpRequest& request)
{
    for (const QString& header : parser.values(headerOption)) {
        const qsizetype colon = header.indexOf(u':');
        if (colon <= 0) {
            return QStringLiteral("--%1 takes NAME: VALUE, not \"%2\"").arg(headerOption, header);
        }
        if (HasControls(header)) {
            return QStringLiteral("--%1 takes no line breaks or other control characters").arg(headerOption);
        }
        request.SetRawHeader(header.left(colon), header.mid(colon + 1).trimmed());
    }
    return {};
}

QString ApplyMap(const QCommandLineParser& parser, const QString& option, IHttpRequest& request)
{
    const auto map = IHttpRequestDataMap::CreateUrlencodedDataMap();
    request.SetData(map);
    return ForEachPair(parser, option,
                       [&map](const QString& key, const QString& value) { map->SetValue(key, value); });
}

QString ApplyJson(const QString& path, IHttpRequest& request)
{
    QByteArray text;
    if (!ReadFile(path, text)) {
        return QStringLiteral("cannot read \"%1\"").arg(path);
    }
    const QJsonDocument document = QJsonDocument::fromJson(text);
    if (!document.isObject()) {
        return QStringLiteral("\"%1\" holds no JSON object").arg(path);
    }
    request.SetData(IHttpRequestSimpleData::CreateJsonData(document.object()));
    return {};
}

QString ApplyForm(const QCommandLineParser& parser, IHttpRequest& request)
{
    const auto form = IHttpRequestMultiPartData::CreateMultiPartFormData();
    request.SetData(form);
    bool hasControls = false;
    QString problem = ForEachPair(parser, textOption, [&](const QString& name, const QString& text) {
        hasControls |= HasControls(name);
        form->AddPart(IHttpRequestPartData::CreateTextPartFormData(name, text));
    });
    problem += ForEachPair(parser, fileOption, [&](const QString& name, const QString& path) {
        hasControls |= HasControls(name + path);
        form->AddPart(IHttpRequestPartData::CreateFilePartFormData(name, path));
    });
    return hasControls
               ? QStringLiteral("names of parts and files hold no line breaks or other control characters")
               : problem;
}

QString ApplyPayload(const QCommandLineParser& parser, IHttpRequest& request)
{
    const QStringList given = parser.optionNames();
    if (given.contains(queryOption)) {
        return ApplyMap(parser, queryOption, request);
    }
    const bool multiPart = given.contains(textOption) || given.contains(fileOption);
    if (int(given.contains(jsonOption)) + int(given.contains(formOption)) + int(multiPart) > 1) {
        return QStringLiteral("--json, --form and --text with --file exclude each other");
    }
    if (given.contains(jsonOption)) {
        return ApplyJson(parser.value(jsonOption), request);
    }
    if (given.contains(formOption)) {
        return ApplyMap(parser, formOption, request);
    }
    return multiPart ? ApplyForm(parser, request) : QString();
}

QString ApplyNumbers(const QCommandLineParser& parser, IHttpRequest& request)
{
    const struct
    {
        const QString& option;
        int least;
        void (IHttpRequest::*set)(int);
    } numbers[] = {{timeoutOption, 0, &IHttpRequest::SetTimeout},
                   {attemptsOption, 1, &IHttpRequest::SetAttemptCountOnNetworkProblem},
                   {intervalOption, 0, &IHttpRequest::SetAttemptIntervalOnNetworkProblem}};
    for (const auto& [option, least, set] : numbers) {
        qint64 number = 0;
        QString problem = ReadNumber(parser, option, least, std::numeric_limits<int>::max(), number);
        if (!problem.isEmpty()) {
            return problem;
        }
        if (parser.isSet(option)) {
            (request.*set)(static_cast<int>(number));
        }
    }
    return {};
}

QString ApplyRedirect(const QString& name, IHttpRequest& request)
{
    const struct
    {
        QLatin1String name;
        QNetworkRequest::RedirectPolicy policy;
    } policies[] = {{QLatin1String("manual"), QNetworkRequest::ManualRedirectPolicy},
                    {QLatin1String("no-less-safe"), QNetworkRequest::NoLessSafeRedirectPolicy},
                    {QLatin1String("same-origin"), QNetworkRequest::SameOriginRedirectPolicy}};
    for (const auto& entry : policies) {
        if (entry.name == name) {
            request.SetAttribute(QNetworkRequest::RedirectPolicyAttribute, entry.policy);
            return {};
        }
    }
    return QStringLiteral("unknown redirect policy \"%1\"").arg(name);
}

QString ApplyTls(const QCommandLineParser& parser, IHttpRequest& request)
{
    request.SetIgnoreSSLErrors(parser.isSet(ignoreSslOption));
    QByteArray certificate;
    QByteArray key;
    QByteArray authorities;
    for (const auto& [option, content] :
         {std::pair(certificateOption, &certificate), std::pair(keyOption, &key),
          std::pair(authoritiesOption, &authorities)}) {
        if (parser.isSet(option) && !ReadFile(parser.value(option), *content)) {
            return QStringLiteral("cannot read \"%1\"").arg(parser.value(option));
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
        return QStringLiteral("certificates and keys must be in PEM");
    }
    request.SetSslCertificate(ownCertificate, ownKey, known);
    return {};
}

} // namespace

void AddGetOptions(QCommandLineParser& parser)
{
    AddCommonOptions(parser);
    parser.addOption({queryOption, QStringLiteral("A pair for the query; may be repeated."), keyValue});
}

void AddPostOptions(QCommandLineParser& parser)
{
    AddCommonOptions(parser);
    parser.addOption({jsonOption, QStringLiteral("Send the JSON object in FILE."), QStringLiteral("FILE")});
    parser.addOption(
        {formOption, QStringLiteral("A pair of a URL-encoded form; may be repeated."), keyValue});
    parser.addOption(
        {textOption, QStringLiteral("A text part of a multipart form; may be repeated."), keyValue});
    parser.addOption({fileOption, QStringLiteral("A file part of a multipart form; may be repeated."),
                      QStringLiteral("NAME=PATH")});
}

QString ReadNumber(const QCommandLineParser& parser, const QString& option, qint64 least, qint64 most,
                   qint64& number)
{
    if (!parser.isSet(option)) {
        return {};
    }
    bool ok = false;
    number = parser.value(option).toLongLong(&ok);
    return ok && number >= least && number <= most
               ? QString()
               : QStringLiteral("--%1 takes a number from %2 to %3").arg(option).arg(least).arg(most);
}

QString ApplyHttpOptions(const QCommandLineParser& parser, IHttpRequest& request)
{
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 1) {
        return QStringLiteral("one URL is needed");
    }
    request.SetUrl(QUrl(arguments.front(), QUrl::TolerantMode));
    QString problem = ApplyHeaders(parser, request);
    if (problem.isEmpty()) {
        problem = ApplyNumbers(parser, request);
    }
    if (problem.isEmpty() && parser.isSet(redirectOption)) {
        problem = ApplyRedirect(parser.value(redirectOption), request);
    }
    if (problem.isEmpty()) {
        problem = ApplyTls(parser, request);
    }
    return problem.isEmpty() ? ApplyPayload(parser, request) : problem;
}

} // namespace vxtool
