#pragma once

#include <common/http/ihttprequestdata.h>
#include <common/vxcommon_export.h>

#include <QObject>
#include <QSharedPointer>
#include <QString>

class QHttpMultiPart;

namespace common::http
{

/// One part of a form. It keeps a description only and can be appended to any number of forms.
class VXCOMMON_EXPORT IHttpRequestPartData : public QObject
{
public:
    IHttpRequestPartData();
    ~IHttpRequestPartData() override;

    /// Adds the part to `multiPart`, which then owns a file that the part opens. False if the file cannot be
    /// opened.
    virtual bool AppendTo(QHttpMultiPart* multiPart) = 0;

    /**
     * A file, sent under the last component of its path and without a content type. It is opened when the
     * request is sent, not here, and streamed, not read into memory.
     *
     * `name` and the file name go into the header as they stand: a double quote in them is not escaped.
     */
    static QSharedPointer<IHttpRequestPartData> CreateFilePartFormData(const QString& name,
                                                                       const QString& filePath);

    /// A text, sent as "text/plain; charset=UTF-8"; `name` as above.
    static QSharedPointer<IHttpRequestPartData> CreateTextPartFormData(const QString& name,
                                                                       const QString& text);
};

/// A "multipart/form-data" payload (RFC 7578): parts in the order in which they were added.
class VXCOMMON_EXPORT IHttpRequestMultiPartData : public IHttpRequestData
{
public:
    /// Builds a new form, with files of its own opened; the caller owns it. Null if a part could not be
    /// appended; no part behind that one is tried.
    virtual QHttpMultiPart* MultiPart() = 0;

    /// Puts a part behind those that are there.
    virtual void AddPart(const QSharedPointer<IHttpRequestPartData>& part) = 0;

    static QSharedPointer<IHttpRequestMultiPartData> CreateMultiPartFormData(); ///< An empty form.
};

} // namespace common::http
