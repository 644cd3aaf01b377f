#pragma once

#include <QCommandLineParser>
#include <QString>

namespace common::http
{
class IHttpRequest;
}

namespace vxtool
{

void AddGetOptions(QCommandLineParser& parser);
void AddPostOptions(QCommandLineParser& parser);

/// Reads the number from `least` to `most` that `option` holds, if it is set, into `number`; returns why it
/// holds none, or an empty text.
QString ReadNumber(const QCommandLineParser& parser, const QString& option, qint64 least, qint64 most,
                   qint64& number);

/// Fills `request` in from the options and the one argument, its URL; returns why they make no sense, or an
/// empty text.
QString ApplyHttpOptions(const QCommandLineParser& parser, common::http::IHttpRequest& request);

} // namespace vxtool
