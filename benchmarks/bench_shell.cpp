/// Compares the library with system tools in scanning and copying a tree of small files and in searching for
/// a process.

#include <common/shell/shell.h>

#include <benchmark/benchmark.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace bench
{

namespace
{

constexpr int smallTree = 2000;
constexpr int largeTree = 20000;
constexpr int filesInAFolder = 50;

/// A tree of small files in two levels of directories, created once for each size.
class Tree
{
public:
    explicit Tree(int files)
    {
        for (int i = 0; i < files; ++i) {
            const int folder = i / filesInAFolder;
            const QString path = dir.filePath(QStringLiteral("tree/%1/%2").arg(folder / 10).arg(folder % 10));
            QDir().mkpath(path);
            QFile file(path + QStringLiteral("/file number %1.txt").arg(i));
            isWhole = file.open(QIODevice::WriteOnly) && file.write("content") > 0 && isWhole;
        }
    }

    static const Tree& OfSize(benchmark::State& state)
    {
        static const Tree small(smallTree);
        static const Tree large(largeTree);
        const Tree& tree = state.range(0) == smallTree ? small : large;
        if (!tree.isWhole) {
            state.SkipWithError("the tree could not be made");
        }
        return tree;
    }

    QString Path() const { return dir.filePath(QStringLiteral("tree")); }
    QString Destination() const { return dir.filePath(QStringLiteral("copy")); }

private:
    QTemporaryDir dir;
    bool isWhole = true;
};

/// Runs a tool and discards its output. Returns false if the tool fails.
bool RunTool(const QList<QByteArray>& words)
{
    QList<char*> arguments;
    for (const QByteArray& word : words) {
        arguments.append(const_cast<char*>(word.constData()));
    }
    arguments.append(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    int status = -1;
    const bool started =
        posix_spawnp(&child, arguments.first(), &actions, nullptr, arguments.data(), environ) == 0 &&
        waitpid(child, &status, 0) == child;
    posix_spawn_file_actions_destroy(&actions);
    return started && status == 0;
}

void Scan(benchmark::State& state)
{
    const Tree& tree = Tree::OfSize(state);
    for (auto _ : state) {
        if (common::Shell::ScanFiles(tree.Path(), {}).size() != state.range(0)) {
            state.SkipWithError("files are missing");
            return;
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(Scan)->Name("scan of a tree/vxcommon")->Arg(smallTree)->Arg(largeTree)->UseRealTime();

void Find(benchmark::State& state)
{
    const Tree& tree = Tree::OfSize(state);
    for (auto _ : state) {
        if (!RunTool({"find", QFile::encodeName(tree.Path()), "-type", "f"})) {
            state.SkipWithError("find failed");
            return;
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(Find)->Name("scan of a tree/find -type f")->Arg(smallTree)->Arg(largeTree)->UseRealTime();

/// Measures `copy`, and removes the copy outside the measurement.
template<typename Copy>
void CopyTree(benchmark::State& state, const Copy& copy)
{
    const Tree& tree = Tree::OfSize(state);
    for (auto _ : state) {
        if (!copy(tree.Path(), tree.Destination())) {
            state.SkipWithError("the tree was not copied");
            return;
        }
        state.PauseTiming();
        QDir(tree.Destination()).removeRecursively();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void CopyDir(benchmark::State& state)
{
    CopyTree(state, [](const QString& from, const QString& to) {
        return common::Shell::CopyDir(from, to, QDir::Dirs | QDir::NoDotAndDotDot, false);
    });
}
BENCHMARK(CopyDir)
    ->Name("copy of a tree by Shell::CopyDir/vxcommon")
    ->Arg(smallTree)
    ->Arg(largeTree)
    ->UseRealTime();

void Cp(benchmark::State& state)
{
    CopyTree(state, [](const QString& from, const QString& to) {
        return RunTool({"cp", "-r", QFile::encodeName(from), QFile::encodeName(to)});
    });
}
BENCHMARK(Cp)->Name("copy of a tree by Shell::CopyDir/cp -r")->Arg(smallTree)->Arg(largeTree)->UseRealTime();

/// Measures a move by rename, whose cost must not depend on the tree.
void MoveDir(benchmark::State& state)
{
    const Tree& tree = Tree::OfSize(state);
    QString from = tree.Path();
    QString to = tree.Destination();
    for (auto _ : state) {
        if (!common::Shell::MoveDir(from, to)) {
            state.SkipWithError("the tree was not moved");
            return;
        }
        from.swap(to);
    }
    if (from != tree.Path()) {
        QDir().rename(from, to);
    }
}
BENCHMARK(MoveDir)->Name("move of a tree/vxcommon")->Arg(smallTree)->Arg(largeTree);

void Exists(benchmark::State& state)
{
    for (auto _ : state) {
        benchmark::DoNotOptimize(common::Shell::ProcessExists(QStringLiteral("no such process")));
    }
}
BENCHMARK(Exists)->Name("search for a process/vxcommon")->Unit(benchmark::kMicrosecond)->UseRealTime();

void Pgrep(benchmark::State& state)
{
    for (auto _ : state) {
        RunTool({"pgrep", "-x", "no such process"});
    }
}
BENCHMARK(Pgrep)->Name("search for a process/pgrep -x")->Unit(benchmark::kMicrosecond)->UseRealTime();

} // namespace

} // namespace bench

BENCHMARK_MAIN();
