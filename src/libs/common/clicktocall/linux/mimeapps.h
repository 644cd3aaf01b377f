#pragma once

#include <QByteArray>
#include <QByteArrayList>

namespace common
{

/// The text of a mimeapps.list. What is not ours stays as it is, byte for byte, but a header that is left
/// alone.
class MimeApps
{
public:
    explicit MimeApps(const QByteArray& text);

    /// Ids of the desktop entries that `type` is opened with by default, the preferred one first.
    QByteArrayList Defaults(const QByteArray& type) const;

    /// Puts `id` in front of the defaults of `type`.
    void SetDefault(const QByteArray& type, const QByteArray& id);

    /// Takes `id` away from all URL schemes that are not in `types`, and from the list of removed ones.
    void RemoveExcept(const QByteArrayList& types, const QByteArray& id);

    QByteArray Text() const;

private:
    void EndLastLine();

    QByteArrayList lines; ///< With their line ends.
};

} // namespace common
