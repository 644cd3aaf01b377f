#include <common/singleapp/qtlockedfile.h>

#include <QFileInfo>

#include <utility>
#include <vector>

#include <windows.h>

namespace QtLP_Private
{

namespace
{

constexpr int writerSlot = -1; ///< Slot of the writer's mutex, whose name ends without a number.

/// Returns whether a wait took the mutex; warns if the wait failed. An abandoned mutex, whose owner has died,
/// counts as taken.
bool IsTaken(DWORD waitResult, const char* function)
{
    const bool taken = waitResult == WAIT_OBJECT_0 || waitResult == WAIT_ABANDONED;
    if (!taken && waitResult != WAIT_TIMEOUT) {
        qErrnoWarning("QtLockedFile::lock(): %s failed", function);
    }
    return taken;
}

bool TakeMutex(HANDLE mutex, bool block)
{
    return IsTaken(::WaitForSingleObject(mutex, block ? INFINITE : 0), "WaitForSingleObject");
}

} // namespace

/**
 * The named mutexes that form the lock: one for the writer and one for each reader slot that was ever used.
 *
 * Readers and writers must first take the writer's mutex. A reader then takes the mutex of a slot and
 * releases the writer's; a writer keeps the writer's mutex and takes those of all existing slots.
 */
struct QtLockedFile::Handles
{
    bool TakeWriterMutex(const QFile& file, bool block)
    {
        if (mutexName.isEmpty()) {
            mutexName = QStringLiteral("QtLockedFile mutex ") + QFileInfo(file).absoluteFilePath().toLower();
        }
        if (writerMutex == nullptr) {
            writerMutex = MutexHandle(writerSlot, true);
        }
        return writerMutex != nullptr && TakeMutex(writerMutex, block);
    }

    HANDLE MutexHandle(int slot, bool create) const
    {
        const QString name = slot == writerSlot ? mutexName : mutexName + QString::number(slot);
        const auto* const wideName = reinterpret_cast<const wchar_t*>(name.utf16());
        HANDLE mutex = create ? ::CreateMutexW(nullptr, FALSE, wideName)
                              : ::OpenMutexW(SYNCHRONIZE | MUTEX_MODIFY_STATE, FALSE, wideName);
        if (mutex == nullptr && (create || ::GetLastError() != ERROR_FILE_NOT_FOUND)) {
            qErrnoWarning("QtLockedFile::lock(): %s failed", create ? "CreateMutex" : "OpenMutex");
        }
        return mutex;
    }

    /// Takes the mutex of the first free slot. Never waits.
    bool TakeReaderMutex()
    {
        for (int slot = 0; slot < readerSlots; ++slot) {
            HANDLE mutex = MutexHandle(slot, false);
            if (mutex == nullptr && (mutex = MutexHandle(slot, true)) == nullptr) {
                return false;
            }
            if (TakeMutex(mutex, false)) {
                readerMutexes.push_back(mutex);
                return true;
            }
            ::CloseHandle(mutex);
        }
        qWarning("QtLockedFile::lock(): too many readers");
        return false;
    }

    HANDLE writerMutex = nullptr;
    std::vector<HANDLE> readerMutexes; ///< One mutex for a reader; all existing mutexes for a writer.
    QString mutexName;
};

QtLockedFile::QtLockedFile(const QString& name)
    : QFile(name)
    , d(std::make_unique<Handles>())
{}

QtLockedFile::~QtLockedFile()
{
    Release();
    if (d->writerMutex != nullptr) {
        ::CloseHandle(d->writerMutex);
    }
}

bool QtLockedFile::TakeRead(bool block)
{
    if (!d->TakeWriterMutex(*this, block)) {
        return false;
    }
    const bool taken = d->TakeReaderMutex();
    ::ReleaseMutex(d->writerMutex);
    return taken;
}

bool QtLockedFile::TakeWrite(bool block)
{
    if (!d->TakeWriterMutex(*this, block)) {
        return false;
    }
    for (int slot = 0; slot < readerSlots; ++slot) {
        if (HANDLE mutex = d->MutexHandle(slot, false)) {
            d->readerMutexes.push_back(mutex);
        }
    }
    const auto count = static_cast<DWORD>(d->readerMutexes.size());
    const DWORD time = block ? INFINITE : 0;
    if (count == 0 || IsTaken(::WaitForMultipleObjects(count, d->readerMutexes.data(), TRUE, time),
                              "WaitForMultipleObjects")) {
        return true;
    }
    lockMode = WriteLock;
    unlock();
    return false;
}

void QtLockedFile::Release()
{
    for (HANDLE mutex : std::exchange(d->readerMutexes, {})) {
        ::ReleaseMutex(mutex);
        ::CloseHandle(mutex);
    }
    if (lockMode == WriteLock) {
        ::ReleaseMutex(d->writerMutex);
    }
}

} // namespace QtLP_Private
