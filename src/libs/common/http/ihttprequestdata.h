#pragma once

#include <common/vxcommon_export.h>

#include <QByteArray>
#include <QObject>
#include <QSharedPointer>
#include <QString>

class QJsonObject;

/**
 * @file
 * What a request can carry: a JSON document, a map of keys and values, or one of the forms of
 * ihttprequestmultipartdata.h.
 *
 * A request asks its payload for the bytes anew at every attempt, so a payload can be sent again and again; a
 * change between two attempts goes out with the later one. A payload belongs to the thread of its request.
 */
namespace common::http
{

/// Any payload of an IHttpRequest; what it can do is told by the class below it.
class VXCOMMON_EXPORT IHttpRequestData : public QObject
{
public:
    IHttpRequestData();
    ~IHttpRequestData() override = 0;
};

/// A payload that is one run of bytes with a content type.
class VXCOMMON_EXPORT IHttpRequestSimpleData : public IHttpRequestData
{
public:
    virtual QString GetContentType() const = 0; ///< Value of the Content-Type header.
    virtual QByteArray GetData() const = 0;     ///< The body, serialised now.

    /// A JSON document ("application/json"), written without blanks. Keeps a copy of `object`.
    static QSharedPointer<IHttpRequestSimpleData> CreateJsonData(const QJsonObject& object);
};

/// A payload made of keys and values, serialised in the order of the keys' UTF-16 code units.
class VXCOMMON_EXPORT IHttpRequestDataMap : public IHttpRequestSimpleData
{
public:
    virtual QString GetValue(const QString& key) const = 0;              ///< Empty for an unknown key.
    virtual void SetValue(const QString& key, const QString& value) = 0; ///< Replaces an earlier value.
    virtual void RemoveValue(const QString& key) = 0;                    ///< An unknown key is no error.

    /// An empty map that becomes a JSON object ("application/json") whose values are all strings; for numbers
    /// and nested values use CreateJsonData.
    static QSharedPointer<IHttpRequestDataMap> CreateJsonDataMap();

    /**
     * An empty map that becomes "key=value" pairs with "&" between ("application/x-www-form-urlencoded"). All
     * but letters, digits and "-._~" (RFC 3986) is percent-encoded from UTF-8, so a blank is "%20".
     *
     * It is the body of a POST and the query of a GET, and the only payload that a GET takes.
     */
    static QSharedPointer<IHttpRequestDataMap> CreateUrlencodedDataMap();
};

} // namespace common::http
