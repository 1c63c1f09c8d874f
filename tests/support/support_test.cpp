// The tools that other tests rely on: a fault here would make those tests pass in vain.
#include "support/ChildProcess.h"
#include "support/ForcedFailure.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <thread>

using namespace Quoll::Literals;
using namespace Quoll::Tests;

namespace
{

// Called through the seam and from here, hence wrapped.
HMODULE Kernel()
{
    return GetModuleHandleW("kernel32.dll"_w);
}

const FARPROC lookedUpAtStart = GetProcAddress(Kernel(), "AcquireSRWLockShared");

CHILD_PROCESS(Echo)
{
    for (const auto& argument : arguments)
    {
        std::cout << '[' << argument << ']';
    }
    std::cout << std::endl;
    std::string line;
    std::getline(std::cin, line);
    std::cerr << "got " << line << std::endl;
    return std::atoi(line.c_str());
}

CHILD_PROCESS(LookedUpAtStart)
{
    return lookedUpAtStart != nullptr ? 1 : 2;
}

} // namespace

TEST(ChildProcess, CarriesArgumentsInputOutputAndExitCode)
{
    ChildProcess child("Echo", {"", "a b", "\"\\", "%41", "\xC3\xA4\n"});
    ASSERT_TRUE(child.WaitForOutput("[][a b][\"\\][%41][\xC3\xA4")) << child.Output();
    child.Write("42\n");
    EXPECT_EQ(child.Wait(), 42);
    EXPECT_NE(child.Output().find("got 42"), std::string::npos) << child.Output();
}

TEST(ChildProcess, WaitHasALimitAndKillEnds)
{
    ChildProcess slow("Echo");
    EXPECT_THROW(slow.Wait(std::chrono::milliseconds(50)), std::runtime_error);
    EXPECT_EQ(slow.Wait(), 137);
    ChildProcess unknown("NoSuchFunction");
    EXPECT_EQ(unknown.Wait(), 99);
}

TEST(ForcedFailure, CountsCallsAndThreads)
{
    const auto lookUp = [] {
        return GetProcAddress(Kernel(), "AcquireSRWLockShared") != nullptr;
    };
    ASSERT_TRUE(lookUp());
    {
        const ForcedFailure second(ForcedCall::GetProcAddress, ERROR_NOT_READY, {.nth = 2});
        EXPECT_TRUE(lookUp());
        EXPECT_FALSE(lookUp());
        EXPECT_EQ(GetLastError(), ERROR_NOT_READY);
        EXPECT_TRUE(lookUp());
        EXPECT_EQ(second.Failures(), 1u);
    }
    const ForcedFailure elsewhere(ForcedCall::GetProcAddress, ERROR_NOT_READY,
                                  {.later = true, .threads = FailingThreads::Others});
    EXPECT_TRUE(lookUp());
    std::thread([&] {
        EXPECT_FALSE(lookUp());
        EXPECT_FALSE(lookUp());
    }).join();
    EXPECT_EQ(elsewhere.Failures(), 2u);
}

TEST(ForcedFailure, HoldsDuringStaticInitialisationOfAChild)
{
    ChildProcess plain("LookedUpAtStart");
    EXPECT_EQ(plain.Wait(), 1) << plain.Output();
    ChildProcess failing("LookedUpAtStart", {}, {ForcedFromTheStart(ForcedCall::GetProcAddress, ERROR_PROC_NOT_FOUND)});
    EXPECT_EQ(failing.Wait(), 2) << failing.Output();
}

TEST(DebugOutputCapture, CatchesWhatGoesToTheDebugger)
{
    const DebugOutputCapture capture;
    OutputDebugStringW("one line"_w);
    EXPECT_EQ(capture.Lines(), std::vector<Quoll::WString>{"one line"_w});
    EXPECT_EQ(capture.Count("line"_w), 1u);
    EXPECT_FALSE(capture.Contains("two"_w));
}
