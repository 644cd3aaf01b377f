#include "savefile.h"

#include "replaceablefile.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace common::platform
{

namespace
{

constexpr QFileDevice::Permissions ownerOnly = QFileDevice::ReadOwner | QFileDevice::WriteOwner;
constexpr QFileDevice::Permissions executable =
    QFileDevice::ExeOwner | QFileDevice::ExeUser | QFileDevice::ExeGroup | QFileDevice::ExeOther;

/// A write to a file is complete only when its buffer is flushed.
bool WriteAll(QFileDevice& file, const QByteArray& bytes, FileAccess access, bool isNew)
{
    // Restrict access before the file contains any data.
    if (access == FileAccess::OwnerOnly && isNew) {
        file.setPermissions(ownerOnly);
    } else if (access == FileAccess::Executable) {
        file.setPermissions(file.permissions() | executable);
    }
    return file.write(bytes) == bytes.size() && file.flush();
}

/// Returns whether `size` bytes can replace those of `old`; true if the free space is unknown.
bool HasRoom(const QFileInfo& old, qint64 size)
{
    std::error_code error;
    const auto space = std::filesystem::space(old.filesystemAbsolutePath(), error);
    return error || space.capacity == 0 ||
           space.available >= static_cast<quint64>(std::max(size - old.size(), qint64{0}));
}

SaveOutcome WriteInPlace(const QString& path, const QByteArray& bytes, FileAccess access)
{
    const QFileInfo old(QFileInfo(path).canonicalFilePath());
    // Opening a file empties it, so first ensure that there is room for the new bytes.
    if (old.isFile() && !HasRoom(old, bytes.size())) {
        return SaveOutcome::CannotWrite;
    }
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        return SaveOutcome::CannotOpen;
    }
    const bool isWritten = WriteAll(file, bytes, access, !old.exists());
    file.close();
    return isWritten && file.error() == QFileDevice::NoError ? SaveOutcome::Saved : SaveOutcome::CannotWrite;
}

} // namespace

SaveOutcome SaveFile(const QString& path, const QByteArray& bytes, FileAccess access)
{
    const QFileInfo old(path);
    const bool isNew = !old.exists();
    // Never replace a device, a pipe, or a dangling or circular link.
    const bool mustStay = isNew ? old.isSymLink() : !old.isFile();
    QSaveFile file(path);
    if (!mustStay && file.open(QIODevice::WriteOnly) && (isNew || IsReplaceable(path, file.handle()))) {
        if (!WriteAll(file, bytes, access, isNew)) {
            return SaveOutcome::CannotWrite;
        }
        if (file.commit()) {
            return SaveOutcome::Saved;
        }
    }
    return WriteInPlace(path, bytes, access);
}

} // namespace common::platform
