#include "directorylisting.h"

#include "fileentry.h"

#include <QDir>

namespace common
{

std::vector<ListedEntry> ListByQt(const QString& path)
{
    const auto found = QDir(path).entryInfoList(
        QDir::Dirs | QDir::Files | QDir::System | QDir::NoDotAndDotDot, QDir::NoSort);
    std::vector<ListedEntry> entries;
    entries.reserve(static_cast<std::size_t>(found.size()));
    for (const QFileInfo& info : found) {
        entries.push_back({info.fileName(), info.isDir(), IsLink(info)});
    }
    return entries;
}

} // namespace common
