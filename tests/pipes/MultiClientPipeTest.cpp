#include "Quoll/MultiClientPipe.h"

#include "Quoll/PipePeer.h"
#include "Quoll/Synchronization.h"

#include "pipes/PipeSupport.h"
#include "support/ChildProcess.h"
#include "support/Eventually.h"
#include "support/ForcedFailure.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <iostream>
#include <mutex>
#include <stdexcept>
#include <vector>

namespace Quoll::Tests
{

using namespace Utilities;
using Communication::ClosedConnectionException;

namespace
{

const NamedPipeMessageEncoding UTF8 = NamedPipeMessageEncoding::Utf8;

std::shared_ptr<MultiClientPipe> MakeEndpoint(const WString& name, std::uint32_t timeout = 20000)
{
    return MultiClientPipe::Create(name, UTF8, timeout, 4096, false);
}

struct Exposed : MultiClientPipe
{
    using MultiClientPipe::AreConnectionStringsEqual;
};

// An endpoint that notes what it receives.
class Listener
{
public:
    explicit Listener(const IMultiClientPipe::ServerAuthentication& authentication = nullptr)
        : name(UniquePipeName())
        , pipe(MakeEndpoint(name))
    {
        pipe->RegisterReceiveCallback([this](std::uint32_t id, const WString& message) {
            const std::lock_guard lock(m_lock);
            m_received.emplace_back(id, message);
        });
        pipe->Start(nullptr, authentication, log.Callback());
    }
    ~Listener()
    {
        pipe->Stop();
    }

    bool Received(std::uint32_t id, const WString& message)
    {
        return Eventually([&] {
            const std::lock_guard lock(m_lock);
            return std::find(m_received.begin(), m_received.end(), std::pair(id, message)) != m_received.end();
        });
    }

