#include <common/http/ihttprequestmultipartdata.h>

#include <common/logger/logger.h>

#include <QHttpMultiPart>
#include <QList>

#include <memory>

namespace common::http
{

namespace
{

constexpr logger::Channel logChannel{"http.form.multipart"};

class HttpRequestMultiPartFormData final : public IHttpRequestMultiPartData
{
public:
    QHttpMultiPart* MultiPart() override
    {
        auto multiPart = std::make_unique<QHttpMultiPart>(QHttpMultiPart::FormDataType);
        for (const auto& part : parts) {
            if (part.isNull() || !part->AppendTo(multiPart.get())) {
                LOG_MESSAGE(logger::Error) << "Failed to append part to multipart";
                return nullptr;
            }
        }
        return multiPart.release();
    }

    void AddPart(const QSharedPointer<IHttpRequestPartData>& part) override { parts.append(part); }

private:
    QList<QSharedPointer<IHttpRequestPartData>> parts;
};

} // namespace

QSharedPointer<IHttpRequestMultiPartData> IHttpRequestMultiPartData::CreateMultiPartFormData()
{
    return QSharedPointer<HttpRequestMultiPartFormData>::create();
}

} // namespace common::http
