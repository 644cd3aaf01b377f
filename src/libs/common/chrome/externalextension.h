#pragma once

#include <QString>

/// What a browser needs besides the key in the user's settings tree.
namespace common::chrome::externalextension
{

void Publish(const QString& id, const QString& updateUrl);
void Withdraw(const QString& id, const QString& updateUrl); ///< Leaves alone what has another address.

} // namespace common::chrome::externalextension
