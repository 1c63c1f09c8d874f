#include "Quoll/PipeServer.h"

#include "pipes/PipeSupport.h"
#include "support/Eventually.h"
#include "support/ForcedFailure.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <set>
#include <stdexcept>
#include <vector>

namespace Quoll::Tests
{

using namespace Utilities;
using Server = MultiClientNamedPipeServer;

namespace
{

const NamedPipeMessageEncoding UTF8 = NamedPipeMessageEncoding::Utf8;

class PipeServer : public testing::Test
{
protected:
    // Answers with the connection's id.
    static WString Answer(std::uint32_t id, const WString&)
    {
        const std::string text = std::to_string(id);
        return {text.begin(), text.end()};
    }

    std::shared_ptr<Server> Make(const Server::MessageCallback& callback = Answer, bool openToEverybody = false)
    {
        return Server::Create(
            name, callback, UTF8, 5000, 4096, openToEverybody,
            [this](std::uint32_t id) {
                const std::lock_guard lock(dropLock);
                drops.push_back(id);
            },
            log.Callback());
    }

    WString Ask(AsyncNamedPipeClient& client, const WString& message = "?"_w)
    {
        client.Open(SharedHandle());
        client.WriteMessageSync(message, true);
        return client.ReadMessageSync();
    }

    std::vector<std::uint32_t> Drops()
    {
        const std::lock_guard lock(dropLock);
        return drops;
    }

