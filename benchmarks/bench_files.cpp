/// Compares the library with the system's programs in copying and removing trees. The files are on the disk
/// (in TMPDIR) and, if /dev/shm has enough room, in memory, to exclude the time of the disk.

#include <common/shell/filecopier.h>
#include <common/shell/fileremover.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <malloc.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace bench
{

namespace
{

namespace fs = std::filesystem;

constexpr std::int64_t smallTree = 1000;
constexpr std::int64_t largeTree = 50000;
constexpr std::int64_t hugeTree = 4 * largeTree; ///< Used in memory only: on a disk, a copy takes minutes.
constexpr std::int64_t filesPerFolder = 100;
constexpr std::int64_t bigFileSize = std::int64_t{2} << 30;

const char* const memory = "/dev/shm";

bool HasRoomInMemory()
{
    std::error_code error;
    const fs::space_info space = fs::space(memory, error);
    return !error && space.available > std::uintmax_t{4} << 30;
}

/// A temporary directory with the source and the target of a job.
class Work
{
public:
    explicit Work(const fs::path& place = fs::temp_directory_path())
        : folder(QString::fromStdString((place / "bench_files").string()))
    {}

    fs::path Source() const { return Path("source"); }
    fs::path Target() const { return Path("target"); }

    void MakeTree(std::int64_t files) const
    {
        const std::string content(4096, 'x');
        for (std::int64_t i = 0; i < files; ++i) {
            const fs::path parent = Source() / std::to_string(i / filesPerFolder);
            if (i % filesPerFolder == 0) {
                fs::create_directories(parent);
            }
            std::ofstream(parent / std::to_string(i % filesPerFolder)) << content;
        }
        ::sync();
    }
    void MakeBigFile() const
    {
        const std::string block(std::size_t{1} << 20, 'x');
        std::ofstream file(Source());
        for (std::int64_t size = 0; size < bigFileSize; size += static_cast<std::int64_t>(block.size())) {
            file << block;
        }
        file.close();
        ::sync();
    }
    void CopyTree() const { fs::copy(Source(), Target(), fs::copy_options::recursive); }
    void Clear() const
    {
        fs::remove_all(Target());
        ::sync();
    }

private:
    fs::path Path(const char* name) const { return fs::path(folder.path().toStdString()) / name; }

    QTemporaryDir folder;
};

/// Runs a job in an event loop, as a program would, until the job has emitted its last signal.
template<class Job>
bool Run(Job& job, bool (Job::*start)(), bool listen)
{
    QEventLoop loop;
    bool ok = false;
    int seen = 0;
    if (listen) {
        QObject::connect(&job, &Job::progress, &loop, [&seen](int current, int) { seen = current; });
    }
    QObject::connect(&job, &Job::succesed, &loop, [&] {
        ok = true;
        loop.quit();
    });
    QObject::connect(&job, &Job::failed, &loop, &QEventLoop::quit);
    (job.*start)();
    loop.exec();
    return ok && (!listen || seen > 0);
}

bool Copy(const Work& work, bool listen)
{
    common::FileCopier copier;
    const QString source = QString::fromStdString(work.Source().string());
    const QString target = QString::fromStdString(work.Target().string());
    if (fs::is_directory(work.Source())) {
        copier.AddDirectory(source, target);
    } else {
        copier.AddFile(source, target);
    }
    return Run(copier, &common::FileCopier::Copy, listen);
}

bool Remove(const Work& work)
{
    common::FileRemover remover;
    remover.AddDirectory(QString::fromStdString(work.Target().string()));
    return Run(remover, &common::FileRemover::Remove, false);
}

bool RunProgram(std::vector<std::string> words)
{
    std::vector<char*> arguments(words.size() + 1, nullptr);
    std::transform(words.begin(), words.end(), arguments.begin(),
                   [](std::string& word) { return word.data(); });
    pid_t child = 0;
    int status = -1;
    return posix_spawnp(&child, arguments.front(), nullptr, nullptr, arguments.data(), environ) == 0 &&
           waitpid(child, &status, 0) == child && status == 0;
}

/// Returns a directory below `place` whose source tree has `files` files. The first call creates it; later
/// calls reuse it.
const Work& TreeOf(const fs::path& place, std::int64_t files)
{
    static std::map<std::pair<fs::path, std::int64_t>, Work> trees;
    const auto [tree, isNew] = trees.try_emplace({place, files}, place);
    if (isNew) {
        tree->second.MakeTree(files);
    }
    return tree->second;
}

/// Measures `step`. Runs `prepare` before each round, and clears the directory after each round.
template<class Prepare, class Step>
void Measure(benchmark::State& state, const Work& work, const Prepare& prepare, const Step& step)
{
    for (auto _ : state) {
        state.PauseTiming();
        prepare();
        state.ResumeTiming();
        const bool ok = step();
        state.PauseTiming();
        work.Clear();
        state.ResumeTiming();
        if (!ok) {
            state.SkipWithError("the job failed");
            return;
        }
    }
}

void CopyTree(benchmark::State& state, const char* variant, const fs::path& place)
{
    const std::string name = variant;
    const std::int64_t files = state.range(0);
    const Work& work = TreeOf(place, files);
    Measure(
        state, work, [] {},
        [&] {
            return name == "cp" ? RunProgram({"cp", "-r", work.Source().string(), work.Target().string()})
                                : Copy(work, name == "listening");
        });
    state.SetItemsProcessed(state.iterations() * files);
}

void CopyBigFile(benchmark::State& state, bool ours)
{
    // Use memory if possible: on a disk, the same copy takes from one to nine seconds, even with cp.
    static const Work work(HasRoomInMemory() ? fs::path(memory) : fs::temp_directory_path());
    if (!fs::exists(work.Source())) {
        work.MakeBigFile();
    }
    const auto copyByProgram = [] {
        return RunProgram({"cp", "--reflink=auto", work.Source().string(), work.Target().string()});
    };
    // Warm up, because a virtual machine has to reclaim memory that it has not used recently.
    const auto warmUp = [copyByProgram] {
        copyByProgram();
        work.Clear();
    };
    Measure(state, work, warmUp, [&] { return ours ? Copy(work, false) : copyByProgram(); });
    state.SetBytesProcessed(state.iterations() * bigFileSize);
}

void RemoveTree(benchmark::State& state, bool ours, const fs::path& place)
{
    const std::int64_t files = state.range(0);
    const Work& work = TreeOf(place, files);
    Measure(
        state, work, [&] { work.CopyTree(); },
        [&] {
            return ours ? Remove(work) : RunProgram({"rm", "-rf", work.Target().string()});
        });
    state.SetItemsProcessed(state.iterations() * files);
}

/// Measures the heap memory of a copier's lists, for paths of 60 characters.
void ListMemory(benchmark::State& state)
{
    constexpr int items = 200000;
    double bytes = 0;
    for (auto _ : state) {
        const std::size_t before = mallinfo2().uordblks + mallinfo2().hblkhd;
        common::FileCopier copier;
        for (int i = 0; i < items; ++i) {
            const QString name = QStringLiteral("/%1").arg(i, 59, 10, QLatin1Char('0'));
            copier.AddFile(QString(name), QString(name));
        }
        bytes = static_cast<double>(mallinfo2().uordblks + mallinfo2().hblkhd - before);
    }
    state.counters["bytes an item"] = bytes / items;
    state.SetItemsProcessed(state.iterations() * items);
}

template<class Benchmark>
Benchmark* Repeated(int times, Benchmark* benchmark)
{
    return benchmark->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(times);
}

void RegisterTrees(const std::string& where, const fs::path& place, const std::vector<std::int64_t>& sizes)
{
    const auto trees = [&](const std::string& name, auto... arguments) {
        for (const std::int64_t size : sizes) {
            Repeated(size == smallTree ? 10 : 1,
                     benchmark::RegisterBenchmark(name.c_str(), arguments..., place))
                ->Arg(size);
        }
    };
    trees("copy of a tree" + where + "/vxcommon", CopyTree, "vxcommon");
    trees("copy of a tree" + where + "/with a progress receiver", CopyTree, "listening");
    trees("copy of a tree" + where + "/cp -r", CopyTree, "cp");
    trees("removal of a tree" + where + "/vxcommon", RemoveTree, true);
    trees("removal of a tree" + where + "/rm -rf", RemoveTree, false);
}

void Register()
{
    RegisterTrees("", fs::temp_directory_path(), {smallTree, largeTree});
    if (HasRoomInMemory()) {
        RegisterTrees(" in memory", memory, {smallTree, largeTree, hugeTree});
    }
    Repeated(5, benchmark::RegisterBenchmark("copy of a file of 2 GiB/vxcommon", CopyBigFile, true));
    Repeated(5,
             benchmark::RegisterBenchmark("copy of a file of 2 GiB/cp --reflink=auto", CopyBigFile, false));
    Repeated(1, benchmark::RegisterBenchmark("list of a copier/vxcommon", ListMemory));
}

} // namespace

} // namespace bench

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    bench::Register();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
