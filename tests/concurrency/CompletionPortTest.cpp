#include "Quoll/CompletionPort.h"

#include "Quoll/Errors.h"
#include "Quoll/NativePath.h"
#include "Quoll/WideString.h"
#include "support/CodeOf.h"
#include "support/TemporaryDirectory.h"
#include "support/Threads.h"
#include "support/Wine.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace
{

using namespace Quoll::Literals;
using Quoll::WString;
using Quoll::Tests::CodeOf;
using Quoll::Utilities::Completion;
using Quoll::Utilities::CompletionPort;
using Quoll::Utilities::SharedHandle;
using Quoll::Utilities::Win32Exception;

constexpr std::uint32_t limit = 60000;
constexpr std::uintptr_t serverKey = 7;

/// The next completion; its key is 0 if none comes in time.
Completion Next(CompletionPort& port)
{
    return port.Wait(limit).value_or(Completion());
}

bool IsEmpty(CompletionPort& port)
{
    return !port.Wait(0).has_value();
}

template<class Action>
std::uint32_t ErrorOf(Action action)
{
    try
    {
        action();
        return ERROR_SUCCESS;
    }
    catch (const Win32Exception& exception)
    {
        return exception.GetErrorCode();
    }
}

class CompletionPortPipes : public testing::Test
{
protected:
    CompletionPortPipes()
    {
        const std::string number = std::to_string(GetCurrentProcessId());
        const WString name = WString("\\\\.\\pipe\\quoll-port-"_w) + WString(number.begin(), number.end());
        server.Reset(CreateNamedPipeW(name.c_str(), PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED,
                                      PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE, 1, 4096, 4096, 0, nullptr));
        port.Associate(server.get(), serverKey);
        ConnectNamedPipe(server.get(), &connect);
        client.Reset(CreateFileW(name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                                 FILE_FLAG_OVERLAPPED, nullptr));
    }
    void SetUp() override
    {
        ASSERT_TRUE(server.IsValid());
        ASSERT_TRUE(client.IsValid());
        EXPECT_EQ(Next(port).overlapped, &connect);
    }

    DWORD Read(OVERLAPPED& record)
    {
        return ReadFile(server.get(), buffer.data(), 8, nullptr, &record) ? ERROR_SUCCESS : GetLastError();
    }
    void Send(const std::string& text) const
    {
        const SharedHandle event(CreateEventW(nullptr, TRUE, FALSE, nullptr));
        OVERLAPPED record{};
        record.hEvent = event.get();
        DWORD count = 0;
        WriteFile(client.get(), text.data(), static_cast<DWORD>(text.size()), nullptr, &record);
        ASSERT_TRUE(GetOverlappedResult(client.get(), &record, &count, TRUE));
    }

    CompletionPort port;
    SharedHandle server;
    SharedHandle client;
    OVERLAPPED connect{};
    std::array<char, 8> buffer{};
};

TEST_F(CompletionPortPipes, EachReadBringsItsOutcome)
{
    OVERLAPPED record{};
    ASSERT_EQ(Read(record), DWORD{ERROR_IO_PENDING});
    EXPECT_TRUE(IsEmpty(port));
    Send("later");
    const Completion later = Next(port);
    EXPECT_EQ(later.key, serverKey);
    EXPECT_EQ(later.overlapped, &record);
    EXPECT_EQ(later.bytes, 5U);
    EXPECT_EQ(later.error, DWORD{ERROR_SUCCESS});

    Send("too long for it");
    ASSERT_EQ(Read(record), DWORD{ERROR_MORE_DATA});
    const Completion part = Next(port);
    EXPECT_EQ(part.bytes, 8U);
    EXPECT_EQ(part.error, DWORD{ERROR_MORE_DATA});
    ASSERT_EQ(Read(record), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(Next(port).bytes, 7U);

    ASSERT_EQ(Read(record), DWORD{ERROR_IO_PENDING});
    client.Reset(nullptr);
    const Completion broken = Next(port);
    EXPECT_EQ(broken.overlapped, &record);
    EXPECT_EQ(broken.error, DWORD{ERROR_BROKEN_PIPE});
    EXPECT_EQ(Read(record), DWORD{ERROR_BROKEN_PIPE}); // at once, so the port isn't told
    EXPECT_TRUE(IsEmpty(port));
}

TEST_F(CompletionPortPipes, AnEventIsSetAsWellAndItsLowestBitKeepsThePortOut)
{
    const SharedHandle event(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    OVERLAPPED record{};
    record.hEvent = event.get();
    ASSERT_EQ(Read(record), DWORD{ERROR_IO_PENDING});
    Send("both");
    EXPECT_EQ(Next(port).bytes, 4U);
    EXPECT_EQ(WaitForSingleObject(event.get(), limit), WAIT_OBJECT_0);

    record.hEvent = reinterpret_cast<HANDLE>(reinterpret_cast<std::uintptr_t>(event.get()) | 1);
    ASSERT_EQ(Read(record), DWORD{ERROR_IO_PENDING});
    Send("event");
    EXPECT_EQ(WaitForSingleObject(event.get(), limit), WAIT_OBJECT_0);
    EXPECT_TRUE(IsEmpty(port));
}

TEST_F(CompletionPortPipes, AWriteThatWaitsForRoomEndsWithoutAWaiter)
{
    const std::string large(1 << 20, 'x');
    OVERLAPPED record{};
    ASSERT_EQ(CodeOf(WriteFile(server.get(), large.data(), static_cast<DWORD>(large.size()), nullptr, &record)),
              DWORD{ERROR_IO_PENDING});
    DWORD mode = PIPE_READMODE_MESSAGE;
    ASSERT_TRUE(SetNamedPipeHandleState(client.get(), &mode, nullptr, nullptr));
    std::string all(large.size(), 0);
    OVERLAPPED reading{};
    DWORD count = 0;
    ReadFile(client.get(), all.data(), static_cast<DWORD>(all.size()), nullptr, &reading);
    ASSERT_TRUE(GetOverlappedResult(client.get(), &reading, &count, TRUE));
    EXPECT_TRUE(all == large);
    EXPECT_EQ(Next(port).bytes, large.size());
}

TEST_F(CompletionPortPipes, OperationsOutliveTheirThreadAndEndByCancelling)
{
    OVERLAPPED record{};
    std::thread([&] { EXPECT_EQ(Read(record), DWORD{ERROR_IO_PENDING}); }).join();
    EXPECT_TRUE(IsEmpty(port));
    Send("after");
    EXPECT_EQ(Next(port).bytes, 5U);

    ASSERT_EQ(Read(record), DWORD{ERROR_IO_PENDING});
    ASSERT_TRUE(CancelIoEx(server.get(), &record));
    EXPECT_EQ(Next(port).error, DWORD{ERROR_OPERATION_ABORTED});
}

TEST_F(CompletionPortPipes, APipeHasOnePort)
{
    CompletionPort other;
    EXPECT_EQ(ErrorOf([&] { other.Associate(server.get(), 1); }), DWORD{ERROR_INVALID_PARAMETER});
    Send("still");
    OVERLAPPED record{};
    ASSERT_EQ(Read(record), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(Next(port).bytes, 5U);
}

TEST(CompletionPortTest, FilesForOverlappedUseBringCompletions)
{
    const Quoll::Tests::TemporaryDirectory folder;
    const WString name = Quoll::Utilities::NativePath::FromNative(folder.Path()) + "\\file"_w;
    CompletionPort port;
    const auto open = [&](DWORD flags) {
        return SharedHandle(
            CreateFileW(name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, flags, nullptr));
    };
    EXPECT_EQ(ErrorOf([&] { port.Associate(open(0).get(), 1); }), DWORD{ERROR_INVALID_PARAMETER});

    const SharedHandle file = open(FILE_FLAG_OVERLAPPED);
    port.Associate(file.get(), 1);
    OVERLAPPED record{};
    WriteFile(file.get(), "content", 7, nullptr, &record);
    EXPECT_EQ(Next(port).bytes, 7U);
    std::array<char, 16> content{};
    ReadFile(file.get(), content.data(), 16, nullptr, &record);
    const Completion read = Next(port);
    EXPECT_EQ(read.overlapped, &record);
    EXPECT_EQ(std::string(content.data(), read.bytes), "content");
}

TEST(CompletionPortTest, WhatIsNoFileIsRefused)
{
    CompletionPort port;
    const SharedHandle event(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    for (const HANDLE handle : {HANDLE{nullptr}, INVALID_HANDLE_VALUE, event.get()})
    {
        EXPECT_EQ(ErrorOf([&] { port.Associate(handle, 1); }), DWORD{ERROR_INVALID_HANDLE}) << handle;
    }
    DWORD bytes = 0;
    ULONG_PTR key = 0;
    OVERLAPPED* overlapped = nullptr;
    EXPECT_EQ(CodeOf(GetQueuedCompletionStatus(event.get(), &bytes, &key, &overlapped, 0)),
              DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(CodeOf(PostQueuedCompletionStatus(event.get(), 0, 0, nullptr)), DWORD{ERROR_INVALID_HANDLE});
}

TEST(CompletionPortTest, PostedOnesKeepTheirOrderAndEveryPart)
{
    CompletionPort port;
    OVERLAPPED record{};
    port.Post(1);
    port.Post(~std::uintptr_t{0}, 0xFFFFFFFF, &record);
    EXPECT_EQ(Next(port).key, 1U);
    const Completion second = Next(port);
    EXPECT_EQ(second.key, ~std::uintptr_t{0});
    EXPECT_EQ(second.bytes, 0xFFFFFFFF);
    EXPECT_EQ(second.overlapped, &record);
    EXPECT_FALSE(port.Wait(1).has_value());
}

TEST(CompletionPortTest, ClosingReleasesTheThreadsThatWait)
{
    if (Quoll::Tests::IsWine())
    {
        GTEST_SKIP() << "Wine lets them wait on, against what is documented.";
    }
    const HANDLE port = CreateIoCompletionPort(INVALID_HANDLE_VALUE, nullptr, 0, 0);
    std::vector<std::jthread> threads;
    for (int i = 0; i < 3; ++i)
    {
        threads.emplace_back([port] {
            DWORD bytes = 0;
            ULONG_PTR key = 0;
            OVERLAPPED* overlapped = nullptr;
            EXPECT_FALSE(GetQueuedCompletionStatus(port, &bytes, &key, &overlapped, limit));
            const DWORD error = GetLastError(); // the second is that of a thread that comes late
            EXPECT_TRUE(error == ERROR_ABANDONED_WAIT_0 || error == ERROR_INVALID_HANDLE) << error;
        });
    }
    EXPECT_TRUE(CloseHandle(port));
}

TEST(CompletionPortTest, EveryCompletionReachesOneOfManyThreads)
{
    constexpr unsigned posters = 4;
    constexpr std::uintptr_t each = 5000;
    constexpr std::uintptr_t end = 1;
    CompletionPort port;
    std::atomic<std::uintptr_t> sum{0};
    std::vector<std::jthread> takers;
    for (int i = 0; i < 4; ++i)
    {
        takers.emplace_back([&] {
            for (Completion next = Next(port); next.key > end; next = Next(port))
            {
                sum += next.key;
            }
        });
    }
    Quoll::Tests::OnThreads(posters, [&](unsigned poster) {
        for (std::uintptr_t i = 0; i < each; ++i)
        {
            port.Post(end + 1 + poster * each + i);
        }
    });
    for (std::size_t i = 0; i < takers.size(); ++i)
    {
        port.Post(end);
    }
    takers.clear();
    constexpr std::uintptr_t all = posters * each;
    EXPECT_EQ(sum, all * (end + 1) + all * (all - 1) / 2);
    EXPECT_TRUE(IsEmpty(port));
}

} // namespace
