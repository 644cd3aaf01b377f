#include <common/http/ihttprequestmultipartdata.h>

#include <common/logger/logger.h>

#include <QFile>
#include <QFileInfo>
#include <QHttpMultiPart>

#include <algorithm>
#include <memory>

namespace common::http
{

namespace
{

constexpr logger::Channel logChannel{"http.form.part"};

/// A file whose size is fixed when it is opened. If a device grows, QHttpMultiPart sends memory that does not
/// belong to it; if a device ends early, QHttpMultiPart crashes or never returns. If a FormFile ends early,
/// the request fails.
class FormFile final : public QFile
{
public:
    using QFile::QFile;

    bool Open()
    {
        // Unbuffered, so that pos() in readData returns the position in the file.
        const bool isOpen = open(QIODevice::ReadOnly | QIODevice::Unbuffered);
        sizeAtOpen = QFile::size();
        return isOpen;
    }

    qint64 size() const override { return sizeAtOpen; }

protected:
    qint64 readData(char* data, qint64 maxSize) override
    {
        const qint64 wanted = std::min(maxSize, sizeAtOpen - pos());
        const qint64 count = QFile::readData(data, wanted);
        return count > 0 || wanted == 0 ? count : -1;
    }

private:
    qint64 sizeAtOpen = 0;
};

} // namespace

class HttpRequestPartFormData : public IHttpRequestPartData
{
public:
    HttpRequestPartFormData(const QString& name_, const QString& value_)
        : name(name_)
        , value(value_)
    {}

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

    bool AppendTo(QHttpMultiPart* multiPart) override
    {
        QHttpPart part;
        part.setHeader(QNetworkRequest::ContentDispositionHeader, GetContentDisposition());
        auto file = std::make_unique<FormFile>(Value());
        // Opening a fifo would block until another process opened it for writing.
        if (!QFileInfo(Value()).isFile() || !file->Open()) {
            LOG_MESSAGE(logger::Error) << QStringLiteral("Failed to open file '%1'").arg(Value());
            return false;
        }
        part.setBodyDevice(file.get());
        file.release()->setParent(multiPart);
        multiPart->append(part);
        return true;
    }

    QString GetContentDisposition() const override
    {
        return QStringLiteral(R"(form-data; name="%1"; filename="%2")")
            .arg(Name(), QFileInfo(Value()).fileName());
    }
};

/// A part that sends its value as a string.
class HttpRequestTextPartFormData : public HttpRequestPartFormData
{
public:
    using HttpRequestPartFormData::HttpRequestPartFormData;

    bool AppendTo(QHttpMultiPart* multiPart) override
    {
        QHttpPart part;
        part.setHeader(QNetworkRequest::ContentTypeHeader, GetContentType());
        part.setHeader(QNetworkRequest::ContentDispositionHeader, GetContentDisposition());
        part.setBody(GetBody());
        multiPart->append(part);
        return true;
    }

    QString GetContentDisposition() const override
    {
        return QStringLiteral(R"(form-data; name="%1")").arg(Name());
    }

    virtual QString GetContentType() const { return QStringLiteral("text/plain; charset=UTF-8"); }
    virtual QByteArray GetBody() const { return Value().toUtf8(); }
};

IHttpRequestPartData::IHttpRequestPartData() = default;

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

} // namespace common::http
