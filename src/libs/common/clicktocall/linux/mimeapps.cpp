#include "mimeapps.h"

namespace common
{

namespace
{

constexpr char defaultsHeader[] = "[Default Applications]";
constexpr char removedHeader[] = "[Removed Associations]";
constexpr char schemePrefix[] = "x-scheme-handler/";

bool IsHeader(const QByteArray& line)
{
    return line.trimmed().startsWith('[');
}

/// Returns the key of a "key=value" line; empty for any other line.
QByteArray KeyOf(const QByteArray& line)
{
    const qsizetype sign = line.indexOf('=');
    return sign < 0 || line.startsWith('#') ? QByteArray() : line.left(sign).trimmed();
}

/// Returns the size of a line without its line ending.
qsizetype ContentSize(const QByteArray& line)
{
    qsizetype size = line.size();
    while (size > 0 && (line.at(size - 1) == '\n' || line.at(size - 1) == '\r')) {
        --size;
    }
    return size;
}

/// Returns the part of a line after the "=", including spaces.
QByteArray ValueOf(const QByteArray& line)
{
    const qsizetype start = line.indexOf('=') + 1;
    return line.mid(start, ContentSize(line) - start);
}

QByteArray WithoutId(const QByteArray& value, const QByteArray& id)
{
    QByteArrayList ids = value.split(';');
    ids.removeIf([&id](const QByteArray& text) { return text.trimmed() == id; });
    return ids.join(';');
}

/// Returns the line with its value replaced by `value`.
QByteArray WithValue(const QByteArray& line, const QByteArray& value)
{
    return line.left(line.indexOf('=') + 1) + value + line.mid(ContentSize(line));
}

/// Removes the last section, which starts at line `section`, if it has only a header. Returns whether it did.
bool DropSectionIfEmpty(QByteArrayList& lines, qsizetype section)
{
    for (qsizetype i = section + 1; i < lines.size(); ++i) {
        if (section < 0 || !lines.at(i).trimmed().isEmpty()) {
            return false;
        }
    }
    lines.resize(section < 0 ? lines.size() : section);
    return section >= 0;
}

} // namespace

MimeApps::MimeApps(const QByteArray& text)
{
    qsizetype start = 0;
    while (start < text.size()) {
        const qsizetype end = text.indexOf('\n', start);
        const qsizetype next = end < 0 ? text.size() : end + 1;
        lines += text.mid(start, next - start);
        start = next;
    }
}

QByteArrayList MimeApps::Defaults(const QByteArray& type) const
{
    QByteArrayList ids;
    bool inDefaults = false;
    for (const QByteArray& line : lines) {
        if (IsHeader(line)) {
            inDefaults = line.trimmed() == defaultsHeader;
        } else if (inDefaults && KeyOf(line) == type) {
            for (const QByteArray& id : ValueOf(line).split(';')) {
                ids += id.trimmed();
            }
        }
    }
    ids.removeAll(QByteArray());
    return ids;
}

void MimeApps::SetDefault(const QByteArray& type, const QByteArray& id)
{
    bool inDefaults = false;
    bool found = false;
    qsizetype header = -1;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        QByteArray& line = lines[i];
        if (IsHeader(line)) {
            inDefaults = line.trimmed() == defaultsHeader;
            header = inDefaults ? i : header;
        } else if (inDefaults && KeyOf(line) == type) {
            // Update every line for the type, because readers differ in which one they use.
            line = WithValue(line, id + ';' + WithoutId(ValueOf(line), id));
            found = true;
        }
    }
    if (found) {
        return;
    }
    if (header < 0) {
        EndLastLine();
        if (!lines.isEmpty()) {
            lines += QByteArrayLiteral("\n");
        }
        header = lines.size();
        lines += QByteArray(defaultsHeader) + '\n';
    } else if (header == lines.size() - 1) {
        EndLastLine();
    }
    // Insert after the header, so that a last line without a line ending stays unchanged.
    lines.insert(header + 1, type + '=' + id + ";\n");
}

void MimeApps::EndLastLine()
{
    if (!lines.isEmpty() && !lines.last().endsWith('\n')) {
        lines.last() += '\n';
    }
}

void MimeApps::RemoveExcept(const QByteArrayList& types, const QByteArray& id)
{
    QByteArrayList kept;
    qsizetype section = -1; // Index of the current section in `kept`.
    bool cut = false;       // Whether the current section has lost a line.
    bool blocked = false;
    for (const QByteArray& line : lines) {
        if (IsHeader(line)) {
            if (cut) {
                DropSectionIfEmpty(kept, section);
            }
            section = kept.size();
            cut = false;
            blocked = line.trimmed() == removedHeader;
        }
        const QByteArray type = KeyOf(line);
        const QByteArray value = ValueOf(line);
        const QByteArray rest = WithoutId(value, id);
        if (!type.startsWith(schemePrefix) || rest == value || (types.contains(type) && !blocked)) {
            kept += line;
        } else if (!rest.trimmed().isEmpty()) {
            kept += WithValue(line, rest);
        } else {
            cut = true;
        }
    }
    // Remove the empty line before a removed last section as well.
    if (cut && DropSectionIfEmpty(kept, section) && !kept.isEmpty() && kept.last().trimmed().isEmpty()) {
        kept.removeLast();
    }
    lines = kept;
}

QByteArray MimeApps::Text() const
{
    return lines.join();
}

} // namespace common
