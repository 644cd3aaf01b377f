#include "httprequestdata.h"

#include <QJsonDocument>
#include <QJsonObject>
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

class HttpRequestJsonData final : public IHttpRequestSimpleData
{
public:
    explicit HttpRequestJsonData(const QJsonObject& object_)
        : object(object_)
    {}

    QString GetContentType() const override { return jsonContentType; }
    QByteArray GetData() const override { return ToBytes(object); }

private:
    QJsonObject object;
};

class HttpRequestJsonDataMap final : public HttpRequestDataMap
{
public:
    QString GetContentType() const override { return jsonContentType; }
    QByteArray GetData() const override
    {
        QJsonObject object;
        for (auto entry = Values().cbegin(); entry != Values().cend(); ++entry) {
            object.insert(entry.key(), entry.value());
        }
        return ToBytes(object);
    }
};

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
