#include "Quoll/PipeClient.h"

#include "Quoll/PipeServer.h"

#include "pipes/PipeSupport.h"
#include "support/ForcedFailure.h"

#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <stdexcept>
#include <string>

namespace Quoll::Tests
{

using namespace Utilities;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using std::chrono::seconds;

namespace
{

std::string Bytes(const WString& text)
{
    return {text.begin(), text.end()};
}

// Reads on the server's end by the same class: a client may adopt any pipe's end.
struct Peers : ConnectedPipe
{
    explicit Peers(DWORD bufferSize = 4096, unsigned int timeout = 20000)
        : ConnectedPipe(bufferSize, timeout)
        , other("adopted"_w, 20000)
    {
        other.Open(server->pipe);
    }

    AsyncNamedPipeClient other;
};

TEST(PipeClient, HasDefaults)
{
    AsyncNamedPipeClient client("name"_w, 0);
    EXPECT_EQ(client.GetTimeout(), 5000u);
    EXPECT_EQ(client.GetEncoding(), NamedPipeMessageEncoding::Utf8);
    EXPECT_EQ(MessageOf<std::runtime_error>([] { AsyncNamedPipeClient(""_w, 1); }),
              "Named pipe name should not be empty");
}

TEST(PipeClient, TriesFiveTimesToFindAServer)
{
    const WString name = UniquePipeName();
    AsyncNamedPipeClient client(name, 100);
    const auto begin = Clock::now();
    const auto text = MessageOf<Win32Exception>([&] { client.Open(SharedHandle()); });
    EXPECT_GE(Clock::now() - begin, milliseconds(990));
    EXPECT_TRUE(text.starts_with("Failed to connect to the pipe: " + Bytes(name))) << text;
    EXPECT_EQ(CodeOf([&] { client.Open(SharedHandle()); }), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_FALSE(client.IsInitialized());
}

TEST(PipeClient, GivesUpOnABusyPipe)
{
    const WString name = UniquePipeName();
    const SharedHandle server = CreateServerEnd(name, 1);
    AsyncNamedPipeClient first(name, 100);
    first.Open(SharedHandle());
    AsyncNamedPipeClient second(name, 20);
    EXPECT_EQ(CodeOf([&] { second.Open(SharedHandle()); }), DWORD{ERROR_SEM_TIMEOUT});
}

TEST(PipeClient, ClosingEndsAWriteThatNobodyReads)
{
    const WString name = UniquePipeName();
    const SharedHandle server = CreateServerEnd(name);
    AsyncNamedPipeClient client(name, 0xFFFFFFFF);
    client.Open(SharedHandle());
    const WString message(1 << 22, 'x');
    const auto write = TaskScheduler::Run([&] { return CodeOf([&] { client.WriteMessageSync(message, true); }); },
                                          TaskPlacement::Pool);
    EXPECT_FALSE(write.WaitFor(50));
    client.Close();
    EXPECT_EQ(write.get(), DWORD{ERROR_OPERATION_ABORTED});
}

TEST(PipeClient, RefusesAServerAtOnce)
{
    const WString name = UniquePipeName();
    const SharedHandle server = CreateServerEnd(name);
    AsyncNamedPipeClient client(name, 1000);
    int asked = 0;
    client.SetAuthenticatePipe([&asked](const SharedHandle& pipe, bool isServer) {
        EXPECT_TRUE(pipe.IsValid());
        EXPECT_FALSE(isServer);
        ++asked;
        return false;
    });
    const auto text = MessageOf<Win32Exception>([&] { client.Open(SharedHandle()); });
    EXPECT_TRUE(text.starts_with("Error opening named pipe: " + Bytes(name) + ". Signature is invalid")) << text;
    EXPECT_EQ(asked, 1);
    EXPECT_FALSE(client.IsInitialized());

    ConnectedPipe open;
    open.client.SetAuthenticatePipe([](const SharedHandle&, bool) { return false; });
    EXPECT_NO_THROW(open.client.Open(SharedHandle())) << "nobody is asked of an open pipe";
}

TEST(PipeClient, ReadsMessagesOfAnyLength)
{
    Peers peers;
    for (const auto encoding : {NamedPipeMessageEncoding::Utf8, NamedPipeMessageEncoding::Utf16})
    {
        peers.client.SetEncoding(encoding);
        peers.other.SetEncoding(encoding);
        for (const std::size_t size : {std::size_t{1}, std::size_t{4096}, std::size_t{4097}, std::size_t{10000}})
        {
            const WString message(size, WChar('m'));
            const auto written = peers.other.WriteMessage(message, true);
            EXPECT_EQ(peers.client.ReadMessageSync(), message);
            written.get();
        }
    }
}

TEST(PipeClient, DamagesASequenceAcrossAChunkOnly)
{
    Peers peers(65536);
    const WString message = WString(4095, WChar('a')) + "é"_w + "rest"_w;
    peers.other.WriteMessageSync(message, true);
    EXPECT_EQ(peers.client.ReadMessageSync(), WString(4095, WChar('a')) + "\uFFFD\uFFFDrest"_w);
    peers.client.SetEncoding(NamedPipeMessageEncoding::Utf16);
    peers.other.SetEncoding(NamedPipeMessageEncoding::Utf16);
    const WString pair = WString(4095, WChar('a')) + "😀"_w;
    peers.other.WriteMessageSync(pair, true);
    EXPECT_EQ(peers.client.ReadMessageSync(), pair);
}

TEST(PipeClient, LosesNothingToATimeOut)
{
    Peers peers(4096, 20);
    EXPECT_EQ(MessageOf<std::runtime_error>([&] { peers.client.ReadMessage().get(); }),
              "Timeout expired while reading from named pipe");
    peers.other.WriteMessageSync("late"_w, true);
    peers.client.SetTimeout(20000);
    EXPECT_EQ(peers.client.ReadMessageSync(), "late"_w);
}

TEST(PipeClient, GivesUpAWriteThatNobodyTakes)
{
    Peers peers(512, 50);
    const WString message(1 << 21, WChar('w'));
    EXPECT_EQ(MessageOf<std::runtime_error>([&] { peers.client.WriteMessage(message, true).get(); }),
              "Timeout 50 expired while writing to named pipe");
    const auto begin = Clock::now();
    peers.client.Close();
    EXPECT_LT(Clock::now() - begin, seconds(5));
}

TEST(PipeClient, WritesWithoutWaiting)
{
    Peers peers(512);
    WString message(1 << 20, WChar('w'));
    for (std::size_t i = 0; i < message.size(); i += 1000)
    {
        message[i] = static_cast<WChar>('a' + i / 1000 % 26);
    }
    const auto begin = Clock::now();
    for (int i = 0; i < 3; ++i)
    {
        peers.client.WriteMessage(message, false).get();
    }
    EXPECT_LT(Clock::now() - begin, seconds(10));
    for (int i = 0; i < 3; ++i)
    {
        EXPECT_EQ(peers.other.ReadMessageSync(), message);
    }
    peers.client.WriteMessage(message, false).get();
    peers.client.Close();
}

TEST(PipeClient, TellsThatTheServerHasGone)
{
    {
        Peers peers;
        ASSERT_TRUE(::DisconnectNamedPipe(peers.server->pipe.get()));
        EXPECT_TRUE(
            MessageOf<Win32Exception>([&] { peers.client.WriteMessageSync("x"_w, true); }).starts_with("Disconnected"));
    }
    {
        ConnectedPipe pipe;
        pipe.server->pipe = SharedHandle();
        EXPECT_EQ(CodeOf([&] { pipe.client.ReadMessageSync(); }), DWORD{ERROR_BROKEN_PIPE});
        EXPECT_TRUE(MessageOf<Win32Exception>([&] {
                        pipe.client.WriteMessageSync("x"_w, true);
                    }).starts_with("Error writing to named pipe"));
        EXPECT_TRUE(pipe.client.IsInitialized());
        pipe.client.Close();
        EXPECT_EQ(CodeOf([&] { pipe.client.ReadMessage().get(); }), DWORD{ERROR_INVALID_HANDLE});
    }
}

TEST(PipeClient, TasksOutliveTheClient)
{
    Peers peers;
    std::optional<Task<WString>> read;
    {
        AsyncNamedPipeClient client("adopted"_w, 20000);
        client.Open(peers.server->pipe);
        read = client.ReadMessage();
        peers.client.WriteMessageSync("last"_w, true);
        read->WaitFor(50);
    }
    try
    {
        EXPECT_EQ(read->get(), "last"_w);
    }
    catch (const Win32Exception& exception)
    {
        EXPECT_EQ(exception.GetErrorCode(), DWORD{ERROR_INVALID_HANDLE}); // it started too late
    }
}

TEST(PipeClient, ReportsFailuresOfThePlatform)
{
    const auto read = [](ConnectedPipe& pipe) {
        pipe.client.ReadMessageSync();
    };
    const auto write = [](ConnectedPipe& pipe) {
        pipe.client.WriteMessageSync("x"_w, true);
    };
    const auto open = [](ConnectedPipe& pipe) {
        pipe.client.Close();
        pipe.client.Open(SharedHandle());
    };
    const auto adopt = [](ConnectedPipe& pipe) {
        pipe.client.Close();
        pipe.client.Open(pipe.server->pipe);
    };
    const struct
    {
        ForcedCall call;
        const char* text;
        void (*action)(ConnectedPipe&);
    } cases[] = {
        {ForcedCall::ReadFile, "Error reading from named pipe", read},
        {ForcedCall::WaitForSingleObject, "Error reading from named pipe", read},
        {ForcedCall::CreateEventW, "Error reading from named pipe", read},
        {ForcedCall::WriteFile, "Error writing to named pipe", write},
        {ForcedCall::CreateFileW, "Error opening named pipe: ", open},
        {ForcedCall::SetNamedPipeHandleState, "Failed to change NamedPipe state", adopt},
    };
    for (const auto& [call, text, action] : cases)
    {
        ConnectedPipe pipe;
        const ForcedFailure failure(call, ERROR_GEN_FAILURE, {.threads = FailingThreads::Calling});
        const auto thrown = MessageOf<Win32Exception>([&] { action(pipe); });
        EXPECT_TRUE(thrown.starts_with(text)) << thrown << ", expected " << text;
        EXPECT_EQ(failure.Failures(), 1u) << text;
    }
}

TEST(PipeClient, ReportsAFailedEndOfAWrite)
{
    Peers peers(512);
    const WString message(1 << 20, WChar('w'));
    const auto read = TaskScheduler::Run([&peers] { return peers.other.ReadMessageSync(); }, TaskPlacement::Pool);
    {
        const ForcedFailure failure(ForcedCall::GetOverlappedResult, ERROR_GEN_FAILURE,
                                    {.threads = FailingThreads::Calling});
        EXPECT_TRUE(MessageOf<Win32Exception>([&] {
                        peers.client.WriteMessageSync(message, true);
                    }).starts_with("Error writing to named pipe"));
    }
    EXPECT_EQ(read.get(), message);
}

} // namespace

} // namespace Quoll::Tests
