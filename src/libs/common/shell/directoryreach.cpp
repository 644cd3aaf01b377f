#include "directoryreach.h"

#include "filepath.h"

#include <QDir>

#include <algorithm>

namespace common
{

namespace
{

/// Maximum number of directories kept open. In a typical tree, none has to be opened twice.
constexpr std::size_t maxOpen = 16;

/// Returns whether a directory differs from the one that the scan found.
bool IsAnother(const OpenDirectory& opened, const std::optional<FileId>& scanned)
{
    return scanned && !(*scanned == opened.Id()) &&
           (scanned->volume != opened.Id().volume || opened.HasLastingId());
}

} // namespace

const OpenDirectory& DirectoryReach::To(int directory)
{
    std::vector<int> way;
    const OpenDirectory* from = nullptr;
    int at = directory;
    do {
        from = Find(at);
        if (from == nullptr && at == directory) {
            from = Climb(at);
        }
        if (from == nullptr) {
            way.push_back(at);
            at = directories[static_cast<std::size_t>(at)].parent;
        }
    } while (from == nullptr && at >= 0);
    for (auto step = way.rbegin(); step != way.rend(); ++step) {
        OpenDirectory next = Open(from, *step);
        if (!next.IsOpen()) {
            failed = std::move(next);
            return failed;
        }
        from = &Keep(*step, std::move(next));
    }
    return *from;
}

const OpenDirectory* DirectoryReach::Climb(int directory)
{
    const std::optional<FileId>& id = directories[static_cast<std::size_t>(directory)].id;
    const auto child = std::find_if(open.rbegin(), open.rend(), [&](const auto& entry) {
        return directories[static_cast<std::size_t>(entry.first)].parent == directory;
    });
    if (side == Side::Destination || !id || child == open.rend()) {
        return nullptr;
    }
    OpenDirectory parent = child->second.OpenChild(QStringLiteral(".."), OpenDirectory::Access::List,
                                                   OpenDirectory::Link::Refuse);
    return parent.IsOpen() && parent.Id() == *id ? &Keep(directory, std::move(parent)) : nullptr;
}

const OpenDirectory& DirectoryReach::Keep(int directory, OpenDirectory opened)
{
    if (open.size() == maxOpen) {
        open.pop_front();
    }
    open.emplace_back(directory, std::move(opened));
    return open.back().second;
}

void DirectoryReach::Close(int directory)
{
    if (directory < 0) {
        return;
    }
    // A directory that was added twice has two indices: close both. Keep the parent, which is still in use.
    const ScannedDirectory& closed = directories[static_cast<std::size_t>(directory)];
    open.remove_if([&](const auto& entry) {
        const bool isSame = closed.id && closed.id->file != 0 && entry.second.Id() == *closed.id;
        return entry.first == directory || (isSame && entry.first != closed.parent);
    });
}

QString DirectoryReach::PathOf(int directory) const
{
    if (lastPath.first != directory) {
        int root = directory;
        while (directories[static_cast<std::size_t>(root)].parent >= 0) {
            root = directories[static_cast<std::size_t>(root)].parent;
        }
        const ScannedDirectory& top = directories[static_cast<std::size_t>(root)];
        const QString& rootPath = side == Side::Source ? top.name : top.destination;
        lastPath = {directory,
                    directory == root ? rootPath : JoinPath(rootPath, RelativePathOf(directory, {}))};
    }
    return lastPath.second;
}

QString DirectoryReach::PathOf(int directory, const QString& name) const
{
    const QString path = PathOf(directory);
    return path.isEmpty() ? path : path + QDir::separator() + name;
}

QString DirectoryReach::RelativePathOf(int directory, const QString& name) const
{
    std::vector<QString> names;
    for (int at = directory; directories[static_cast<std::size_t>(at)].parent >= 0;
         at = directories[static_cast<std::size_t>(at)].parent) {
        names.push_back(directories[static_cast<std::size_t>(at)].name);
    }
    QString path;
    for (auto part = names.rbegin(); part != names.rend(); ++part) {
        path += path.isEmpty() ? *part : u'/' + *part;
    }
    if (name.isEmpty()) {
        return path;
    }
    return path.isEmpty() ? name : path + u'/' + name;
}

const OpenDirectory* DirectoryReach::Find(int directory) const
{
    const auto found = std::find_if(open.rbegin(), open.rend(),
                                    [directory](const auto& entry) { return entry.first == directory; });
    return found == open.rend() ? nullptr : &found->second;
}

OpenDirectory DirectoryReach::Open(const OpenDirectory* parent, int directory) const
{
    using Access = OpenDirectory::Access;
    ScannedDirectory& scanned = directories[static_cast<std::size_t>(directory)];
    if (parent == nullptr) {
        return OpenRoot(scanned);
    }
    const bool isSource = side == Side::Source;
    const Access access = isSource ? Access::List : Access::Pass;
    const auto link = isSource && scanned.isLink ? OpenDirectory::Link::Follow : OpenDirectory::Link::Refuse;
    OpenDirectory opened = parent->OpenChild(scanned.name, access, link);
    if (!isSource) {
        if (opened.IsMissing()) {
            static_cast<void>(parent->MakeChild(scanned.name)); // Another process may create it first.
            return parent->OpenChild(scanned.name, access, link);
        }
        return opened;
    }
    return opened.IsOpen() && IsAnother(opened, scanned.id) ? OpenDirectory() : std::move(opened);
}

OpenDirectory DirectoryReach::OpenRoot(const ScannedDirectory& root) const
{
    if (side == Side::Source) {
        OpenDirectory opened = OpenDirectory::Open(ResolvedPath(root.name), OpenDirectory::Access::List);
        return opened.IsOpen() && IsAnother(opened, root.id) ? OpenDirectory() : std::move(opened);
    }
    const QString path = ResolvedPath(root.destination);
    if (path.isEmpty() || !QDir().mkpath(path)) {
        return {};
    }
    return OpenDirectory::Open(path, OpenDirectory::Access::Pass);
}

} // namespace common
