#pragma once

#include <common/http/ihttprequestdata.h>

#include <QMap>

namespace common::http
{

/// Stores the map. Derived classes serialise it.
class HttpRequestDataMap : public IHttpRequestDataMap
{
public:
    QString GetValue(const QString& key) const override { return values.value(key); }
    void SetValue(const QString& key, const QString& value) override { values.insert(key, value); }
    void RemoveValue(const QString& key) override { values.remove(key); }

protected:
    const QMap<QString, QString>& Values() const { return values; }

private:
    QMap<QString, QString> values;
};

/// The query of a GET or the body of a POST. A GET accepts no other payload.
class HttpRequestUrlencodedDataMap final : public HttpRequestDataMap
{
public:
    QString GetContentType() const override;
    QByteArray GetData() const override;
};

} // namespace common::http
