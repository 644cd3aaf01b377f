#include "httprequestdata.h"

#include <QJsonDocument>
#include <QStringList>
#include <QUrl>

namespace common::http
{

namespace
{

const QString jsonContentType = QStringLiteral("application/json");

QByteArray ToBytes(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

QString Encoded(const QString& text)
{
    return QString::fromLatin1(QUrl::toPercentEncoding(text));
}

} // namespace

IHttpRequestData::IHttpRequestData() = default;

IHttpRequestData::~IHttpRequestData() = default;

QSharedPointer<IHttpRequestSimpleData> IHttpRequestSimpleData::CreateJsonData(const QJsonObject& object)
{
    return QSharedPointer<HttpRequestJsonData>::create(object);
}

QSharedPointer<IHttpRequestDataMap> IHttpRequestDataMap::CreateJsonDataMap()
{
    return QSharedPointer<HttpRequestJsonDataMap>::create();
}

QSharedPointer<IHttpRequestDataMap> IHttpRequestDataMap::CreateUrlencodedDataMap()
{
    return QSharedPointer<HttpRequestUrlencodedDataMap>::create();
}

HttpRequestJsonData::HttpRequestJsonData(const QJsonObject& object_)
    : object(object_)
{}

QString HttpRequestJsonData::GetContentType() const
{
    return jsonContentType;
}

QByteArray HttpRequestJsonData::GetData() const
{
    return ToBytes(object);
}

QString HttpRequestDataMap::GetValue(const QString& key) const
{
    return values.value(key);
}

void HttpRequestDataMap::SetValue(const QString& key, const QString& value)
{
    values.insert(key, value);
}

void HttpRequestDataMap::RemoveValue(const QString& key)
{
    values.remove(key);
}

QString HttpRequestJsonDataMap::GetContentType() const
{
    return jsonContentType;
}

QByteArray HttpRequestJsonDataMap::GetData() const
{
    QJsonObject object;
    for (auto entry = Values().cbegin(); entry != Values().cend(); ++entry) {
        object.insert(entry.key(), entry.value());
    }
    return ToBytes(object);
}

QString HttpRequestUrlencodedDataMap::GetContentType() const
{
    return QStringLiteral("application/x-www-form-urlencoded");
}

QByteArray HttpRequestUrlencodedDataMap::GetData() const
{
    QStringList pairs;
    for (auto entry = Values().cbegin(); entry != Values().cend(); ++entry) {
        pairs += Encoded(entry.key()) + u'=' + Encoded(entry.value());
    }
    return pairs.join(u'&').toUtf8();
}

} // namespace common::http
