// Walks, deletes and copies a tree, and makes paths canonical, beside fts(3) and the standard library. The
// tree lies in TMPDIR or /tmp: put it into memory to leave the disk out.

#include "zeb/filesystem/Directory.h"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <fts.h>
#include <string>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using FileSystem::Directory;
using FileSystem::File;

constexpr int FOLDERS = 10, FILES = 18; // 10 * 10 folders of 18 files

std::string const& Top() {
    static std::string const top = fs::temp_directory_path() / ("zeb-bench-" + std::to_string(getpid()));
    return top;
}

long MakeTree() {
    for (int i = 0; i < FOLDERS * FOLDERS; ++i) {
        fs::path const folder = Top() + "/" + std::to_string(i / FOLDERS) + "/" + std::to_string(i % FOLDERS);
        fs::create_directories(folder);
        for (int j = 0; j < FILES; ++j)
            std::ofstream(folder / ("file" + std::to_string(j))) << j;
    }
    return FOLDERS * FOLDERS * (FILES + 1) + FOLDERS;
}

struct Tree {
    Tree() { entries = MakeTree(); }
    ~Tree() { fs::remove_all(Top()); }
    long entries;
};

// Entries below a folder.
long CountOurs(CString const& path) {
    AutoPVector<File, StdDeleter> files;
    if (Directory::GetFileList(path, files).Failed()) return 0;
    long count = 0;
    for (File const* file : files) {
        File::Attributes kind;
        if (!File::GetLAttrs(file->Path(), kind)) continue;
        count += kind == File::DIRECTORY ? 1 + CountOurs(file->Path()) : 1;
    }
    return count;
}

template<class VisitT>
void WalkFts(std::string path, VisitT const& visit) {
    char* const roots[] = {path.data(), nullptr};
    FTS* const walk = fts_open(roots, FTS_PHYSICAL | FTS_NOCHDIR, nullptr);
    while (FTSENT* const entry = fts_read(walk))
        visit(*entry);
    fts_close(walk);
}

long CountFts() {
    long count = -1; // the folder itself
    WalkFts(Top(), [&](FTSENT const& entry) { count += entry.fts_info != FTS_DP; });
    return count;
}

long CountStd() {
    long count = 0;
    for (auto const& entry : fs::recursive_directory_iterator(Top()))
        count += entry.symlink_status().type() != fs::file_type::none;
    return count;
}

void RemoveFts() {
    WalkFts(Top(), [](FTSENT const& entry) {
        if (entry.fts_info != FTS_D) remove(entry.fts_path);
    });
}

template<class CountT>
void Walk(benchmark::State& state, CountT const& count) {
    Tree const tree;
    for (auto _ : state)
        if (count() != tree.entries) state.SkipWithError("another count");
    state.SetItemsProcessed(state.iterations() * tree.entries);
}

template<class DeleteT>
void Delete(benchmark::State& state, DeleteT const& deleteAll) {
    long entries = 0;
    for (auto _ : state) {
        state.PauseTiming();
        entries = MakeTree();
        state.ResumeTiming();
        deleteAll();
        if (fs::exists(Top())) state.SkipWithError("something is left");
    }
    state.SetItemsProcessed(state.iterations() * entries);
}

template<class CopyT>
void Copy(benchmark::State& state, CopyT const& copy) {
    Tree const tree;
    std::string const to = Top() + "-copy";
    for (auto _ : state) {
        copy(to);
        state.PauseTiming();
        fs::remove_all(to);
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * tree.entries);
}

constexpr char const PATH[] = "/usr/share/../lib//modules/./5.15.0/kernel/../build/";

void WalkOurs(benchmark::State& state) {
    Walk(state, [] { return CountOurs(CString(Top().c_str())); });
}
void WalkFtsPeer(benchmark::State& state) { Walk(state, CountFts); }
void WalkStd(benchmark::State& state) { Walk(state, CountStd); }

void DeleteOurs(benchmark::State& state) {
    Delete(state, [] { benchmark::DoNotOptimize(Directory::Delete(Top().c_str(), Directory::RECURSIVE)); });
}
void DeleteFts(benchmark::State& state) { Delete(state, RemoveFts); }
void DeleteStd(benchmark::State& state) {
    Delete(state, [] { fs::remove_all(Top()); });
}

void CopyOurs(benchmark::State& state) {
    Copy(state, [](std::string const& to) {
        benchmark::DoNotOptimize(Directory::RecursiveCopy(Top().c_str(), to.c_str()));
    });
}
void CopyStd(benchmark::State& state) {
    Copy(state, [](std::string const& to) { fs::copy(Top(), to, fs::copy_options::recursive); });
}

void CanonicalOurs(benchmark::State& state) {
    for (auto _ : state) {
        String out;
        benchmark::DoNotOptimize(File::GetCanonicalPath(PATH, out, true));
    }
}
void CanonicalStd(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(fs::path(PATH).lexically_normal());
}

BENCHMARK(WalkOurs)->Name("Directory.Walk/ours");
BENCHMARK(WalkFtsPeer)->Name("Directory.Walk/fts");
BENCHMARK(WalkStd)->Name("Directory.Walk/std");
BENCHMARK(DeleteOurs)->Name("Directory.Delete/ours");
BENCHMARK(DeleteFts)->Name("Directory.Delete/fts");
BENCHMARK(DeleteStd)->Name("Directory.Delete/std");
BENCHMARK(CopyOurs)->Name("Directory.Copy/ours");
BENCHMARK(CopyStd)->Name("Directory.Copy/std");
BENCHMARK(CanonicalOurs)->Name("File.Canonical/ours");
BENCHMARK(CanonicalStd)->Name("File.Canonical/std");

} // namespace
