#pragma once

#include "../protocolkeys.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QString>

namespace common
{

/**
 * Returns the id of the desktop entry that handles the schemes of an application. The id is a safe file name,
 * whatever the names contain. Different names have different ids.
 */
QByteArray HandlerEntryId(const protocolkeys::Owner& owner);

/// Returns a desktop entry for `types` that starts `program` with "--callto" and the address.
QByteArray HandlerEntry(const QString& application, const QString& program, const QByteArrayList& types);

} // namespace common
