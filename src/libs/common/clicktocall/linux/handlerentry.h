#pragma once

#include "../protocolkeys.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QString>

namespace common
{

/**
 * Returns the id of the desktop entry for the schemes of an application: a file name of letters, digits, "-"
 * and "_", whatever the names contain. Different names have different ids.
 */
QByteArray HandlerEntryId(const protocolkeys::Owner& owner);

/// Returns the desktop entry that starts `program` with "--callto" and the address for `types`.
QByteArray HandlerEntry(const QString& application, const QString& program, const QByteArrayList& types);

} // namespace common