    WString name = UniquePipeName();
    LogCapture log;

private:
    std::mutex dropLock;
    std::vector<std::uint32_t> drops;
};

// A client that loses the race for the next instance five times is told so, and may come again.
TEST_F(PipeServer, AdmitsManyClientsThatComeAtOnce)
{
    const auto server = Make();
    server->Start(nullptr);
    std::vector<std::unique_ptr<AsyncNamedPipeClient>> clients;
    std::vector<Task<WString>> answers;
    for (int i = 0; i < 64; ++i)
    {
        clients.push_back(std::make_unique<AsyncNamedPipeClient>(name, 20000));
        const auto ask = [this, client = clients.back().get()] {
            while (!client->IsInitialized())
            {
                const DWORD code = CodeOf([client] { client->Open(SharedHandle()); });
                EXPECT_TRUE(code == ERROR_SUCCESS || code == ERROR_PIPE_BUSY) << code;
            }
            return Ask(*client);
        };
        answers.push_back(TaskScheduler::Run(ask, TaskPlacement::Pool));
    }
    std::set<WString> ids;
    for (const auto& answer : answers)
    {
        ids.insert(answer.get());
    }
    EXPECT_EQ(ids.size(), clients.size());
    server->Stop();
}

TEST_F(PipeServer, CountsItsConnectionsFromZero)
{
    for (const bool openToEverybody : {false, true})
    {
        const auto server = Make(Answer, openToEverybody);
        EXPECT_EQ(server->GetPipeName(), name);
        EXPECT_FALSE(server->IsStarted());
        server->Start(nullptr);
        server->Start(nullptr);
        EXPECT_TRUE(server->IsStarted());
        AsyncNamedPipeClient first(name, 20000);
        AsyncNamedPipeClient second(name, 20000);
        EXPECT_EQ(Ask(first), "0"_w);
        EXPECT_EQ(Ask(second), "1"_w);
        EXPECT_EQ(Ask(first), "0"_w);
        server->Stop();
        server->Stop();
        EXPECT_FALSE(server->IsStarted());
        server->Start(nullptr);
        AsyncNamedPipeClient third(name, 20000);
        EXPECT_FALSE(Ask(third).empty());
    }
}

TEST_F(PipeServer, RefusesClientsWithoutCountingThem)
{
    const auto server = Make();
    std::atomic<int> asked{0};
    server->Start([&asked](const SharedHandle& pipe, bool isServer, std::uint32_t id) {
        EXPECT_TRUE(pipe.IsValid());
        EXPECT_TRUE(isServer);
        EXPECT_EQ(id, 0u);
        switch (++asked)
        {
        case 1:
            return false;
        case 2:
            throw std::runtime_error("don't know");
        default:
            return true;
        }
    });
    for (int refused = 0; refused < 2; ++refused)
    {
        AsyncNamedPipeClient client(name, 20000);
        EXPECT_THROW(Ask(client), Win32Exception);
    }
    AsyncNamedPipeClient client(name, 20000);
    EXPECT_EQ(Ask(client), "0"_w);
    EXPECT_TRUE(log.Contains("don't know"_w));
    EXPECT_TRUE(Drops().empty());
}

TEST_F(PipeServer, HasStoppedEachDroppedConnectionAtTheStop)
{
    const auto server = Make();
    server->Start(nullptr);
    for (const WStringView id : {"0"_w, "1"_w})
    {
        AsyncNamedPipeClient client(name, 20000);
        ASSERT_EQ(Ask(client), id);
    }
    ASSERT_TRUE(Eventually([&] { return Drops().size() == 2; }));
    const WStringView stopped = "ClearClosedConnections] Stopped"_w;
    server->Stop();
    EXPECT_EQ(log.Count(stopped), 2u);
    EXPECT_EQ(log.Count("[MultiClientNamedPipeServer::Stop] Step 0"_w), 1u);
    EXPECT_EQ(log.Count("[MultiClientNamedPipeServer::Stop] Step 1"_w), 1u);
}

TEST_F(PipeServer, SurvivesClientsThatGoAtOnce)
{
    const auto server = Make();
    server->Start(nullptr);
    for (int i = 0; i < 20; ++i)
    {
        AsyncNamedPipeClient(name, 20000).Open(SharedHandle());
    }
    AsyncNamedPipeClient client(name, 20000);
    EXPECT_NO_THROW(Ask(client));
    server->Stop();
}

TEST_F(PipeServer, GivesANewCallbackToLaterConnectionsOnly)
{
    const auto server = Make();
    server->Start(nullptr);
    AsyncNamedPipeClient early(name, 20000);
    EXPECT_EQ(Ask(early), "0"_w);
    server->SetReceiveCallBack([](std::uint32_t, const WString&) { return WString("new"_w); });
    AsyncNamedPipeClient late(name, 20000);
    EXPECT_EQ(Ask(late), "new"_w);
    EXPECT_EQ(Ask(early), "0"_w);
}

TEST_F(PipeServer, StopsFromItsCallbacks)
{
    std::shared_ptr<Server> server;
    const auto stop = [&server] {
        server->Stop();
    };
    const auto stopped = [&server] {
        return Eventually([&] { return !server->IsStarted(); });
    };

    server = Make([&](std::uint32_t, const WString&) {
        stop();
        return WString();
    });
    server->Start(nullptr);
    AsyncNamedPipeClient client(name, 20000);
    EXPECT_THROW(Ask(client), Win32Exception);
    EXPECT_TRUE(stopped());

    client.Close();
    server->Start([&](const SharedHandle&, bool, std::uint32_t) {
        stop();
        return true;
    });
    EXPECT_THROW(Ask(client), Win32Exception);
    EXPECT_TRUE(stopped());

    client.Close();
    server = Server::Create(name, nullptr, UTF8, 5000, 4096, false, [&](std::uint32_t) { stop(); }, nullptr);
    server->Start(nullptr);
    client.Open(SharedHandle());
    client.Close();
    EXPECT_TRUE(stopped());
}

TEST_F(PipeServer, EndsAcceptingOnAFailure)
{
    const std::pair<ForcedCall, const char*> failures[] = {
        {ForcedCall::CreateNamedPipeW, "Can't create named pipe"},
        {ForcedCall::ConnectNamedPipe, "can't connect to client: "},
        {ForcedCall::InitializeSecurityDescriptor, "Can't create named pipe"},
        {ForcedCall::SetSecurityDescriptorDacl, "Can't create named pipe"},
        {ForcedCall::WaitForMultipleObjects, "Wait on overlap event failed"},
    };
    for (const auto& [call, text] : failures)
    {
        log.Clear();
        const auto server = Make(Answer, true);
        const ForcedFailure failure(call, ERROR_ACCESS_DENIED);
        server->Start(nullptr);
        const std::string expected = text;
        EXPECT_TRUE(Eventually([&] { return log.Contains(WString(expected.begin(), expected.end())); })) << text;
        EXPECT_TRUE(server->IsStarted());
        server->Stop();
    }
}

TEST_F(PipeServer, TellsOfAFailedConnect)
{
    const auto server = Make();
    const ForcedFailure failure(ForcedCall::GetOverlappedResult, ERROR_GEN_FAILURE,
                                {.threads = FailingThreads::Others});
    server->Start(nullptr);
    AsyncNamedPipeClient client(name, 20000);
    client.Open(SharedHandle());
    // A client that comes before the server waits for it needs no result.
    if (failure.Failures() != 0 || Eventually([&] { return failure.Failures() != 0; }, std::chrono::seconds(1)))
    {
        EXPECT_TRUE(Eventually([&] {
            return log.Contains("Error reading pending IO from named pipe while connecting. Error Code: 31"_w);
        }));
    }
}

TEST_F(PipeServer, TriesAgainWhenSomethingIsShort)
{
    const std::pair<ForcedCall, DWORD> failures[] = {
        {ForcedCall::CreateNamedPipeW, ERROR_TOO_MANY_OPEN_FILES},
        {ForcedCall::ConnectNamedPipe, ERROR_NO_DATA},
        {ForcedCall::ConnectNamedPipe, ERROR_BROKEN_PIPE},
    };
    for (const auto& [call, code] : failures)
    {
        log.Clear();
        const auto server = Make();
        const ForcedFailure failure(call, code);
        server->Start(nullptr);
        const auto isAnswered = [&] {
            // A client may have come to the very instance that the failure costs.
            try
            {
                AsyncNamedPipeClient client(name, 20000);
                return Ask(client) == "0"_w;
            }
            catch (const std::exception&)
            {
                return false;
            }
        };
        EXPECT_TRUE(Eventually(isAnswered)) << code;
        EXPECT_EQ(failure.Failures(), 1u);
        EXPECT_GE(log.Count("[MultiClientNamedPipeServer::"_w), 1u);
        server->Stop();
    }
}

TEST_F(PipeServer, NeedsAStopEvent)
{
    const auto server = Make();
    const ForcedFailure failure(ForcedCall::CreateEventW, ERROR_TOO_MANY_OPEN_FILES);
    EXPECT_EQ(CodeOf([&] { server->Start(nullptr); }), DWORD{ERROR_TOO_MANY_OPEN_FILES});
    EXPECT_FALSE(server->IsStarted());
}

} // namespace

} // namespace Quoll::Tests
