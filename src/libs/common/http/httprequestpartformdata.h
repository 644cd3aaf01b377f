#pragma once

#include <common/http/ihttprequestmultipartdata.h>

#include <QByteArray>

namespace common::http
{

class HttpRequestPartFormData : public IHttpRequestPartData
{
public:
    HttpRequestPartFormData(const QString& name_, const QString& value_);

    virtual QString GetContentDisposition() const = 0;

protected:
    const QString& Name() const { return name; }
    const QString& Value() const { return value; }

private:
    QString name;
    QString value;
};

/// Its value is the path of the file.
class HttpRequestFilePartFormData final : public HttpRequestPartFormData
{
public:
    using HttpRequestPartFormData::HttpRequestPartFormData;

    bool AppendTo(QHttpMultiPart* multiPart) override;
    QString GetContentDisposition() const override;
};

/// Its value is the text.
class HttpRequestTextPartFormData : public HttpRequestPartFormData
{
public:
    using HttpRequestPartFormData::HttpRequestPartFormData;

    bool AppendTo(QHttpMultiPart* multiPart) override;
    QString GetContentDisposition() const override;
    virtual QString GetContentType() const;
    virtual QByteArray GetBody() const;
};

} // namespace common::http
