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

/// A part that sends a file; its value is the path.
class HttpRequestFilePartFormData final : public HttpRequestPartFormData
{
public:
    using HttpRequestPartFormData::HttpRequestPartFormData;

    bool AppendTo(QHttpMultiPart* multiPart) override;
    QString GetContentDisposition() const override;
};

/// A part that sends its value as a string.
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
