#pragma once

#include <QByteArray>
#include <QByteArrayList>

namespace common
{

/// The content of a mimeapps.list. Keeps the entries of other applications byte for byte, but removes the
/// header of a section that becomes empty.
class MimeApps
{
public:
    explicit MimeApps(const QByteArray& text);

    /// Returns the ids of the default desktop entries for `type`, the preferred one first.
    QByteArrayList Defaults(const QByteArray& type) const;

    /// Makes `id` the first default of `type`.
    void SetDefault(const QByteArray& type, const QByteArray& id);

    /// Removes `id` from all URL schemes that are not in `types`, and from the removed associations.
    void RemoveExcept(const QByteArrayList& types, const QByteArray& id);

    QByteArray Text() const;

private:
    void EndLastLine();

    QByteArrayList lines; ///< Including their line endings.
};

} // namespace common
