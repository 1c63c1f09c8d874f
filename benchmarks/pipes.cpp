// Messages between two processes: the pipe classes beside raw blocking sockets and ZeroMQ.
#include "Quoll/MultiClientPipe.h"
#include "Quoll/PipeClient.h"
#include "Quoll/PipeServer.h"
#include "Quoll/StringUtilities.h"
#include "Ratios.h"
#include "support/ChildProcess.h"

#include <benchmark/benchmark.h>
#include <zmq.h>

#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <sched.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace
{

using namespace Quoll::Literals;
using namespace Quoll::Utilities;
using Quoll::WString;
using Quoll::Tests::ChildProcess;

constexpr NamedPipeMessageEncoding UTF8 = NamedPipeMessageEncoding::Utf8;
constexpr std::uint32_t BUFFER_SIZE = 65536;
constexpr std::uint32_t TIMEOUT = 60000;

void Require(bool condition, const char* what)
{
    if (!condition)
    {
        throw std::runtime_error(what);
    }
}

// The calling thread, and threads that it makes from now on.
void PinTo(int cpu)
{
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(static_cast<unsigned>(cpu), &set);
    sched_setaffinity(0, sizeof set, &set);
}

// A server answers every n-th message of a client with the message itself.
struct ServerSettings
{
    std::string name;
    int every;
    std::size_t size;
};

// Raw sockets; both ends know how long a message is.

void WriteAll(int socket, const void* data, std::size_t size)
{
    const auto* bytes = static_cast<const char*>(data);
    while (size > 0)
    {
        const ssize_t count = ::send(socket, bytes, size, MSG_NOSIGNAL);
        Require(count > 0, "send");
        bytes += count;
        size -= static_cast<std::size_t>(count);
    }
}

bool ReadAll(int socket, void* data, std::size_t size)
{
    auto* bytes = static_cast<char*>(data);
    while (size > 0)
    {
        const ssize_t count = ::recv(socket, bytes, size, 0);
        if (count <= 0)
        {
            return false;
        }
        bytes += count;
        size -= static_cast<std::size_t>(count);
    }
    return true;
}

sockaddr_un AbstractAddress(const std::string& name, socklen_t& length)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    name.copy(address.sun_path + 1, sizeof address.sun_path - 1);
    length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
    return address;
}

struct Raw
{
    class Client
    {
    public:
        Client(const std::string& name, const std::string& text)
            : m_socket(::socket(AF_UNIX, SOCK_STREAM, 0))
            , m_text(text)
            , m_answer(text.size(), '\0')
        {
            socklen_t length = 0;
            const auto address = AbstractAddress(name, length);
            Require(::connect(m_socket, reinterpret_cast<const sockaddr*>(&address), length) == 0, "connect");
        }
        ~Client()
        {
            ::close(m_socket);
        }
        void Send()
        {
            WriteAll(m_socket, m_text.data(), m_text.size());
        }
        void Receive()
        {
            Require(ReadAll(m_socket, m_answer.data(), m_answer.size()), "recv");
        }

    private:
        int m_socket;
        std::string m_text;
        std::string m_answer;
    };

    static void Serve(const ServerSettings& settings)
    {
        const int listener = ::socket(AF_UNIX, SOCK_STREAM, 0);
        socklen_t length = 0;
        const auto address = AbstractAddress(settings.name, length);
        Require(::bind(listener, reinterpret_cast<const sockaddr*>(&address), length) == 0, "bind");
        Require(::listen(listener, 128) == 0, "listen");
        std::thread([listener, every = settings.every, size = settings.size] {
            for (;;)
            {
                const int socket = ::accept(listener, nullptr, nullptr);
                std::thread([socket, every, size] {
                    std::string message(size, '\0');
                    for (int count = 1; ReadAll(socket, message.data(), size); ++count)
                    {
                        if (count % every == 0)
                        {
                            WriteAll(socket, message.data(), size);
                        }
                    }
                    ::close(socket);
                }).detach();
            }
        }).detach();
    }
};

struct ZeroMq
{
    static std::string Address(const std::string& name)
    {
        return "ipc:///tmp/" + name;
    }

