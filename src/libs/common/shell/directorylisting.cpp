#include "directorylisting.h"

#include <QDir>
#include <QFileInfo>

namespace common
{

std::vector<ListedEntry> ListByQt(const OpenDirectory& directory)
{
    const auto found =
        QDir(directory.Path())
            .entryInfoList(QDir::Dirs | QDir::Files | QDir::System | QDir::NoDotAndDotDot, QDir::NoSort);
    std::vector<ListedEntry> entries;
    entries.reserve(static_cast<std::size_t>(found.size()));
    for (const QFileInfo& info : found) {
        entries.push_back(
            {info.fileName(), info.isDir(), IsLink(info), !info.isFile() && !info.isDir() && !IsLink(info)});
    }
    return entries;
}

} // namespace common
