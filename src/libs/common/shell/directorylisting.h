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

/// What is in a directory but for hidden names, by name, case ignored; nothing if it cannot be read.
std::vector<ListedEntry> ListDirectory(const QString& absolutePath);

/// The same through QDir, which also knows resources.
std::vector<ListedEntry> ListByQt(const QString& path);

} // namespace common
