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

/// Fills `request` in from the options and the one argument, its URL; returns why they make no sense, or an
/// empty text.
QString ApplyHttpOptions(const QCommandLineParser& parser, common::http::IHttpRequest& request);

} // namespace vxtool
