#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace common
{

/**
 * Id of the desktop entry of an application's schemes: a file name of letters, digits, "-" and "_" in parts,
 * whatever the names hold. Different names have different ids.
 */
QByteArray HandlerEntryId(const QString& application, const QString& organization);

/// The desktop entry that starts `program` with "--callto" and the address for `types`.
QByteArray HandlerEntry(const QString& application, const QString& program, const QByteArrayList& types);

} // namespace common
