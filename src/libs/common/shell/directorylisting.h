#pragma once

#include <QString>

#include <vector>

namespace common
{

struct ListedEntry
{
    QString name;
    bool isDirectory; ///< Or a link to one.
    bool isLink;
};

/// What is in a directory but for hidden names, in the order of the file system; nothing if it cannot be
/// read.
std::vector<ListedEntry> ListDirectory(const QString& absolutePath);

} // namespace common