    WString name;
    LogCapture log;
    std::shared_ptr<MultiClientPipe> pipe;

private:
    std::mutex m_lock;
    std::vector<std::pair<std::uint32_t, WString>> m_received;
};

TEST(MultiClientPipe, CarriesMessagesBothWays)
{
    Listener left;
    Listener right;
    left.pipe->AddClient(3, right.name, true, nullptr);
    right.pipe->AddClient(4, right.name.substr(0, 0) + left.name.substr(9), false, nullptr);
    left.pipe->WriteMessage(3, "to the right"_w, true);
    EXPECT_TRUE(right.Received(0, "to the right"_w));
    right.pipe->WriteMessage("to the left"_w);
    EXPECT_TRUE(left.Received(0, "to the left"_w));
    left.pipe->WriteMessage(3, "alone"_w, false);
    EXPECT_TRUE(right.Received(0, "alone"_w));
    EXPECT_EQ(left.pipe->GetDefaultClientId(), 3u);
    EXPECT_EQ(right.pipe->GetDefaultClientId(), 0xFFFFFFFFu);
    EXPECT_EQ(right.pipe->GetPipeClientName(4), left.name) << "the prefix is put in front";
    EXPECT_EQ(right.pipe->GetClientIdByName(left.name), 4);
    EXPECT_EQ(right.pipe->GetClientIdByName("no such"_w), -1);
    EXPECT_EQ(left.pipe->GetPipeServerName(), left.name);
    for (const WStringView piece : {"Write (Server: "_w, "(Default client)"_w, "Receive completed"_w})
    {
        EXPECT_TRUE(Eventually([&] { return left.log.Contains(piece); }));
    }
    EXPECT_TRUE(right.log.Contains("Clients size 1"_w));
}

TEST(MultiClientPipe, RefusesBadClients)
{
    Listener server;
    const auto pipe = MakeEndpoint(UniquePipeName(), 50);
    const auto name = [&server] {
        return server.name;
    };
    pipe->AddClient(1, server.name, false, nullptr);
    const auto add = [&](auto&&... arguments) {
        return MessageOf<std::runtime_error>([&] { pipe->AddClient(arguments..., false, nullptr); });
    };
    EXPECT_EQ(add(2u, WString()), "Cant create client: connection string is empty");
    EXPECT_EQ(add(1u, server.name), "Cant create client: client with specified ID already exists");
    EXPECT_EQ(add(2u, IMultiClientPipe::ConnectionStringCallback()),
              "Can't create client: UpdateClientName callback not set");
    EXPECT_EQ(add(1u, IMultiClientPipe::ConnectionStringCallback(name)),
              "Can't create client: client with specified ID already exists");
    EXPECT_THROW(pipe->AddClient(2, UniquePipeName(), true, nullptr), Win32Exception);
    EXPECT_EQ(pipe->GetListOfClientIDs(), std::list<std::uint32_t>{1});
    EXPECT_EQ(pipe->GetDefaultClientId(), 0xFFFFFFFFu);
    EXPECT_EQ(MessageOf<std::runtime_error>([&] { pipe->RegisterReceiveCallback(nullptr); }),
              "The callback function shouldn't be null");
    EXPECT_EQ(MessageOf<std::runtime_error>([&] { pipe->GetClientConnectionString(9); }),
              "A client with this ID 9 doesn't exist");
    pipe->SetDefaultClient(9);
    EXPECT_EQ(MessageOf<std::runtime_error>([&] { pipe->GetClientConnectionString(9); }),
              "A default client with this ID 9 doesn't exist");
    EXPECT_EQ(MessageOf<std::runtime_error>([&] { pipe->ReconnectClient(9); }),
              "ReconnectClient: Can't find specified client");
    EXPECT_EQ(MessageOf<ClosedConnectionException>([&] { pipe->WriteMessage(9, "x"_w, true); }),
              "Client connection is already closed: WriteMessage: Can't find specified client. clId = 9");
}

TEST(MultiClientPipe, ComparesConnectionStringsWithTheirPrefix)
{
    EXPECT_TRUE(Exposed::AreConnectionStringsEqual("a"_w, "\\\\.\\pipe\\a"_w));
    EXPECT_FALSE(Exposed::AreConnectionStringsEqual("a"_w, "A"_w));
    EXPECT_FALSE(Exposed::AreConnectionStringsEqual(""_w, ""_w));
    EXPECT_FALSE(Exposed::AreConnectionStringsEqual(""_w, "\\\\.\\pipe\\"_w));
}

TEST(MultiClientPipe, ReportsADroppedClientOnce)
{
    Listener server;
    const auto other = std::make_unique<Listener>();
    std::atomic<int> drops{0};
    server.pipe->AddClient(0, other->name, true, [&](std::uint32_t id) {
        EXPECT_EQ(id, 0u);
        ++drops;
        EXPECT_EQ(server.pipe->GetListOfClientIDs().size(), 1u);
        throw std::runtime_error("from the disconnect callback");
    });
    other->pipe->AddClient(5, server.name, false, nullptr); // the server's connection 0
    other->pipe->WriteMessage("here"_w);
    ASSERT_TRUE(server.Received(0, "here"_w));
    other->pipe->Stop();
    EXPECT_TRUE(Eventually([&] { return server.pipe->GetListOfClientIDs().empty(); }));
    EXPECT_EQ(drops, 1);
    EXPECT_EQ(server.pipe->GetDefaultClientId(), 0xFFFFFFFFu);
    EXPECT_THROW(server.pipe->WriteMessage(0, "gone"_w, true), ClosedConnectionException);
    EXPECT_EQ(drops, 1);
    EXPECT_TRUE(server.log.Contains("from the disconnect callback"_w));
    for (int step = 0; step < 5; ++step)
    {
        const auto line = "[MultiClientPipe::OnClientDropped] Step " + std::to_string(step) + ", clId:0";
        EXPECT_TRUE(Eventually([&] { return server.log.Contains(WString(line.begin(), line.end())); })) << line;
    }
}

TEST(MultiClientPipe, KeepsADroppedClientThatNobodyAsksAfter)
{
    Listener server;
    const auto other = std::make_unique<Listener>();
    server.pipe->AddClient(0, other->name, false, nullptr);
    other->pipe->AddClient(0, server.name, false, nullptr);
    other->pipe->Stop();
    ASSERT_TRUE(Eventually([&] { return server.log.Contains("OnClientDropped] Step 0, clId:0"_w); }));
    EXPECT_TRUE(MessageOf<ClosedConnectionException>([&] { server.pipe->WriteMessage(0, "x"_w, true); })
                    .starts_with("Client connection is already closed: WriteMessage: Can't find specified client, "
                                 "clId = 0, "));
    EXPECT_EQ(server.pipe->GetListOfClientIDs().size(), 1u);
    EXPECT_FALSE(server.log.Contains("OnClientDropped] Step 1"_w));
}

TEST(MultiClientPipe, ReportsADropByAFailedWrite)
{
    Listener server;
    auto other = std::make_unique<Listener>();
    std::atomic<int> drops{0};
    server.pipe->AddClient(8, other->name, false, nullptr);
    server.pipe->SetDisconnectCallback(8, [&drops](std::uint32_t) { ++drops; });
    other.reset();
    EXPECT_THROW(for (;;) { server.pipe->WriteMessage(8, "x"_w, true); }, ClosedConnectionException);
    EXPECT_EQ(drops, 1);
    EXPECT_TRUE(server.pipe->GetListOfClientIDs().empty());
}

TEST(MultiClientPipe, TriesAllClientsBeforeItComplains)
{
    Listener server;
    Listener good;
    server.pipe->AddClient(1, [] { return WString(); }, false, nullptr);
    server.pipe->AddClient(2, good.name, false, nullptr);
    EXPECT_EQ(MessageOf<ClosedConnectionException>([&] { server.pipe->WriteMessage("all"_w); }),
              "Client connection is already closed: WriteMessage: Specified client is nullptr");
    EXPECT_TRUE(good.Received(0, "all"_w));
}

TEST(MultiClientPipe, ReconnectsToWhereTheCallbackSays)
{
    Listener first;
    Listener second;
    WString target;
    const auto pipe = MakeEndpoint(UniquePipeName());
    pipe->AddClient(1, [&target] { return target; }, false, nullptr);
    EXPECT_THROW(pipe->ReconnectClient(1), std::runtime_error);
    for (Listener* listener : {&first, &second})
    {
        target = listener->name;
        pipe->ReconnectClient(1);
        pipe->WriteMessage(1, "hello"_w, true);
        EXPECT_TRUE(listener->Received(0, "hello"_w));
    }
    target = ""_w; // no news: the old one stays
    pipe->ReconnectClient(1);
    pipe->WriteMessage(1, "again"_w, true);
    EXPECT_TRUE(second.Received(1, "again"_w));
}

TEST(MultiClientPipe, TellsWhetherClientsAreAvailable)
{
    Listener server;
    const auto pipe = MakeEndpoint(UniquePipeName());
    EXPECT_FALSE(pipe->IsClientAvailable());
    EXPECT_FALSE(pipe->WaitForClientAvailable(1));
    pipe->AddClient(1, server.name, true, nullptr);
    pipe->AddClient(2, server.name, false, nullptr);
    EXPECT_TRUE(pipe->WaitForClientAvailable(0xFFFFFFFF));
    pipe->RemoveClient(1);
    EXPECT_EQ(pipe->GetDefaultClientId(), 0xFFFFFFFFu);
    EXPECT_TRUE(pipe->IsClientAvailable());
    pipe->RemoveClient(2);
    pipe->RemoveClient(2);
    EXPECT_FALSE(pipe->IsClientAvailable());
    pipe->PrepareStop();
}

TEST(MultiClientPipe, OpensItsParentWithAGivenPipe)
{
    Listener parent;
    const auto pipe = MakeEndpoint(UniquePipeName());
    EXPECT_THROW(pipe->ReopenParentClient(SharedHandle()), std::runtime_error);
    pipe->SetParentPipeName(nullptr);
    EXPECT_FALSE(pipe->IsClientAvailable());
    pipe->SetParentPipeName([&parent] { return parent.name.substr(9); });
    EXPECT_TRUE(pipe->IsClientAvailable());
    EXPECT_EQ(pipe->GetListOfClientIDs(), std::list<std::uint32_t>{0xFFFFFFFF});
    SharedHandle opened;
    ASSERT_EQ(pipe->WaitForClientDestinationPipe(SharedHandle(), opened), 0u);
    pipe->ReopenParentClient(opened);
    opened = SharedHandle();
    pipe->AddParentClient(6);
    EXPECT_EQ(pipe->GetDefaultClientId(), 6u);
    EXPECT_EQ(pipe->GetListOfClientIDs(), (std::list<std::uint32_t>{6, 0xFFFFFFFF})) << "no id yet is no old id";
    pipe->WriteMessage(6, "hello"_w, true);
    EXPECT_TRUE(parent.Received(0, "hello"_w));
    pipe->AddClient(7, parent.name, false, nullptr);
    pipe->AddParentClient(7);
    EXPECT_EQ(pipe->GetListOfClientIDs(), (std::list<std::uint32_t>{7, 0xFFFFFFFF}));
    pipe->WriteMessage(7, "still the first"_w, true);
    EXPECT_TRUE(parent.Received(0, "still the first"_w));
}

TEST(MultiClientPipe, WaitsForADestination)
{
    const auto stop = EventAccessControl::CreateLocalEvent(true, true);
    const auto pipe = MakeEndpoint(UniquePipeName());
    SharedHandle opened;
    EXPECT_EQ(pipe->WaitForClientDestinationPipe(stop, opened), DWORD{ERROR_BROKEN_PIPE}) << "no client yet";
    const WString missing = UniquePipeName();
    pipe->SetParentPipeName([&missing] { return missing; });
    EXPECT_EQ(pipe->WaitForClientDestinationPipe(stop, opened), DWORD{ERROR_BROKEN_PIPE}) << "no server yet";
    {
        const ForcedFailure failure(ForcedCall::CreateFileW, ERROR_ACCESS_DENIED);
        EXPECT_EQ(pipe->WaitForClientDestinationPipe(stop, opened), DWORD{ERROR_ACCESS_DENIED});
    }
    Listener server;
    pipe->Start([](const SharedHandle&, bool isServer) { return isServer; }, nullptr, nullptr);
    pipe->SetParentPipeName([&server] { return server.name; });
    const auto never = EventAccessControl::CreateLocalEvent(true, false);
    EXPECT_EQ(pipe->WaitForClientDestinationPipe(never, opened), 191u);
    EXPECT_FALSE(opened.IsValid());
    EXPECT_EQ(CodeOf([&] { pipe->AddClient(1, server.name, false, nullptr); }), 191u);
}

TEST(MultiClientPipe, SurvivesAReceiverThatThrows)
{
    Listener server;
    server.pipe->RegisterReceiveCallback([](std::uint32_t, const WString& message) {
        if (message == "bad"_w)
        {
            throw std::runtime_error("can't take it");
        }
    });
    const auto pipe = MakeEndpoint(UniquePipeName());
    pipe->AddClient(1, server.name, false, nullptr);
    pipe->WriteMessage(1, "bad"_w, true);
    pipe->WriteMessage(1, "good"_w, true);
    EXPECT_TRUE(Eventually([&] { return server.log.Contains("Receive completed"_w); }));
    EXPECT_EQ(server.log.Count("Receive exception"_w), 1u);
    EXPECT_TRUE(server.log.Contains("can't take it"_w));
}

// Serves a pipe of the first name, and sends its peer's view and its own name to the second.
CHILD_PROCESS(Endpoint)
{
    const auto wide = [&](std::size_t index) {
        return WString(arguments[index].begin(), arguments[index].end());
    };
    const auto pipe = MakeEndpoint(wide(0));
    pipe->RegisterReceiveCallback(
        [&](std::uint32_t, const WString& message) { pipe->WriteMessage(0, "echo "_w + message, true); });
    pipe->Start([](const SharedHandle& server, bool) { return PipePeer::Query(server).GetProcessId() != 0; }, nullptr,
                nullptr);
    pipe->AddClient(0, wide(1), true, nullptr);
    pipe->WriteMessage(0, "ready"_w, true);
    std::string line;
    std::getline(std::cin, line);
    return 0;
}

TEST(MultiClientPipe, NoticesThatAnotherProcessWasKilled)
{
    std::atomic<std::uint32_t> peer{0};
    Listener server([&peer](const SharedHandle& pipe, bool, std::uint32_t) {
        peer = PipePeer::Query(pipe).GetProcessId();
        return true;
    });
    const WString name = UniquePipeName();
    ChildProcess child("Endpoint",
                       {std::string(name.begin(), name.end()), std::string(server.name.begin(), server.name.end())});
    ASSERT_TRUE(server.Received(0, "ready"_w)) << child.Output();
    EXPECT_EQ(peer, child.Id());
    std::atomic<int> drops{0};
    server.pipe->AddClient(0, name, false, [&drops](std::uint32_t) { ++drops; });
    server.pipe->WriteMessage(0, "mésſage"_w, true);
    EXPECT_TRUE(server.Received(0, "echo mésſage"_w));
    child.Kill();
    EXPECT_TRUE(Eventually([&] { return server.pipe->GetListOfClientIDs().empty(); }));
    EXPECT_EQ(drops, 1);
    EXPECT_THROW(server.pipe->WriteMessage(0, "gone"_w, true), ClosedConnectionException);
}

} // namespace

} // namespace Quoll::Tests
