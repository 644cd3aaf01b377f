#pragma once

#include <common/vxcommon_export.h>

#include <QByteArray>
#include <QObject>
#include <QSharedPointer>
#include <QString>

class QJsonObject;

/**
 * @file
 * The payloads of requests: a JSON document, a map of keys and values, or a form (see
 * ihttprequestmultipartdata.h).
 *
 * A request reads its payload at every attempt, so a payload can be sent many times. If you change a payload
 * between two attempts, the second attempt sends the new contents. Use a payload on its request's thread.
 */
namespace common::http
{

/// The base class of all payloads of an IHttpRequest.
class VXCOMMON_EXPORT IHttpRequestData : public QObject
{
public:
    IHttpRequestData();
    ~IHttpRequestData() override = 0;
};

/// A payload of bytes with a content type.
class VXCOMMON_EXPORT IHttpRequestSimpleData : public IHttpRequestData
{
public:
    virtual QString GetContentType() const = 0; ///< Returns the value of the Content-Type header.
    virtual QByteArray GetData() const = 0;     ///< Returns the body, serialised at each call.

    /// Creates a compact JSON document ("application/json") from a copy of `object`.
    static QSharedPointer<IHttpRequestSimpleData> CreateJsonData(const QJsonObject& object);
};

/// A payload of keys and values, serialised in the order of the UTF-16 code units of the keys.
class VXCOMMON_EXPORT IHttpRequestDataMap : public IHttpRequestSimpleData
{
public:
    virtual QString GetValue(const QString& key) const = 0; ///< Returns an empty string for an unknown key.
    virtual void SetValue(const QString& key, const QString& value) = 0; ///< Replaces an earlier value.
    virtual void RemoveValue(const QString& key) = 0;                    ///< Ignores an unknown key.

    /// Creates an empty map that is sent as a JSON object ("application/json") whose values are all strings.
    /// For numbers and nested values, use CreateJsonData.
    static QSharedPointer<IHttpRequestDataMap> CreateJsonDataMap();

    /**
     * Creates an empty map that is sent as "key=value" pairs, separated by "&", with the content type
     * "application/x-www-form-urlencoded". UTF-8 bytes other than letters, digits and "-._~" (RFC 3986) are
     * percent-encoded, so a space becomes "%20".
     *
     * A POST sends the map as its body, a GET as its query. A GET accepts no other payload.
     */
    static QSharedPointer<IHttpRequestDataMap> CreateUrlencodedDataMap();
};

} // namespace common::http
