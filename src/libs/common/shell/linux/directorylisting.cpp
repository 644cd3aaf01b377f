#include "../directorylisting.h"

#include <QFile>

#include <algorithm>
#include <array>
#include <tuple>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

namespace common
{

namespace
{

/// Size of the entry buffer in bytes: large enough to need few calls, small enough for the stack.
constexpr std::size_t bufferSize = 32768;

/// Returns the type of an entry. Queries the file system if the listing does not contain it.
unsigned char TypeOf(int directory, const dirent64& entry)
{
    struct stat status = {};
    if (entry.d_type != DT_UNKNOWN || ::fstatat(directory, entry.d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
        return entry.d_type;
    }
    return static_cast<unsigned char>(IFTODT(status.st_mode));
}

bool LeadsToDirectory(int directory, const char* name)
{
    struct stat status = {};
    return ::fstatat(directory, name, &status, 0) == 0 && S_ISDIR(status.st_mode);
}

/// Sorts as QDir does by default.
void SortByName(std::vector<ListedEntry>& entries)
{
    std::vector<std::pair<QString, ListedEntry>> sorted;
    sorted.reserve(entries.size());
    for (ListedEntry& entry : entries) {
        QString lowerName = entry.name.toLower();
        sorted.emplace_back(std::move(lowerName), std::move(entry));
    }
    std::sort(sorted.begin(), sorted.end(), [](const auto& left, const auto& right) {
        return std::tie(left.first, left.second.name) < std::tie(right.first, right.second.name);
    });
    std::transform(sorted.begin(), sorted.end(), entries.begin(),
                   [](auto& keyed) { return std::move(keyed.second); });
}

void AddEntry(std::vector<ListedEntry>& entries, int directory, const dirent64& entry)
{
    if (entry.d_name[0] == '.') {
        return;
    }
    QString name = QString::fromUtf8(entry.d_name); // decodeName takes three times as long.
    // A name that is not valid UTF-8 cannot be represented by a QString.
    if (name.contains(QChar::ReplacementCharacter) && QFile::encodeName(name) != entry.d_name) {
        return;
    }
    const unsigned char type = TypeOf(directory, entry);
    const bool isLink = type == DT_LNK;
    const bool isDirectory = type == DT_DIR || (isLink && LeadsToDirectory(directory, entry.d_name));
    const bool isSpecial = type == DT_FIFO || type == DT_SOCK || type == DT_CHR || type == DT_BLK;
    entries.push_back({std::move(name), isDirectory, isLink, isSpecial});
}

} // namespace

// QDir takes twice as long and does not report errors.
std::optional<std::vector<ListedEntry>> ListDirectory(const OpenDirectory& directory)
{
    if (!directory.IsHeld()) {
        return directory.IsOpen() ? std::optional(ListByQt(directory)) : std::nullopt;
    }
    const int descriptor = static_cast<int>(directory.Native());
    alignas(dirent64) std::array<char, bufferSize> buffer;
    std::vector<ListedEntry> entries;
    for (;;) {
        const ssize_t size = ::getdents64(descriptor, buffer.data(), buffer.size());
        if (size < 0) {
            return std::nullopt;
        }
        if (size == 0) {
            break;
        }
        for (ssize_t at = 0; at < size;) {
            const auto* const entry = reinterpret_cast<const dirent64*>(buffer.data() + at);
            AddEntry(entries, descriptor, *entry);
            at += entry->d_reclen;
        }
    }
    SortByName(entries);
    return entries;
}

} // namespace common
