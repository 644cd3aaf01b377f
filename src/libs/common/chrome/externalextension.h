#pragma once

#include <QString>

/// Writes installation requests to files that a browser reads in addition to the user's settings tree.
namespace common::chrome::externalextension
{

void Publish(const QString& id, const QString& updateUrl);
void Withdraw(const QString& id, const QString& updateUrl); ///< Keeps a request with another address.

} // namespace common::chrome::externalextension
