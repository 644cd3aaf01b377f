#include "../directorylisting.h"

#include <QDir>

namespace common
{

std::vector<ListedEntry> ListDirectory(const QString& absolutePath)
{
    const auto found =
        QDir(absolutePath)
            .entryInfoList(QDir::Dirs | QDir::Files | QDir::System | QDir::NoDotAndDotDot, QDir::NoSort);
    std::vector<ListedEntry> entries;
    entries.reserve(static_cast<std::size_t>(found.size()));
    for (const QFileInfo& info : found) {
        entries.push_back({info.fileName(), info.isDir(), info.isSymLink() || info.isJunction()});
    }
    return entries;
}

} // namespace common
