#pragma once

#include <QString>

/// Publishes and withdraws installation requests in files that a browser reads, in addition to the key in the
/// user's settings tree. Does nothing on Windows, where the browser reads the registry.
namespace common::chrome::externalextension
{

void Publish(const QString& id, const QString& updateUrl);
void Withdraw(const QString& id, const QString& updateUrl); ///< Keeps a request with another address.

} // namespace common::chrome::externalextension
