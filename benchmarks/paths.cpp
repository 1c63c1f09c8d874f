// Path arithmetic beside std::filesystem::path, on a path of 60 units in each one's own spelling. A result costs one
// allocation and no other; the program counts them before it measures.
#include "Quoll/Path.h"
#include "Ratios.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <string>

namespace
{

std::size_t g_allocations = 0;

} // namespace

// Out of line, or the compiler takes the two for a mismatch.
[[gnu::noinline]] void* operator new(std::size_t size)
{
    ++g_allocations;
    if (void* const memory = std::malloc(size))
    {
        return memory;
    }
    throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void* memory) noexcept
{
    std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

namespace
{

using namespace Quoll;
using namespace Quoll::Literals;
using Utilities::Path;
using HostPath = std::filesystem::path;

const WString Ours = "C:\\Program Files\\Example Product\\Logs\\service-2024-01-31.log"_w;
const HostPath Theirs = "/c/Program Files/Example Product/Logs/service-2024-01-31.log";
const WString OurDirectory = Path::GetDirectory(Ours);
const HostPath TheirDirectory = Theirs.parent_path();
const WString OurName = Path::GetFileName(Ours);
const HostPath TheirName = Theirs.filename();
const WString OurDotted = "C:\\Program Files\\.\\Example Product\\Data\\..\\service-01-31.log"_w;
const HostPath TheirDotted = "/c/Program Files/./Example Product/Data/../service-01-31.log";

template<class Action>
void Measure(const char* name, Action action)
{
    benchmark::RegisterBenchmark(name, [action](benchmark::State& state) {
        for (auto _ : state)
        {
            benchmark::DoNotOptimize(action());
        }
    });
}

// Ours allocates as often as it has a result, or the program ends.
template<class Action, class Peer>
void Compare(const std::string& name, std::size_t results, Action action, Peer peer)
{
    const std::size_t before = g_allocations;
    benchmark::DoNotOptimize(action());
    if (g_allocations - before != results)
    {
        std::fprintf(stderr, "%s: %zu allocations\n", name.c_str(), g_allocations - before);
        std::exit(1);
    }
    Measure((name + "/quoll").c_str(), action);
    Measure((name + "/std-path").c_str(), peer);
}

void CompareParts()
{
    Compare("directory", 1, [] { return Path::GetDirectory(Ours); }, [] { return Theirs.parent_path(); });
    Compare("file-name", 1, [] { return Path::GetFileName(Ours); }, [] { return Theirs.filename(); });
    // Four units fit into a string without an allocation.
    Compare("extension", 0, [] { return Path::GetExtension(Ours); }, [] { return Theirs.extension(); });
    Compare(
        "remove-extension", 1, [] { return Path::RemoveExtension(Ours); },
        [] { return HostPath(Theirs).replace_extension(); });
    Compare("drive", 0, [] { return Path::GetDrive(Ours); }, [] { return Theirs.root_directory(); });
}

void CompareJoins()
{
    Compare(
        "combine", 1, [] { return Path::Combine(OurDirectory, OurName); }, [] { return TheirDirectory / TheirName; });
    Compare(
        "insert-number", 1, [] { return Path::InsertBeforeExtension(Ours, '_', 31); },
        [] {
            HostPath path = Theirs.parent_path() / Theirs.stem();
            path += "_";
            path += std::to_string(31);
            path += Theirs.extension();
            return path;
        });
    Compare(
        "canonical", 1, [] { return Path::MakeCanonical(OurDotted); }, [] { return TheirDotted.lexically_normal(); });
    Compare(
        "remove-identifier", 1, [] { return Path::RemoveLongPathIdentifier(Ours); }, [] { return HostPath(Theirs); });
}

void CompareKinds()
{
    Compare("is-absolute", 0, [] { return Path::IsAbsolutePath(Ours); }, [] { return Theirs.is_absolute(); });
    Compare("is-root", 0, [] { return Path::IsRootPath(Ours); }, [] { return Theirs == Theirs.root_path(); });
}

} // namespace

int main(int argc, char** argv)
{
    CompareParts();
    CompareJoins();
    CompareKinds();
    return Benchmarks::RunAndCompare(argc, argv);
}
