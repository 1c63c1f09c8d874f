// What the kernel tells of modules, where it spells paths its own way.
#include "platform/linux/LoadedModules.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>

#include <sys/mman.h>

namespace Quoll::Platform
{

namespace
{

std::uintptr_t MapFile(const std::filesystem::path& path)
{
    std::ofstream(path) << "content" << std::flush;
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "re"), std::fclose);
    return reinterpret_cast<std::uintptr_t>(mmap(nullptr, 1, PROT_READ, MAP_PRIVATE, fileno(file.get()), 0));
}

TEST(LoadedModules, TheProgramsFileIsTheKernels)
{
    EXPECT_EQ(ModuleFile(ProgramModule()), std::filesystem::read_symlink("/proc/self/exe"));
    EXPECT_EQ(FindModule(ProgramModule()), ProgramModule());
    EXPECT_EQ(ModuleFile(0), "");
}

TEST(LoadedModules, FilesKeepTheirPathsWhateverTheirNamesAndFate)
{
    const Tests::TemporaryDirectory folder;
    const auto parent = std::filesystem::canonical(folder.Path());
    for (const char* name : {"plain", "line\nend", "gone (deleted)", "back\\slash", "\x80"})
    {
        const std::filesystem::path path = parent / name;
        const std::uintptr_t address = MapFile(path);
        EXPECT_EQ(ModuleFile(address), path.native());
        EXPECT_EQ(FindModule(address), 0u);
        std::filesystem::remove(path);
        EXPECT_EQ(ModuleFile(address), path.native());
        munmap(reinterpret_cast<void*>(address), 1);
    }
}

} // namespace

} // namespace Quoll::Platform
