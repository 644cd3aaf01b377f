#pragma once

#include <QString>

/// What a browser needs in addition to the key in the settings tree of the user.
namespace common::chrome::externalextension
{

void Publish(const QString& id, const QString& updateUrl);
void Withdraw(const QString& id, const QString& updateUrl); ///< Keeps a request with another address.

} // namespace common::chrome::externalextension
