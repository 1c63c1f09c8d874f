#include "Quoll/PipeServerConnection.h"

#include "pipes/PipeSupport.h"
#include "support/Eventually.h"
#include "support/ForcedFailure.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <mutex>
#include <stdexcept>
#include <thread>

namespace Quoll::Tests
{

using namespace Utilities;
using Connection = ActiveNamedPipeServerConnection;

namespace
{

WString Repeated(WStringView piece, std::size_t times)
{
    WString text;
    for (std::size_t i = 0; i < times; ++i)
    {
        text += piece;
    }
    return text;
}

WString Echo(std::uint32_t, const WString& message)
{
    return message;
}

// A connection with id 7, connected to a client.
class PipeServerConnection : public testing::Test
{
protected:
    std::shared_ptr<Connection> Make(const Connection::MessageCallback& callback, std::uint32_t bufferSize = 64,
                                     NamedPipeMessageEncoding encoding = NamedPipeMessageEncoding::Utf8)
    {
        pipe.client.SetEncoding(encoding);
        return Connection::Create(
            7, pipe.server, 1000, bufferSize, encoding, callback,
            [this](std::uint32_t id) {
                EXPECT_EQ(id, 7u);
                ++drops;
            },
            log.Callback());
    }

    WString Ask(const WString& message)
    {
        pipe.client.WriteMessageSync(message, true);
        return pipe.client.ReadMessageSync();
    }

