// Where modules are, what their files are, and what the pages at an address are.
#include "Quoll/WideString.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <cstdint>

namespace Quoll::Tests
{

using namespace Quoll::Literals;

namespace
{

constexpr DWORD k_someError = 77;
constexpr DWORD k_fromAddress = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;

const int g_constant = 1;
int g_variable = 1;

void* At(std::uintptr_t address) noexcept
{
    return reinterpret_cast<void*>(address);
}

TEST(ModuleFileContract, TheProgramIsFoundByNullAndByAnAddress)
{
    const HMODULE program = GetModuleHandleW(nullptr);
    ASSERT_NE(program, nullptr);
    for (const void* address : {static_cast<const void*>(&g_constant), static_cast<const void*>(&g_variable),
                                static_cast<const void*>(program), static_cast<const void*>(nullptr)})
    {
        HMODULE module = nullptr;
        EXPECT_TRUE(GetModuleHandleExW(k_fromAddress, static_cast<LPCWSTR>(address), &module));
        EXPECT_EQ(module, program);
    }
    HMODULE module = program;
    EXPECT_TRUE(GetModuleHandleExW(0, "kernel32.dll"_w, &module));
    EXPECT_EQ(module, GetModuleHandleW("kernel32.dll"_w));
}

TEST(ModuleFileContract, RefusesOtherAddressesAndFlags)
{
    const struct
    {
        DWORD flags;
        DWORD error;
    } rows[] = {
        {k_fromAddress, ERROR_MOD_NOT_FOUND},
        {3, ERROR_INVALID_PARAMETER},
        {7, ERROR_INVALID_PARAMETER},
        {8, ERROR_INVALID_PARAMETER},
    };
    for (const auto& row : rows)
    {
        int onStack = 0;
        HMODULE module = GetModuleHandleW(nullptr);
        EXPECT_FALSE(GetModuleHandleExW(row.flags, reinterpret_cast<LPCWSTR>(&onStack), &module));
        EXPECT_EQ(GetLastError(), row.error) << row.flags;
        EXPECT_EQ(module, nullptr);
    }
}

TEST(ModuleFileContract, ASmallBufferIsFilledAndSuccessSetsTheLastError)
{
    WString path(32767, 'x');
    SetLastError(k_someError);
    const DWORD length = GetModuleFileNameW(nullptr, path.data(), 32767);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_SUCCESS});
    ASSERT_GT(length, 3u);
    path.resize(length + 1);
    EXPECT_EQ(path.find(WChar{0}), length);
    EXPECT_NE(path.find("\\quoll_tests"_w), WString::npos);

    WString part(length, 'x');
    EXPECT_EQ(GetModuleFileNameW(nullptr, part.data(), length), length);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
    EXPECT_EQ(part.substr(0, length - 1), path.substr(0, length - 1));

    EXPECT_EQ(GetModuleFileNameW(static_cast<HMODULE>(At(0x1234)), part.data(), length), 0u);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_MOD_NOT_FOUND});
}

TEST(MemoryQueryContract, PagesOfAModuleBelongToIt)
{
    for (const void* address : {static_cast<const void*>(&g_constant), static_cast<const void*>(&g_variable)})
    {
        MEMORY_BASIC_INFORMATION pages{};
        SetLastError(k_someError);
        ASSERT_EQ(VirtualQueryEx(GetCurrentProcess(), address, &pages, sizeof(pages)), sizeof(pages));
        EXPECT_EQ(GetLastError(), k_someError);
        EXPECT_EQ(pages.AllocationBase, static_cast<void*>(GetModuleHandleW(nullptr)));
        const auto offset = static_cast<const char*>(address) - static_cast<char*>(pages.BaseAddress);
        EXPECT_TRUE(offset >= 0 && offset < 4096) << offset;
        EXPECT_LT(static_cast<SIZE_T>(offset), pages.RegionSize);
        EXPECT_EQ(pages.State, DWORD{MEM_COMMIT});
        EXPECT_EQ(pages.Type, DWORD{MEM_IMAGE});
    }
}

TEST(MemoryQueryContract, OtherPagesAreNoModules)
{
    MEMORY_BASIC_INFORMATION pages{};
    int onStack = 0;
    ASSERT_EQ(VirtualQueryEx(GetCurrentProcess(), &onStack, &pages, sizeof(pages)), sizeof(pages));
    EXPECT_EQ(pages.Protect, DWORD{PAGE_READWRITE});
    EXPECT_EQ(pages.Type, DWORD{MEM_PRIVATE});
    EXPECT_NE(pages.AllocationBase, nullptr);

    ASSERT_EQ(VirtualQueryEx(GetCurrentProcess(), At(16), &pages, sizeof(pages)), sizeof(pages));
    EXPECT_EQ(pages.AllocationBase, nullptr);
    EXPECT_EQ(pages.BaseAddress, nullptr);
    EXPECT_EQ(pages.State, DWORD{MEM_FREE});
    EXPECT_EQ(pages.Protect, DWORD{PAGE_NOACCESS});
    EXPECT_EQ(pages.Type, 0u);
}

TEST(MemoryQueryContract, RefusesWhatIsNoAddress)
{
    MEMORY_BASIC_INFORMATION pages{};
    const HANDLE self = GetCurrentProcess();
    EXPECT_EQ(VirtualQueryEx(self, At(0xFFFF000000000000), &pages, sizeof(pages)), 0u);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(VirtualQueryEx(self, &pages, &pages, sizeof(pages) - 1), 0u);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_BAD_LENGTH});
    EXPECT_EQ(VirtualQueryEx(At(0x1234), &pages, &pages, sizeof(pages)), 0u);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
}

} // namespace

} // namespace Quoll::Tests
