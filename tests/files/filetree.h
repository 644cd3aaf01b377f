#pragma once

#include <QDir>
#include <QFile>
#include <QString>
#include <QStringList>

#include <filesystem>
#include <fstream>
#ifdef Q_OS_WIN
#include <windows.h>
#else
#include <sys/stat.h>
#endif

/// A notation for trees: "d/" is a directory, "d/f=text" a file, "d/l->a" a link, "p|" a fifo; a name with a
/// leading dot is hidden.
namespace filetree
{

inline std::filesystem::path ToPath(const QString& path)
{
    return {path.toStdU16String()};
}

/// Writes a file and creates its missing parent directories.
inline void Write(const QString& path, const QByteArray& text)
{
    std::filesystem::create_directories(ToPath(path).parent_path());
    std::ofstream(ToPath(path), std::ios::binary).write(text.constData(), text.size());
}

/// Returns the content of a file; empty if it cannot be read.
inline QByteArray Read(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

inline void Build(const QString& root, const QStringList& entries)
{
    for (const QString& entry : entries) {
        const auto path = ToPath(root + u'/' + entry.section("->", 0, 0).section('=', 0, 0));
        std::filesystem::create_directories(path.parent_path());
        if (entry.endsWith('/')) {
            std::filesystem::create_directories(path);
        } else if (entry.contains("->")) {
            std::filesystem::create_symlink(ToPath(entry.section("->", 1)), path);
#ifdef Q_OS_UNIX
        } else if (entry.endsWith('|')) {
            ::mkfifo(qPrintable(root + u'/' + entry.chopped(1)), S_IRUSR | S_IWUSR);
#endif
        } else {
            Write(root + u'/' + entry.section('=', 0, 0), entry.section('=', 1).toUtf8());
        }
#ifdef Q_OS_WIN
        if (path.filename().native().front() == L'.') {
            ::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_HIDDEN);
        }
#endif
    }
}

/// Returns the sorted entries below a directory; lists a subdirectory only if it is empty. Returns an empty
/// list if the directory is missing.
inline QStringList Snapshot(const QString& folder)
{
    namespace fs = std::filesystem;
    QStringList entries;
    std::error_code missing;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(ToPath(folder), missing)) {
        const QString name =
            QString::fromStdU16String(entry.path().lexically_relative(ToPath(folder)).generic_u16string());
        if (entry.is_symlink()) {
            entries += name + "->" + QString::fromStdString(fs::read_symlink(entry.path()).string());
        } else if (entry.is_regular_file()) {
            entries += name + u'=' + QString::fromUtf8(Read(folder + u'/' + name));
        } else if (!entry.is_directory()) {
            entries += name + u'|';
        } else if (fs::is_empty(entry.path())) {
            entries += name + u'/';
        }
    }
    entries.sort();
    return entries;
}

/// Changes the current directory for its lifetime, then restores the previous one.
class CurrentDirectory
{
public:
    explicit CurrentDirectory(const QString& path) { QDir::setCurrent(path); }
    ~CurrentDirectory() { QDir::setCurrent(before); }

private:
    Q_DISABLE_COPY(CurrentDirectory)

    const QString before = QDir::currentPath();
};

} // namespace filetree
