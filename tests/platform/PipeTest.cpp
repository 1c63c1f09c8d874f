#include "Quoll/WideString.h"
#include "support/CodeOf.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace
{

using namespace Quoll::Literals;
using Quoll::WString;
using Quoll::Tests::CodeOf;

constexpr DWORD limit = 60000;

/// An overlapped operation's record, event and buffer.
struct Io
{
    explicit Io(std::size_t size = 64)
        : buffer(size, 0)
    {
        record.hEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    }
    Io(const Io&) = delete;
    Io& operator=(const Io&) = delete;
    ~Io()
    {
        CloseHandle(record.hEvent);
    }
    /// The operation's outcome: code and count, waiting for it.
    std::pair<DWORD, DWORD> Result(HANDLE pipe)
    {
        if (WaitForSingleObject(record.hEvent, limit) != WAIT_OBJECT_0)
        {
            return {WAIT_TIMEOUT, 0};
        }
        DWORD count = 0;
        const DWORD code = CodeOf(GetOverlappedResult(pipe, &record, &count, FALSE));
        return {code, count};
    }
    bool IsSet() const
    {
        return WaitForSingleObject(record.hEvent, 0) == WAIT_OBJECT_0;
    }

    OVERLAPPED record{};
    std::string buffer;
};

using Outcome = std::pair<DWORD, DWORD>;

DWORD StartRead(HANDLE pipe, Io& io)
{
    DWORD count = 0;
    return CodeOf(ReadFile(pipe, io.buffer.data(), static_cast<DWORD>(io.buffer.size()), &count, &io.record));
}

DWORD StartWrite(HANDLE pipe, Io& io)
{
    DWORD count = 0;
    return CodeOf(WriteFile(pipe, io.buffer.data(), static_cast<DWORD>(io.buffer.size()), &count, &io.record));
}

DWORD Write(HANDLE pipe, std::string_view text)
{
    Io io;
    io.buffer = text;
    const DWORD code = StartWrite(pipe, io);
    return code == ERROR_IO_PENDING ? io.Result(pipe).first : code;
}

/// The next message, or the error as text.
std::string Read(HANDLE pipe, std::size_t size = 64)
{
    Io io(size);
    const DWORD code = StartRead(pipe, io);
    if (code != ERROR_IO_PENDING && code != ERROR_SUCCESS && code != ERROR_MORE_DATA)
    {
        return "error " + std::to_string(code);
    }
    const auto [result, count] = io.Result(pipe);
    if (result != ERROR_SUCCESS && result != ERROR_MORE_DATA)
    {
        return "error " + std::to_string(result);
    }
    return io.buffer.substr(0, count) + (result == ERROR_MORE_DATA ? "+" : "");
}

class PipeContract : public testing::Test
{
protected:
    PipeContract()
    {
        static int number = 0;
        const std::string text = std::to_string(GetCurrentProcessId()) + "-" + std::to_string(++number);
        name = WString("\\\\.\\pipe\\quoll-contract-"_w) + WString(text.begin(), text.end());
    }
    ~PipeContract() override
    {
        Close(client);
        Close(server);
    }

    static void Close(HANDLE& handle)
    {
        if (handle != INVALID_HANDLE_VALUE)
        {
            CloseHandle(std::exchange(handle, INVALID_HANDLE_VALUE));
        }
    }
    HANDLE CreateInstance(DWORD most = PIPE_UNLIMITED_INSTANCES, DWORD size = 4096, DWORD extra = 0) const
    {
        return CreateNamedPipeW(name.c_str(), PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED | extra,
                                PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE, most, size, size, 0, nullptr);
    }
    HANDLE OpenClient() const
    {
        return CreateFileW(name.c_str(), GENERIC_READ | FILE_WRITE_DATA | FILE_WRITE_ATTRIBUTES, 0, nullptr,
                           OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr);
    }
    void OpenMessageClient()
    {
        client = OpenClient();
        ASSERT_NE(client, INVALID_HANDLE_VALUE) << GetLastError();
        DWORD mode = PIPE_READMODE_MESSAGE;
        ASSERT_TRUE(SetNamedPipeHandleState(client, &mode, nullptr, nullptr));
    }
    void ConnectBoth(DWORD size = 4096)
    {
        server = CreateInstance(PIPE_UNLIMITED_INSTANCES, size);
        ASSERT_NE(server, INVALID_HANDLE_VALUE) << GetLastError();
        Io connect;
        ASSERT_EQ(CodeOf(ConnectNamedPipe(server, &connect.record)), DWORD{ERROR_IO_PENDING});
        OpenMessageClient();
        ASSERT_EQ(connect.Result(server), Outcome(ERROR_SUCCESS, 0));
    }

    WString name;
    HANDLE server = INVALID_HANDLE_VALUE;
    HANDLE client = INVALID_HANDLE_VALUE;
};

TEST_F(PipeContract, MessagesKeepTheirBoundsBothWays)
{
    ConnectBoth();
    EXPECT_EQ(Write(client, "one"), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(Write(client, ""), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(Write(client, "three"), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(Read(server), "one");
    EXPECT_EQ(Read(server), "");
    EXPECT_EQ(Read(server), "three");
    EXPECT_EQ(Write(server, "back"), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(Read(client), "back");

    Write(client, "0123456789");
    Write(client, "next");
    EXPECT_EQ(Read(server, 0), "+");
    EXPECT_EQ(Read(server, 4), "0123+");
    EXPECT_EQ(Read(server, 4), "4567+");
    EXPECT_EQ(Read(server, 4), "89");
    EXPECT_EQ(Read(server, 4), "next");
}

TEST_F(PipeContract, AReadShorterThanTheMessageReportsMoreData)
{
    ConnectBoth();
    Io io(4);
    ASSERT_EQ(StartRead(server, io), DWORD{ERROR_IO_PENDING});
    DWORD count = 0;
    EXPECT_EQ(CodeOf(GetOverlappedResult(server, &io.record, &count, FALSE)), DWORD{ERROR_IO_INCOMPLETE});
    Write(client, "0123456789");
    EXPECT_EQ(io.Result(server), Outcome(ERROR_MORE_DATA, 4));
    ASSERT_EQ(StartRead(server, io), DWORD{ERROR_MORE_DATA}); // at once, and tells the event as well
    EXPECT_TRUE(io.IsSet());
    EXPECT_EQ(Read(server), "89");
    ASSERT_EQ(StartRead(server, io), DWORD{ERROR_IO_PENDING});
    EXPECT_FALSE(io.IsSet());
    Write(client, "end");
    EXPECT_EQ(io.Result(server), Outcome(ERROR_SUCCESS, 3));
}

TEST_F(PipeContract, AReadStartedWhileAnotherThreadWaitsOnItsEventReachesThatThread)
{
    ConnectBoth();
    Io io;
    const HANDLE started = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    std::thread waiter([&] {
        SetEvent(started);
        EXPECT_EQ(WaitForSingleObject(io.record.hEvent, limit), WAIT_OBJECT_0);
    });
    WaitForSingleObject(started, limit);
    for (int i = 0; i < 100; ++i)
    {
        std::this_thread::yield(); // so that the waiter sleeps by now, more often than not
    }
    ASSERT_EQ(StartRead(server, io), DWORD{ERROR_IO_PENDING});
    Write(client, "wake");
    waiter.join();
    EXPECT_EQ(io.Result(server), Outcome(ERROR_SUCCESS, 4));
    CloseHandle(started);
}

TEST_F(PipeContract, AWaitForAllTakesOperationsAndPlainEventsTogether)
{
    ConnectBoth();
    Io atServer;
    Io atClient;
    const HANDLE plain = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    ASSERT_EQ(StartRead(server, atServer), DWORD{ERROR_IO_PENDING});
    ASSERT_EQ(StartRead(client, atClient), DWORD{ERROR_IO_PENDING});
    std::thread others([&] {
        Write(client, "one");
        SetEvent(plain);
        Write(server, "two");
    });
    const std::array<HANDLE, 3> all{atServer.record.hEvent, plain, atClient.record.hEvent};
    EXPECT_EQ(WaitForMultipleObjects(3, all.data(), TRUE, limit), WAIT_OBJECT_0);
    others.join();
    EXPECT_EQ(atServer.Result(server), Outcome(ERROR_SUCCESS, 3));
    EXPECT_EQ(atClient.Result(client), Outcome(ERROR_SUCCESS, 3));
    CloseHandle(plain);
}

TEST_F(PipeContract, AWriteBeyondTheQuotaPendsUntilItIsRead)
{
    ConnectBoth(512);
    std::vector<std::unique_ptr<Io>> writes;
    DWORD code = ERROR_SUCCESS;
    while (code == ERROR_SUCCESS && writes.size() < 10000)
    {
        writes.push_back(std::make_unique<Io>());
        code = StartWrite(client, *writes.back());
    }
    ASSERT_EQ(code, DWORD{ERROR_IO_PENDING});
    for (std::size_t i = 0; i < writes.size(); ++i)
    {
        EXPECT_EQ(Read(server), std::string(64, 0));
    }
    EXPECT_EQ(writes.back()->Result(client), Outcome(ERROR_SUCCESS, 64));
}

TEST_F(PipeContract, CancelEndsAPendingReadAndFindsNothingElse)
{
    ConnectBoth();
    Io io;
    ASSERT_EQ(StartRead(server, io), DWORD{ERROR_IO_PENDING});
    OVERLAPPED other{};
    EXPECT_EQ(CodeOf(CancelIoEx(server, &other)), DWORD{ERROR_NOT_FOUND});
    EXPECT_TRUE(CancelIoEx(server, &io.record));
    EXPECT_EQ(io.Result(server).first, DWORD{ERROR_OPERATION_ABORTED});
    Write(client, "after");
    EXPECT_EQ(Read(server), "after");
}

TEST_F(PipeContract, CancelIoReachesOnlyTheCallersOperations)
{
    ConnectBoth();
    Io io;
    ASSERT_EQ(StartRead(server, io), DWORD{ERROR_IO_PENDING});
    std::thread([&] { EXPECT_TRUE(CancelIo(server)); }).join();
    EXPECT_FALSE(io.IsSet());
    EXPECT_TRUE(CancelIo(server));
    EXPECT_EQ(io.Result(server).first, DWORD{ERROR_OPERATION_ABORTED});
}

TEST_F(PipeContract, AThreadsEndCancelsItsOperationsOnBothEnds)
{
    ConnectBoth();
    const HANDLE second = CreateInstance();
    const HANDLE other = OpenClient();
    CloseHandle(other); // closing one end leaves the others known
    Io atServer;
    Io atClient;
    std::thread([&] {
        EXPECT_EQ(StartRead(server, atServer), DWORD{ERROR_IO_PENDING});
        EXPECT_EQ(StartRead(client, atClient), DWORD{ERROR_IO_PENDING});
    }).join();
    EXPECT_EQ(atServer.Result(server).first, DWORD{ERROR_OPERATION_ABORTED});
    EXPECT_EQ(atClient.Result(client).first, DWORD{ERROR_OPERATION_ABORTED});
    CloseHandle(second);
}

TEST_F(PipeContract, AClosedEndLeavesItsMessagesThenBreaks)
{
    for (const auto& [closing, staying] : {std::pair{&server, &client}, {&client, &server}})
    {
        Close(client);
        ConnectBoth();
        Write(*closing, "last");
        Close(*closing);
        EXPECT_EQ(Write(*staying, "x"), DWORD{ERROR_NO_DATA});
        EXPECT_EQ(Read(*staying), "last");
        EXPECT_EQ(Read(*staying), "error 109");
    }
    OVERLAPPED record{};
    EXPECT_EQ(CodeOf(ConnectNamedPipe(server, &record)), DWORD{ERROR_NO_DATA});
}

TEST_F(PipeContract, DisconnectDropsWhatIsUnreadOnBothEnds)
{
    ConnectBoth();
    Write(server, "to the client");
    Write(client, "to the server");
    ASSERT_TRUE(DisconnectNamedPipe(server));
    EXPECT_EQ(Read(client), "error 233");
    EXPECT_EQ(Write(client, "x"), DWORD{ERROR_PIPE_NOT_CONNECTED});
    EXPECT_EQ(Read(server), "error 233");
    EXPECT_EQ(Write(server, "x"), DWORD{ERROR_PIPE_NOT_CONNECTED});
    EXPECT_EQ(CodeOf(DisconnectNamedPipe(server)), DWORD{ERROR_PIPE_NOT_CONNECTED});
}

TEST_F(PipeContract, DisconnectEndsPendingReadsOfBothEndsAndTheInstanceServesAgain)
{
    ConnectBoth();
    Io atServer;
    Io atClient;
    ASSERT_EQ(StartRead(server, atServer), DWORD{ERROR_IO_PENDING});
    ASSERT_EQ(StartRead(client, atClient), DWORD{ERROR_IO_PENDING});
    ASSERT_TRUE(DisconnectNamedPipe(server));
    EXPECT_EQ(atServer.Result(server).first, DWORD{ERROR_PIPE_NOT_CONNECTED});
    EXPECT_EQ(atClient.Result(client).first, DWORD{ERROR_PIPE_NOT_CONNECTED});
    Close(client);

    Io connect;
    ASSERT_EQ(CodeOf(ConnectNamedPipe(server, &connect.record)), DWORD{ERROR_IO_PENDING});
    OpenMessageClient();
    ASSERT_EQ(connect.Result(server).first, DWORD{ERROR_SUCCESS});
    Write(client, "again");
    EXPECT_EQ(Read(server), "again");
}

TEST_F(PipeContract, AClientThatCameFirstIsConnectedAtOnceWithoutTheEvent)
{
    server = CreateInstance();
    OpenMessageClient();
    Io connect;
    EXPECT_EQ(CodeOf(ConnectNamedPipe(server, &connect.record)), DWORD{ERROR_PIPE_CONNECTED});
    EXPECT_FALSE(connect.IsSet());
    Close(client);
    EXPECT_EQ(CodeOf(ConnectNamedPipe(server, &connect.record)), DWORD{ERROR_NO_DATA});
}

TEST_F(PipeContract, InstancesRunOutAndWaitersAreToldOfAFreeOne)
{
    server = CreateInstance(1);
    EXPECT_EQ(CodeOf(CreateInstance(1) != INVALID_HANDLE_VALUE), DWORD{ERROR_PIPE_BUSY});
    OpenMessageClient();
    EXPECT_EQ(CodeOf(OpenClient() != INVALID_HANDLE_VALUE), DWORD{ERROR_PIPE_BUSY});
    EXPECT_EQ(CodeOf(WaitNamedPipeW(name.c_str(), 20)), DWORD{ERROR_SEM_TIMEOUT});

    std::thread waiter([&] { EXPECT_TRUE(WaitNamedPipeW(name.c_str(), limit)) << GetLastError(); });
    DisconnectNamedPipe(server);
    Io connect;
    ASSERT_FALSE(ConnectNamedPipe(server, &connect.record));
    waiter.join();
    EXPECT_TRUE(CancelIoEx(server, nullptr));
    EXPECT_EQ(connect.Result(server).first, DWORD{ERROR_OPERATION_ABORTED});
}

TEST_F(PipeContract, NamesAreCheckedAndCaseDoesNotMatter)
{
    EXPECT_EQ(CodeOf(OpenClient() != INVALID_HANDLE_VALUE), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(CodeOf(WaitNamedPipeW(name.c_str(), 20)), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(CreateNamedPipeW("no pipe"_w, PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED, PIPE_TYPE_MESSAGE, 1, 0, 0, 0,
                               nullptr),
              INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_NAME});

    server = CreateInstance();
    for (Quoll::WChar& unit : name)
    {
        unit = unit >= 'a' && unit <= 'z' ? static_cast<Quoll::WChar>(unit - 32) : unit;
    }
    OpenMessageClient();
}

TEST_F(PipeContract, EachEndKnowsTheOthersProcess)
{
    ConnectBoth();
    for (const HANDLE end : {server, client})
    {
        ULONG ofClient = 0;
        ULONG ofServer = 0;
        EXPECT_TRUE(GetNamedPipeClientProcessId(end, &ofClient));
        EXPECT_TRUE(GetNamedPipeServerProcessId(end, &ofServer));
        EXPECT_EQ(ofClient, GetCurrentProcessId());
        EXPECT_EQ(ofServer, GetCurrentProcessId());
    }
}

} // namespace