    ConnectedPipe pipe;
    LogCapture log;
    std::atomic<int> drops{0};
};

TEST_F(PipeServerConnection, AnswersMessagesOfAnyLength)
{
    for (const auto encoding : {NamedPipeMessageEncoding::Utf8, NamedPipeMessageEncoding::Utf16})
    {
        ConnectedPipe own;
        own.client.SetEncoding(encoding);
        const auto connection = Connection::Create(0, own.server, 0, 8, encoding, Echo, nullptr, nullptr);
        connection->Start();
        for (const WString& text : {WString("x"_w), Repeated("12345678"_w, 1), Repeated("12345678"_w, 1000)})
        {
            own.client.WriteMessageSync(text, true);
            EXPECT_EQ(own.client.ReadMessageSync(), text);
        }
    }
}

TEST_F(PipeServerConnection, DecodesEachChunkByItself)
{
    const auto connection = Make(Echo, 4);
    connection->Start();
    EXPECT_EQ(Ask("abcéd"_w), "abc\uFFFD\uFFFDd"_w);
}

TEST_F(PipeServerConnection, IgnoresEmptyMessagesAndSendsNoEmptyAnswer)
{
    std::atomic<int> calls{0};
    const auto connection = Make([&calls](std::uint32_t, const WString& message) {
        ++calls;
        return message == "silent"_w ? WString() : message;
    });
    connection->Start();
    pipe.client.WriteMessageSync(""_w, true);
    pipe.client.WriteMessageSync("silent"_w, true);
    EXPECT_EQ(Ask("loud"_w), "loud"_w);
    EXPECT_EQ(calls, 2);
}

TEST_F(PipeServerConnection, ReportsALostClientOnce)
{
    const auto connection = Make(Echo);
    connection->Start();
    connection->Start();
    EXPECT_EQ(Ask("here"_w), "here"_w);
    EXPECT_TRUE(connection->IsRunning());
    pipe.client.Close();
    EXPECT_TRUE(Eventually([&] { return !connection->IsRunning(); }));
    connection->Stop();
    EXPECT_EQ(drops, 1);
    EXPECT_EQ(log.Count("[ActiveNamedPipeServerConnection::ReadData] Step 0, clId:7"_w), 1u);
    EXPECT_EQ(log.Count("[ActiveNamedPipeServerConnection::ReadData] Step 1, clId:7"_w), 1u);
    EXPECT_GE(log.Count(", clId:7, message:here"_w), 1u);
    EXPECT_EQ(connection->GetId(), 7);
}

TEST_F(PipeServerConnection, StopsDuringAReadWithoutAReport)
{
    const auto connection = Make(Echo);
    connection->Start();
    EXPECT_EQ(Ask("here"_w), "here"_w);
    connection->Stop();
    EXPECT_FALSE(connection->IsRunning());
    EXPECT_EQ(drops, 0);
    EXPECT_EQ(CodeOf([&] { pipe.client.WriteMessageSync("gone?"_w, true); }), DWORD{ERROR_PIPE_NOT_CONNECTED});
}

TEST_F(PipeServerConnection, StopsWhenTheLastReferenceGoes)
{
    auto connection = Make(Echo);
    connection->Start();
    EXPECT_EQ(Ask("here"_w), "here"_w);
    connection.reset();
    EXPECT_NE(CodeOf([&] { pipe.client.ReadMessageSync(); }), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(drops, 0);
}

TEST_F(PipeServerConnection, StopsWhileTheClientDoesNotRead)
{
    std::atomic<bool> called{false};
    const auto connection = Make([&called](std::uint32_t, const WString&) {
        called = true;
        return Repeated("a long answer "_w, 200000);
    });
    connection->Start();
    pipe.client.WriteMessageSync("go"_w, true);
    ASSERT_TRUE(Eventually([&] { return called.load(); }));
    const auto begin = std::chrono::steady_clock::now();
    connection->Stop();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
    EXPECT_EQ(drops, 0);
}

TEST_F(PipeServerConnection, DropsTheClientWhenACallbackThrows)
{
    const DebugOutputCapture debug;
    const auto connection = Make([](std::uint32_t, const WString&) -> WString { throw std::runtime_error("oops"); });
    connection->Start();
    pipe.client.WriteMessageSync("go"_w, true);
    EXPECT_THROW(pipe.client.ReadMessageSync(), Win32Exception);
    EXPECT_TRUE(Eventually([&] { return connection->HasEnded(); }));
    EXPECT_EQ(drops, 1);
    EXPECT_TRUE(log.Contains("oops"_w));
    EXPECT_TRUE(debug.Contains("oops"_w));
}

TEST_F(PipeServerConnection, SurvivesAStopFromItsOwnCallback)
{
    const DebugOutputCapture debug;
    std::shared_ptr<Connection> connection;
    connection = Make([&connection](std::uint32_t, const WString& message) {
        connection->Stop();
        return message;
    });
    connection->Start();
    pipe.client.WriteMessageSync("go"_w, true);
    EXPECT_TRUE(Eventually([&] { return connection->HasEnded(); }));
    EXPECT_TRUE(debug.Contains("Exception while stopping connection thread "_w));
    EXPECT_EQ(drops, 0);
}

TEST_F(PipeServerConnection, SurvivesItsReleaseInItsOwnCallback)
{
    auto connection = std::make_shared<std::shared_ptr<Connection>>();
    std::atomic<bool> released{false};
    *connection = Make([connection, &released](std::uint32_t, const WString& message) {
        connection->reset();
        released = true;
        return message;
    });
    (*connection)->Start();
    pipe.client.WriteMessageSync("go"_w, true);
    EXPECT_THROW(for (;;) { pipe.client.ReadMessageSync(); }, Win32Exception);
    EXPECT_TRUE(released);
}

TEST_F(PipeServerConnection, ReportsAFailedRead)
{
    const DebugOutputCapture debug;
    const auto connection = Make(Echo);
    const ForcedFailure failure(ForcedCall::ReadFile, ERROR_GEN_FAILURE, {.threads = FailingThreads::Others});
    connection->Start();
    EXPECT_TRUE(Eventually([&] { return connection->HasEnded(); }));
    EXPECT_EQ(drops, 1);
    EXPECT_TRUE(debug.Contains("Exception reading data from client 7(31)\r\n"_w));
    EXPECT_TRUE(log.Contains("[ActiveNamedPipeServerConnection::ReadData] Step 2, clId:7, Exception msg: "
                             "Exception reading data from client 7(31)"_w));
    EXPECT_TRUE(log.Contains("[ActiveNamedPipeServerConnection::TryReadData] Step 1, clId:7, "
                             "GetLastError():31, result:0"_w));
    EXPECT_TRUE(log.Contains("[ActiveNamedPipeServerConnection::CancelIO] Step 2, clId:7"_w));
}

TEST_F(PipeServerConnection, ReportsAFailedEndOfARead)
{
    const auto connection = Make(Echo);
    const ForcedFailure failure(ForcedCall::GetOverlappedResult, ERROR_GEN_FAILURE,
                                {.threads = FailingThreads::Others});
    connection->Start();
    ASSERT_TRUE(Eventually([&] { return log.Contains("TryReadData] Step 1, clId:7, GetLastError():997"_w); }));
    pipe.client.WriteMessageSync("go"_w, true);
    EXPECT_TRUE(Eventually([&] { return connection->HasEnded(); }));
    EXPECT_EQ(drops, 1);
    EXPECT_TRUE(log.Contains("TryReadData] Step 4, clId:7, GetLastError():31"_w));
}

TEST_F(PipeServerConnection, ReportsAFailedAnswerOnce)
{
    const DebugOutputCapture debug;
    const auto connection = Make(Echo);
    const ForcedFailure failure(ForcedCall::WriteFile, ERROR_GEN_FAILURE, {.threads = FailingThreads::Others});
    connection->Start();
    pipe.client.WriteMessageSync("go"_w, true);
    ASSERT_TRUE(Eventually([&] { return drops == 1; }));
    EXPECT_TRUE(debug.Contains("Exception writing data to the client 7(31)"_w));
    pipe.client.Close();
    EXPECT_TRUE(Eventually([&] { return connection->HasEnded(); }));
    EXPECT_EQ(drops, 1);
}

TEST_F(PipeServerConnection, ReportsAnAnswerThatNobodyTakes)
{
    const auto connection = Make([](std::uint32_t, const WString&) { return Repeated("a long answer "_w, 200000); });
    connection->Start();
    ASSERT_TRUE(Eventually([&] { return log.Contains("TryReadData] Step 1"_w); }));
    // The wait for the answer fails as it does when its time has passed.
    const ForcedFailure failure(ForcedCall::WaitForMultipleObjects, ERROR_GEN_FAILURE,
                                {.threads = FailingThreads::Others});
    pipe.client.WriteMessageSync("go"_w, true);
    ASSERT_TRUE(Eventually([&] { return drops == 1; }));
    connection->Stop();
    EXPECT_EQ(drops, 1);
}

TEST_F(PipeServerConnection, NeedsAStopEvent)
{
    const ForcedFailure failure(ForcedCall::CreateEventW, ERROR_TOO_MANY_OPEN_FILES);
    EXPECT_EQ(MessageOf<std::runtime_error>([&] { Make(Echo); }),
              "ActiveNamedPipeServerConnection: Failed to create stop event.");
}

} // namespace

} // namespace Quoll::Tests