    class Client
    {
    public:
        Client(const std::string& name, const std::string& text)
            : m_socket(zmq_socket(Context(), ZMQ_DEALER))
            , m_text(text)
            , m_answer(text.size(), '\0')
        {
            Require(zmq_connect(m_socket, Address(name).c_str()) == 0, "zmq_connect");
        }
        ~Client()
        {
            zmq_close(m_socket);
        }
        void Send()
        {
            Require(zmq_send(m_socket, m_text.data(), m_text.size(), 0) >= 0, "zmq_send");
        }
        void Receive()
        {
            Require(zmq_recv(m_socket, m_answer.data(), m_answer.size(), 0) >= 0, "zmq_recv");
        }

    private:
        // Its threads are made where the first client is made, so there is one for each processor set.
        static void* Context()
        {
            static void* const context = zmq_ctx_new();
            return context;
        }

        void* m_socket;
        std::string m_text;
        std::string m_answer;
    };

    static void Serve(const ServerSettings& settings)
    {
        void* const socket = zmq_socket(zmq_ctx_new(), ZMQ_ROUTER);
        Require(zmq_bind(socket, Address(settings.name).c_str()) == 0, "zmq_bind");
        std::thread([socket, every = settings.every] {
            zmq_msg_t who;
            zmq_msg_t message;
            for (int count = 1;; ++count)
            {
                zmq_msg_init(&who);
                zmq_msg_init(&message);
                zmq_msg_recv(&who, socket, 0);
                zmq_msg_recv(&message, socket, 0);
                if (count % every == 0)
                {
                    zmq_msg_send(&who, socket, ZMQ_SNDMORE);
                    zmq_msg_send(&message, socket, 0);
                }
                zmq_msg_close(&who);
                zmq_msg_close(&message);
            }
        }).detach();
    }
};

WString PipeName(const std::string& name)
{
    return "\\\\.\\pipe\\"_w + WString(name.begin(), name.end());
}

// Client and server classes.
struct Classes
{
    class Client
    {
    public:
        Client(const std::string& name, const std::string& text)
            : m_client(PipeName(name), TIMEOUT)
            , m_text(StringUtilities::Utf8ToUtf16(text))
        {
            m_client.Open(SharedHandle());
        }
        void Send()
        {
            m_client.WriteMessageSync(m_text, true);
        }
        void Receive()
        {
            m_answer = m_client.ReadMessageSync();
        }

    private:
        AsyncNamedPipeClient m_client;
        WString m_text;
        WString m_answer;
    };

    static void Serve(const ServerSettings& settings)
    {
        auto counts = std::make_shared<std::vector<int>>(4096);
        static std::shared_ptr<MultiClientNamedPipeServer> server;
        server = MultiClientNamedPipeServer::Create(
            PipeName(settings.name),
            [counts, every = settings.every](std::uint32_t id, const WString& message) {
                return ++counts->at(id) % every == 0 ? message : WString();
            },
            UTF8, TIMEOUT, BUFFER_SIZE, false, nullptr, nullptr);
        server->Start(nullptr);
    }
};

// Endpoints on both sides: the answer comes over a second pipe, to the receive callback.
struct Endpoints
{
    class Client
    {
    public:
        Client(const std::string& name, const std::string& text)
            : m_endpoint(MultiClientPipe::Create(PipeName(name + "-back"), UTF8, TIMEOUT, BUFFER_SIZE, false))
            , m_text(StringUtilities::Utf8ToUtf16(text))
        {
            m_endpoint->RegisterReceiveCallback([this](std::uint32_t, const WString&) {
                {
                    const std::lock_guard guard(m_lock);
                    m_came = true;
                }
                m_changed.notify_one();
            });
            m_endpoint->Start(nullptr, nullptr, nullptr);
            m_endpoint->AddClient(0, PipeName(name), true, nullptr);
        }
        ~Client()
        {
            m_endpoint->Stop();
        }
        void Send()
        {
            m_endpoint->WriteMessage(0, m_text, true);
        }
        void Receive()
        {
            std::unique_lock guard(m_lock);
            m_changed.wait(guard, [this] { return m_came; });
            m_came = false;
        }

    private:
        std::mutex m_lock;
        std::condition_variable m_changed;
        bool m_came = false;
        std::shared_ptr<MultiClientPipe> m_endpoint;
        WString m_text;
    };

