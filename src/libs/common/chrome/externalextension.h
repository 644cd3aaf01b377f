#pragma once

#include <QString>

/// Requests that a browser reads in addition to the user's settings tree.
namespace common::chrome::externalextension
{

void Publish(const QString& id, const QString& updateUrl);
void Withdraw(const QString& id, const QString& updateUrl); ///< Keeps a request that has another address.

} // namespace common::chrome::externalextension
