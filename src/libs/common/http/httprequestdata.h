#pragma once

#include <common/http/ihttprequestdata.h>

#include <QJsonObject>
#include <QMap>

namespace common::http
{

class HttpRequestJsonData final : public IHttpRequestSimpleData
{
public:
    explicit HttpRequestJsonData(const QJsonObject& object_);

    QString GetContentType() const override;
    QByteArray GetData() const override;

private:
    QJsonObject object;
};

/// Stores the map. Derived classes serialise it.
class HttpRequestDataMap : public IHttpRequestDataMap
{
public:
    QString GetValue(const QString& key) const override;
    void SetValue(const QString& key, const QString& value) override;
    void RemoveValue(const QString& key) override;

protected:
    const QMap<QString, QString>& Values() const { return values; }

private:
    QMap<QString, QString> values;
};

class HttpRequestJsonDataMap final : public HttpRequestDataMap
{
public:
    QString GetContentType() const override;
    QByteArray GetData() const override;
};

/// The query of a GET or the body of a POST. A GET accepts no other payload.
class HttpRequestUrlencodedDataMap final : public HttpRequestDataMap
{
public:
    QString GetContentType() const override;
    QByteArray GetData() const override;
};

} // namespace common::http
