#include "peers.h"

#include <QSemaphore>

#include <vector>

namespace
{

/// Takes a lock on a separate thread, because a lock may belong to a thread. Keeps the lock until LetGo is
/// called.
class Holder
{
public:
    Holder(const QString& path, QtLockedFile::LockMode mode, bool block = false)
        : thread(QThread::create([this, path, mode, block] {
            QtLockedFile file(path);
            taken = file.open(QIODevice::ReadWrite) && file.lock(mode, block);
            decided.release();
            end.acquire();
        }))
    {
        thread->start();
    }
    ~Holder() { LetGo(); }

    bool HasTaken(int milliseconds = 30000) { return decided.tryAcquire(1, milliseconds) && taken; }
    void LetGo()
    {
        end.release();
        thread->wait();
    }

private:
    QSemaphore decided;
    QSemaphore end;
    bool taken = false;
    const std::unique_ptr<QThread> thread;
};

} // namespace

class TestLockedFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { path = dir.filePath(QTest::currentTestFunction()); }
    void refusals();
    void waiting();
    void changeOfMode();
    void tooManyReaders();
    void freedByDeath();

private:
    QTemporaryDir dir;
    QString path;
};

void TestLockedFile::refusals()
{
    QtLockedFile file(path);
    QTest::ignoreMessage(QtWarningMsg, "QtLockedFile::unlock(): file is not opened");
    QVERIFY(!file.unlock());
    QVERIFY(file.open(QIODevice::ReadWrite));
    file.write("kept");
    file.close();
    QTest::ignoreMessage(QtWarningMsg, "QtLockedFile::open(): Truncate mode not allowed.");
    QVERIFY(!file.open(QIODevice::ReadWrite | QIODevice::Truncate));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), "kept");
    QVERIFY2(file.lock(QtLockedFile::ReadLock, false), "a reader needs no right to write");
}

void TestLockedFile::waiting()
{
    Holder first(path, QtLockedFile::WriteLock);
    QVERIFY(first.HasTaken());
    QVERIFY(!Holder(path, QtLockedFile::ReadLock).HasTaken());
    Holder reader(path, QtLockedFile::ReadLock, true);
    QVERIFY(!reader.HasTaken(100));
    first.LetGo();
    QVERIFY(reader.HasTaken());
    Holder second(path, QtLockedFile::WriteLock, true);
    QVERIFY(!second.HasTaken(100));
    reader.LetGo();
    QVERIFY(second.HasTaken());
}

void TestLockedFile::changeOfMode()
{
    QtLockedFile file(path);
    QVERIFY(file.open(QIODevice::ReadWrite));
    QVERIFY(file.lock(QtLockedFile::WriteLock, false));
    QVERIFY(file.lock(QtLockedFile::ReadLock, false));
    Holder reader(path, QtLockedFile::ReadLock);
    QVERIFY(reader.HasTaken());
    QVERIFY(!file.lock(QtLockedFile::WriteLock, false));
    QVERIFY2(!file.isLocked(), "the read lock is lost with the failed change");
    reader.LetGo();
    QVERIFY(file.lock(QtLockedFile::WriteLock, false));
    file.close();
    QVERIFY2(!Holder(path, QtLockedFile::WriteLock).HasTaken(), "the lock outlasts the close");
    QVERIFY(file.open(QIODevice::ReadWrite));
    QVERIFY(file.lock(QtLockedFile::NoLock, false));
    QVERIFY(Holder(path, QtLockedFile::WriteLock).HasTaken());
}

void TestLockedFile::tooManyReaders()
{
    std::vector<std::unique_ptr<Holder>> readers;
    for (int i = 0; i < 64; ++i) {
        readers.push_back(std::make_unique<Holder>(path, QtLockedFile::ReadLock));
        QVERIFY(readers.back()->HasTaken());
    }
    QtLockedFile file(path);
    QVERIFY(file.open(QIODevice::ReadWrite));
    QTest::ignoreMessage(QtWarningMsg, "QtLockedFile::lock(): too many readers");
    QVERIFY2(!file.lock(QtLockedFile::ReadLock, true), "fails at once instead of blocking");
    readers.at(10)->LetGo();
    QVERIFY(file.lock(QtLockedFile::ReadLock, false));
    readers.clear();
    QVERIFY(file.lock(QtLockedFile::WriteLock, false));
}

// A lock is released when its thread ends (Windows) or when its file is closed (Linux).
void TestLockedFile::freedByDeath()
{
    auto dead = std::make_unique<QtLockedFile>(path);
    QVERIFY(dead->open(QIODevice::ReadWrite));
    const std::unique_ptr<QThread> thread(
        QThread::create([&dead] { dead->lock(QtLockedFile::WriteLock, false); }));
    thread->start();
    QVERIFY(thread->wait());
    QVERIFY(dead->isLocked());
#ifndef Q_OS_WIN
    dead.reset();
#endif
    QVERIFY(Holder(path, QtLockedFile::WriteLock, true).HasTaken());
}

QTEST_GUILESS_MAIN(TestLockedFile)
#include "tst_lockedfile.moc"