    static void Serve(const ServerSettings& settings)
    {
        static std::shared_ptr<MultiClientPipe> endpoint;
        endpoint = MultiClientPipe::Create(PipeName(settings.name), UTF8, TIMEOUT, BUFFER_SIZE, false);
        endpoint->RegisterReceiveCallback(
            [back = PipeName(settings.name + "-back")](std::uint32_t, const WString& text) {
                if (endpoint->GetListOfClientIDs().empty())
                {
                    endpoint->AddClient(0, back, true, nullptr);
                }
                endpoint->WriteMessage(0, text, true);
            });
        endpoint->Start(nullptr, nullptr, nullptr);
    }
};

template<class Kind>
int RunServer(const Quoll::Tests::Arguments& arguments)
{
    PinTo(std::stoi(arguments.at(1)));
    Kind::Serve({arguments.at(0), std::stoi(arguments.at(2)), std::stoul(arguments.at(3))});
    std::cout << "serving" << std::endl;
    std::string line;
    std::getline(std::cin, line);
    std::_Exit(0);
}

CHILD_PROCESS(Raw)
{
    return RunServer<Raw>(arguments);
}
CHILD_PROCESS(ZeroMq)
{
    return RunServer<ZeroMq>(arguments);
}
CHILD_PROCESS(Classes)
{
    return RunServer<Classes>(arguments);
}
CHILD_PROCESS(Endpoints)
{
    return RunServer<Endpoints>(arguments);
}

struct Setting
{
    const char* child;
    int serverCpu;
    int every = 1;
    int clients = 1;
    std::size_t size = 64;
};

// An iteration: every client sends `every` messages, then every client takes its answer.
template<class Kind>
void Exchange(benchmark::State& state, Setting setting)
{
    cpu_set_t before;
    sched_getaffinity(0, sizeof before, &before);
    static int runs = 0;
    const std::string name = "quoll-bench-" + std::to_string(::getpid()) + "-" + std::to_string(++runs);
    {
        ChildProcess server(setting.child, {name, std::to_string(setting.serverCpu), std::to_string(setting.every),
                                            std::to_string(setting.size)});
        Require(server.WaitForOutput("serving"), "the server doesn't serve");
        PinTo(0);
        std::vector<std::unique_ptr<typename Kind::Client>> clients;
        for (int i = 0; i < setting.clients; ++i)
        {
            clients.push_back(std::make_unique<typename Kind::Client>(name, std::string(setting.size, 'm')));
        }
        for (auto _ : state)
        {
            for (const auto& client : clients)
            {
                for (int i = 0; i < setting.every; ++i)
                {
                    client->Send();
                }
            }
            for (const auto& client : clients)
            {
                client->Receive();
            }
        }
        state.SetItemsProcessed(state.iterations() * setting.every * setting.clients);
    }
    ::unlink(("/tmp/" + name).c_str());
    sched_setaffinity(0, sizeof before, &before);
}

template<class Kind>
void Register(const std::string& what, const char* who, const Setting& setting)
{
    benchmark::RegisterBenchmark((what + "/" + who).c_str(), Exchange<Kind>, setting)->UseRealTime();
}

void RegisterAll(const std::string& what, Setting setting, bool endpoints)
{
    const auto with = [&setting](const char* child) {
        setting.child = child;
        return setting;
    };
    Register<Classes>(what, "quoll", with("Classes"));
    Register<Raw>(what, "socket", with("Raw"));
    Register<ZeroMq>(what, "zeromq", with("ZeroMq"));
    if (endpoints)
    {
        Register<Endpoints>(what, "quoll-endpoints", with("Endpoints"));
    }
}

} // namespace

int main(int argc, char** argv)
{
    if (const auto code = Quoll::Tests::RunChildFunction(argc, argv))
    {
        return *code;
    }
    for (const int cpu : {0, 1})
    {
        const std::string where = cpu == 0 ? " on one processor" : " on two processors";
        RegisterAll("round trip, 64 bytes" + where, {.child = "", .serverCpu = cpu}, true);
        RegisterAll("1000 one way, 64 bytes" + where, {.child = "", .serverCpu = cpu, .every = 1000}, false);
        RegisterAll("round trip, 1 MiB" + where, {.child = "", .serverCpu = cpu, .size = 1024 * 1024}, false);
        RegisterAll("64 clients, 64 bytes" + where, {.child = "", .serverCpu = cpu, .clients = 64}, false);
    }
    return Quoll::Benchmarks::RunAndCompare(argc, argv);
}
