#include "../filelock.h"

#include <QFile>
#include <QFileInfo>
#include <QString>

#include <utility>
#include <vector>

#include <windows.h>

namespace QtLP_Private
{

namespace
{

constexpr int writerSlot = -1; ///< The slot whose mutex has no number.

bool WaitOnMutex(HANDLE mutex, bool block)
{
    switch (::WaitForSingleObject(mutex, block ? INFINITE : 0)) {
    case WAIT_OBJECT_0:
    case WAIT_ABANDONED: // The former owner died.
        return true;
    case WAIT_TIMEOUT:
        return false;
    default:
        qErrnoWarning("QtLockedFile::lock(): WaitForSingleObject failed");
        return false;
    }
}

bool WaitOnAll(const std::vector<HANDLE>& mutexes, bool block)
{
    switch (::WaitForMultipleObjects(static_cast<DWORD>(mutexes.size()), mutexes.data(), TRUE,
                                     block ? INFINITE : 0)) {
    case WAIT_OBJECT_0:
    case WAIT_ABANDONED_0:
        return true;
    case WAIT_TIMEOUT:
        return false;
    default:
        qErrnoWarning("QtLockedFile::lock(): WaitForMultipleObjects failed");
        return false;
    }
}

/// Gives back a mutex that this thread may own, and its handle.
void ReleaseAndClose(HANDLE mutex)
{
    ::ReleaseMutex(mutex);
    ::CloseHandle(mutex);
}

} // namespace

/**
 * The lock as named mutexes: one of the writer and one for each reader slot that was ever used.
 *
 * A lock is taken while the writer's mutex is held. A reader then keeps only its slot; a writer keeps the
 * writer's mutex and every slot that exists.
 */
struct FileLock::Handles
{
    bool TakeWriterMutex(const QFile& file, bool block)
    {
        if (mutexName.isEmpty()) {
            mutexName = QStringLiteral("QtLockedFile mutex ") + QFileInfo(file).absoluteFilePath().toLower();
        }
        if (writerMutex == nullptr) {
            writerMutex = MutexHandle(writerSlot, true);
        }
        return writerMutex != nullptr && WaitOnMutex(writerMutex, block);
    }

    /// The mutex of the first free slot, taken; null if there is none. Never waits.
    HANDLE TakeReaderSlot()
    {
        for (int slot = 0; slot < readerSlots; ++slot) {
            HANDLE mutex = MutexHandle(slot, false);
            if (mutex == nullptr) {
                mutex = MutexHandle(slot, true);
                if (mutex != nullptr && !WaitOnMutex(mutex, false)) {
                    ::CloseHandle(std::exchange(mutex, nullptr));
                }
                return mutex;
            }
            if (WaitOnMutex(mutex, false)) {
                return mutex;
            }
            ::CloseHandle(mutex);
        }
        qWarning("QtLockedFile::lock(): too many readers");
        return nullptr;
    }

    HANDLE MutexHandle(int slot, bool create) const
    {
        const QString name = slot == writerSlot ? mutexName : mutexName + QString::number(slot);
        const auto* const wideName = reinterpret_cast<const wchar_t*>(name.utf16());
        HANDLE mutex = nullptr;
        if (create) {
            mutex = ::CreateMutexW(nullptr, FALSE, wideName);
            if (mutex == nullptr) {
                qErrnoWarning("QtLockedFile::lock(): CreateMutex failed");
            }
        } else {
            mutex = ::OpenMutexW(SYNCHRONIZE | MUTEX_MODIFY_STATE, FALSE, wideName);
            if (mutex == nullptr && ::GetLastError() != ERROR_FILE_NOT_FOUND) {
                qErrnoWarning("QtLockedFile::lock(): OpenMutex failed");
            }
        }
        return mutex;
    }

    HANDLE writerMutex = nullptr;
    HANDLE readerMutex = nullptr;
    std::vector<HANDLE> readerMutexes;
    QString mutexName;
    bool writes = false;
};

FileLock::FileLock()
    : d(std::make_unique<Handles>())
{}

FileLock::~FileLock()
{
    Release();
    if (d->writerMutex != nullptr) {
        ::CloseHandle(d->writerMutex);
    }
}

bool FileLock::TakeRead(const QFile& file, bool block)
{
    if (!d->TakeWriterMutex(file, block)) {
        return false;
    }
    d->readerMutex = d->TakeReaderSlot();
    ::ReleaseMutex(d->writerMutex);
    return d->readerMutex != nullptr;
}

bool FileLock::TakeWrite(const QFile& file, bool block)
{
    if (!d->TakeWriterMutex(file, block)) {
        return false;
    }
    d->writes = true;
    for (int slot = 0; slot < readerSlots; ++slot) {
        if (HANDLE mutex = d->MutexHandle(slot, false)) {
            d->readerMutexes.push_back(mutex);
        }
    }
    if (!d->readerMutexes.empty() && !WaitOnAll(d->readerMutexes, block)) {
        Release();
        return false;
    }
    return true;
}

void FileLock::Release()
{
    if (d->readerMutex != nullptr) {
        ReleaseAndClose(std::exchange(d->readerMutex, nullptr));
    }
    for (HANDLE mutex : d->readerMutexes) {
        ReleaseAndClose(mutex);
    }
    d->readerMutexes.clear();
    if (std::exchange(d->writes, false)) {
        ::ReleaseMutex(d->writerMutex);
    }
}

} // namespace QtLP_Private
