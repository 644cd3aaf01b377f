#pragma once

#include <common/http/ihttprequestdata.h>
#include <common/vxcommon_export.h>

#include <QObject>
#include <QSharedPointer>
#include <QString>

class QHttpMultiPart;

namespace common::http
{

/// Describes one part of a form. A part can be added to any number of forms.
class VXCOMMON_EXPORT IHttpRequestPartData : public QObject
{
public:
    IHttpRequestPartData();
    ~IHttpRequestPartData() override;

    /// Appends the part to `multiPart`, which takes ownership of any file that the part opens. Returns false
    /// if the file cannot be opened.
    virtual bool AppendTo(QHttpMultiPart* multiPart) = 0;

    /**
     * Creates a part that sends a regular file without a content type; the last component of the path is the
     * file name. The file is opened and streamed when the request is sent. Bytes appended later are not
     * sent; if the file is truncated, the attempt fails with a network error.
     *
     * @param name name of the form field
     * @warning `name` and the file name are inserted into the header verbatim: double quotes are not escaped.
     */
    static QSharedPointer<IHttpRequestPartData> CreateFilePartFormData(const QString& name,
                                                                       const QString& filePath);

    /// Creates a part that sends a string as "text/plain; charset=UTF-8". @see CreateFilePartFormData
    static QSharedPointer<IHttpRequestPartData> CreateTextPartFormData(const QString& name,
                                                                       const QString& text);
};

/// A "multipart/form-data" payload (RFC 7578). It sends its parts in the order in which they were added.
class VXCOMMON_EXPORT IHttpRequestMultiPartData : public IHttpRequestData
{
public:
    /// Returns a new form and opens its files; the caller owns the form. Returns null if a part cannot be
    /// appended.
    virtual QHttpMultiPart* MultiPart() = 0;

    /// Adds a part after the existing ones.
    virtual void AddPart(const QSharedPointer<IHttpRequestPartData>& part) = 0;

    static QSharedPointer<IHttpRequestMultiPartData> CreateMultiPartFormData(); ///< Creates an empty form.
};

} // namespace common::http
