#include "../directorylisting.h"

#include <QFile>

#include <algorithm>
#include <tuple>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

namespace common
{

namespace
{

/// Type of an entry as readdir names it; asks the file system where readdir does not tell.
unsigned char TypeOf(int directory, const dirent& entry)
{
    struct stat status = {};
    if (entry.d_type != DT_UNKNOWN || fstatat(directory, entry.d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
        return entry.d_type;
    }
    return static_cast<unsigned char>(IFTODT(status.st_mode));
}

/// In the order that QDir has if it is told none.
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

bool LeadsToDirectory(int directory, const char* name)
{
    struct stat status = {};
    return fstatat(directory, name, &status, 0) == 0 && S_ISDIR(status.st_mode);
}

} // namespace

// QDir::entryInfoList lists the same, at twice the cost: it makes an object for each file. It has the last
// word on what the system cannot open: a resource is a directory to Qt alone.
std::vector<ListedEntry> ListDirectory(const QString& absolutePath)
{
    std::vector<ListedEntry> entries;
    DIR* const directory = opendir(QFile::encodeName(absolutePath).constData());
    if (directory == nullptr) {
        return ListByQt(absolutePath);
    }
    while (const dirent* const entry = readdir(directory)) {
        if (entry->d_name[0] == '.') {
            continue;
        }
        QString name = QFile::decodeName(entry->d_name);
        // A name that is no UTF-8 text cannot be told as a path.
        if (name.contains(QChar::ReplacementCharacter) && QFile::encodeName(name) != entry->d_name) {
            continue;
        }
        const unsigned char type = TypeOf(dirfd(directory), *entry);
        const bool isLink = type == DT_LNK;
        const bool isDirectory =
            type == DT_DIR || (isLink && LeadsToDirectory(dirfd(directory), entry->d_name));
        entries.push_back({std::move(name), isDirectory, isLink});
    }
    closedir(directory);
    SortByName(entries);
    return entries;
}

} // namespace common
