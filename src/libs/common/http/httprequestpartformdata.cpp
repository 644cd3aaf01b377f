#include "httprequestpartformdata.h"

#include <common/logger/logger.h>

#include <QFile>
#include <QFileInfo>
#include <QHttpMultiPart>

#include <memory>

namespace common::http
{

namespace
{

constexpr logger::Channel logChannel{"http.form.part"};

} // namespace

IHttpRequestPartData::IHttpRequestPartData()
    : QObject(nullptr)
{}

IHttpRequestPartData::~IHttpRequestPartData() = default;

QSharedPointer<IHttpRequestPartData> IHttpRequestPartData::CreateFilePartFormData(const QString& name,
                                                                                  const QString& filePath)
{
    return QSharedPointer<HttpRequestFilePartFormData>::create(name, filePath);
}

QSharedPointer<IHttpRequestPartData> IHttpRequestPartData::CreateTextPartFormData(const QString& name,
                                                                                  const QString& text)
{
    return QSharedPointer<HttpRequestTextPartFormData>::create(name, text);
}

HttpRequestPartFormData::HttpRequestPartFormData(const QString& name_, const QString& value_)
    : name(name_)
    , value(value_)
{}

bool HttpRequestFilePartFormData::AppendTo(QHttpMultiPart* multiPart)
{
    QHttpPart part;
    part.setHeader(QNetworkRequest::ContentDispositionHeader, GetContentDisposition());
    auto file = std::make_unique<QFile>(Value());
    if (!file->open(QIODevice::ReadOnly)) {
        LOG_MESSAGE(logger::Error) << QStringLiteral("Failed to open file '%1'").arg(Value());
        return false;
    }
    part.setBodyDevice(file.get());
    file.release()->setParent(multiPart);
    multiPart->append(part);
    return true;
}

QString HttpRequestFilePartFormData::GetContentDisposition() const
{
    return QStringLiteral(R"(form-data; name="%1"; filename="%2")")
        .arg(Name(), QFileInfo(Value()).fileName());
}

bool HttpRequestTextPartFormData::AppendTo(QHttpMultiPart* multiPart)
{
    QHttpPart part;
    part.setHeader(QNetworkRequest::ContentTypeHeader, GetContentType());
    part.setHeader(QNetworkRequest::ContentDispositionHeader, GetContentDisposition());
    part.setBody(GetBody());
    multiPart->append(part);
    return true;
}

QString HttpRequestTextPartFormData::GetContentDisposition() const
{
    return QStringLiteral(R"(form-data; name="%1")").arg(Name());
}

QString HttpRequestTextPartFormData::GetContentType() const
{
    return QStringLiteral("text/plain; charset=UTF-8");
}

QByteArray HttpRequestTextPartFormData::GetBody() const
{
    return Value().toUtf8();
}

} // namespace common::http
