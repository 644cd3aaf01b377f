#pragma once

#include "command.h"

#include <QNetworkAccessManager>
#include <QUrl>

namespace common::http
{
class IHttpRequest;
}

namespace vxtool
{

Options GetOptions();  ///< Returns the options of "get".
Options PostOptions(); ///< Returns the options of "post".

/// Sets `url` from the user's input. If the input has no scheme, prints an error with a suggestion.
bool ReadUrl(const QString& text, QUrl& url);

/// Configures `request` from the options and the only argument, the URL. Prints an error if they are
/// invalid.
bool ApplyHttpOptions(const QCommandLineParser& parser, common::http::IHttpRequest& request);

/// A network manager that stores the HTTP status of its last response for error messages.
class StatusKeeper : public QNetworkAccessManager
{
public:
    StatusKeeper();

    /// Returns a message that describes a failed transfer from `url`.
    QString ErrorText(const QUrl& url, int error, const QString& text) const;

private:
    int status = 0;
};

} // namespace vxtool
