#include "copyonce.h"

#include "filepath.h"

#include <QFile>

namespace common
{

bool CopyOnce(QFile& file, const QString& newName)
{
    const CopyResult result = file.isOpen() ? CopyResult::NotForMe
                                            : CopyQuickly({nullptr, SearchedPath(file.fileName())},
                                                          {nullptr, SearchedPath(newName)});
    if (result == CopyResult::NotForMe) {
        return file.copy(SearchedPath(newName)); // On failure, `file` holds the reason.
    }
    file.unsetError();
    return result == CopyResult::Copied;
}

} // namespace common
