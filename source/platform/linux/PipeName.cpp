#include "platform/linux/PipeName.h"

#include "platform/linux/ErrnoTable.h"
#include "platform/linux/Fork.h"
#include "platform/linux/Handshake.h"

#include <algorithm>
#include <cerrno>
#include <map>
#include <new>
#include <utility>

#include <sys/socket.h>
#include <unistd.h>

namespace Quoll::Platform
{

namespace
{

using namespace Quoll::Literals;

// More strangers than this at once, and the oldest make room. A client's hello is there when its
// connection is accepted, or a moment later.
constexpr std::size_t mostHandshakes = 256;
constexpr std::size_t mostWaiting = 256;
// A server makes the next instance when the last one has got its client. Who comes in between, or
// with many others, is kept for that moment and gets an instance in turn.
constexpr DWORD openingLimit = 100;    // milliseconds
constexpr DWORD handshakeLimit = 1000; // milliseconds
constexpr DWORD pauseWithoutDescriptors = 50;
constexpr int mostAcceptsAtOnce = 64; // then others get their turn
constexpr int backlog = 4096;

/// The names that this process serves.
struct Registry
{
    std::mutex lock; // taken before a name's
    std::map<std::string, Ref<PipeName>> names;

    static Registry& Instance() noexcept
    {
        static auto& registry = *new Registry; // outlives static destruction
        return registry;
    }
};

/// Watches a name's listening socket.
class Listener final : public IoSource
{
public:
    explicit Listener(PipeName& name) noexcept
        : m_name(&name)
    {
    }
    void Ready() noexcept override
    {
        m_name->Accept();
    }
    void TimedOut() noexcept override
    {
        m_name->AcceptAgain();
    }

private:
    Ref<PipeName> m_name;
};

} // namespace

PipeName::PipeName(PipeAddress address, const PipeSettings& settings) noexcept
    : m_address(std::move(address))
    , m_settings(settings)
{
}

PipeName::~PipeName()
{
    CloseOwned(m_listener);
}

bool PipeName::Join(const PipeAddress& address, const PipeSettings& settings, ServerEnd& instance) noexcept
try
{
    Registry& registry = Registry::Instance();
    const std::lock_guard guard(registry.lock);
    if (const auto found = registry.names.find(address.Key()); found != registry.names.end())
    {
        return found->second->AddInstance(settings, instance);
    }
    const auto name = Ref<PipeName>::Adopt(new PipeName(address, settings));
    const auto place = registry.names.emplace(address.Key(), name).first;
    if (!name->AddInstance(settings, instance))
    {
        registry.names.erase(place);
        return false;
    }
    if (!name->Listen())
    {
        const DWORD code = GetLastError();
        instance.SetName(Ref<PipeName>());
        registry.names.erase(place);
        return Fail(code) != FALSE;
    }
    return true;
}
catch (const std::bad_alloc&)
{
    return Fail(ERROR_NOT_ENOUGH_MEMORY) != FALSE;
}

bool PipeName::AddInstance(const PipeSettings& settings, ServerEnd& instance) noexcept
try
{
    const std::lock_guard guard(m_lock);
    if (settings.firstInstance && !m_instances.empty())
    {
        return Fail(ERROR_ACCESS_DENIED) != FALSE;
    }
    if (m_settings.maxInstances != PIPE_UNLIMITED_INSTANCES && m_instances.size() >= m_settings.maxInstances)
    {
        return Fail(ERROR_PIPE_BUSY) != FALSE;
    }
    m_instances.push_back(&instance);
    instance.SetName(Ref<PipeName>(this));
    return true;
}
catch (const std::bad_alloc&)
{
    return Fail(ERROR_NOT_ENOUGH_MEMORY) != FALSE;
}

bool PipeName::Listen() noexcept
{
    IoThread* const thread = IoThread::Running();
    auto* const listener = thread == nullptr ? nullptr : new (std::nothrow) Listener(*this);
    if (listener == nullptr)
    {
        return Fail(ERROR_NOT_ENOUGH_MEMORY) != FALSE;
    }
    const auto source = Ref<IoSource>::Adopt(listener);
    m_listener = NoteOwned(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (m_listener < 0)
    {
        return FailWithErrno() != FALSE;
    }
    if (m_address.Bind(m_listener) != 0 || listen(m_listener, backlog) != 0)
    {
        return Fail(errno == EADDRINUSE ? ERROR_ACCESS_DENIED : FromErrno(errno)) != FALSE;
    }
    const std::lock_guard guard(m_lock);
    m_watch = thread->Add(source, m_listener, IoThread::Watch::Input);
    return m_watch != 0;
}

void PipeName::Leave(ServerEnd& instance) noexcept
{
    const Ref<PipeName> self(this);
    Registry& registry = Registry::Instance();
    const std::lock_guard registryGuard(registry.lock);
    const std::lock_guard guard(m_lock);
    std::erase(m_instances, &instance);
    if (!m_instances.empty())
    {
        return;
    }
    // The name is free for anybody when this returns.
    registry.names.erase(m_address.Key());
    IoThread::Running()->Remove(m_watch);
    EndHandshakes(ERROR_FILE_NOT_FOUND);
    CloseOwned(std::exchange(m_listener, -1));
}

void PipeName::InstanceListens() noexcept
{
    const std::lock_guard guard(m_lock);
    while (!m_opening.empty() && AnyListens())
    {
        const Ref<Handshake> next = m_opening.front();
        m_opening.pop_front();
        if (const DWORD code = AttachToAny(*next); code != ERROR_SUCCESS)
        {
            next->End(code);
        }
    }
    while (!m_waiting.empty() && AnyListens())
    {
        const Ref<Handshake> waiting = m_waiting.front();
        m_waiting.pop_front();
        waiting->End(ERROR_SUCCESS);
    }
}

bool PipeName::AnyListens() const noexcept
{
    return std::ranges::any_of(m_instances, [](ServerEnd* instance) { return instance->IsListening(); });
}

void PipeName::EndHandshakes(DWORD code) noexcept
{
    for (auto* const list : {&m_handshakes, &m_opening, &m_waiting})
    {
        for (; !list->empty(); list->pop_front())
        {
            list->front()->End(code);
        }
    }
}

void PipeName::Accept() noexcept
{
    for (int i = 0; i < mostAcceptsAtOnce; ++i)
    {
        int accepted = -1;
        {
            const std::lock_guard guard(m_lock);
            if (m_listener < 0)
            {
                return;
            }
            accepted = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
            if (accepted < 0 && (errno == EMFILE || errno == ENFILE || errno == ENOMEM || errno == ENOBUFS))
            {
                OutputDebugStringW("A pipe's server is out of descriptors; it pauses accepting clients.\r\n"_w);
                PauseAccepting();
                return;
            }
        }
        if (accepted >= 0)
        {
            Greet(NoteOwned(accepted));
        }
        else if (errno != EINTR && errno != ECONNABORTED)
        {
            return;
        }
    }
}

void PipeName::AcceptAgain() noexcept
{
    const std::lock_guard guard(m_lock);
    IoThread::Running()->Pause(m_watch, false);
}

void PipeName::Greet(int socket) noexcept
try
{
    const auto handshake = Ref<Handshake>::Adopt(new (std::nothrow) Handshake(socket, *this));
    if (!handshake)
    {
        CloseOwned(socket);
        return;
    }
    HelloKind kind{};
    const DWORD code = handshake->ReadHello(kind);
    if (code == ERROR_SUCCESS)
    {
        Serve(*handshake, kind);
    }
    else if (code == ERROR_IO_PENDING)
    {
        Keep(m_handshakes, mostHandshakes, handshake, handshakeLimit);
    }
}
catch (const std::bad_alloc&)
{
    // The handshake's last owner has closed its socket.
}

void PipeName::Keep(Handshakes& list, std::size_t most, const Ref<Handshake>& handshake, DWORD limit)
{
    const std::lock_guard guard(m_lock);
    KeepLocked(list, most, handshake, limit);
}

void PipeName::KeepLocked(Handshakes& list, std::size_t most, const Ref<Handshake>& handshake, DWORD limit)
{
    if (m_listener < 0)
    {
        return;
    }
    if (list.size() >= most)
    {
        const Ref<Handshake> oldest = list.front();
        list.pop_front();
        oldest->End(ERROR_PIPE_BUSY);
    }
    list.push_back(handshake);
    if (!handshake->StartWatching(limit))
    {
        list.pop_back();
        handshake->End(ERROR_PIPE_BUSY);
    }
}

bool PipeName::Admits(int socket) const noexcept
{
    ucred peer{};
    socklen_t size = sizeof peer;
    return m_settings.openToEverybody ||
           (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && (peer.uid == geteuid() || peer.uid == 0));
}

void PipeName::Serve(Handshake& handshake, HelloKind kind) noexcept
try
{
    const Ref<Handshake> alive(&handshake);
    const std::lock_guard guard(m_lock);
    if (handshake.HasEnded())
    {
        return;
    }
    Remove(m_handshakes, handshake);
    const DWORD code = Admits(handshake.Socket()) ? Answer(handshake, kind) : ERROR_ACCESS_DENIED;
    if (code == ERROR_IO_PENDING)
    {
        handshake.Park();
        const bool opens = kind == HelloKind::Open;
        KeepLocked(opens ? m_opening : m_waiting, mostWaiting, alive, opens ? openingLimit : INFINITE);
    }
    else if (kind == HelloKind::Wait || code != ERROR_SUCCESS)
    {
        handshake.End(code);
    }
}
catch (const std::bad_alloc&)
{
    Drop(handshake);
}

// With m_lock held. ERROR_IO_PENDING: the handshake has to wait.
DWORD PipeName::Answer(Handshake& handshake, HelloKind kind) noexcept
{
    const bool listens = AnyListens();
    if (kind == HelloKind::Open)
    {
        return listens ? AttachToAny(handshake) : ERROR_IO_PENDING;
    }
    if (!listens)
    {
        SendAnswer(handshake.Socket(), {ERROR_IO_PENDING, m_settings.defaultTimeout});
    }
    return listens ? ERROR_SUCCESS : ERROR_IO_PENDING;
}

// With m_lock held. On success the instance has answered and owns the socket.
DWORD PipeName::AttachToAny(Handshake& handshake) noexcept
{
    // No longer watched before an instance has it: its new owner may close it at any moment.
    handshake.StopWatching();
    for (ServerEnd* const instance : m_instances)
    {
        const DWORD code = instance->TryAttach(handshake.Socket());
        if (code == ERROR_SUCCESS)
        {
            handshake.GiveSocketAway();
            return code;
        }
        if (code == ERROR_TOO_MANY_OPEN_FILES)
        {
            OutputDebugStringW("A pipe's server is out of descriptors; a client has to come again.\r\n"_w);
            PauseAccepting();
            return ERROR_PIPE_BUSY;
        }
        if (code != ERROR_PIPE_BUSY)
        {
            return code;
        }
    }
    return ERROR_PIPE_BUSY;
}

// With m_lock held. Those who come meanwhile wait in the backlog.
void PipeName::PauseAccepting() noexcept
{
    IoThread& thread = *IoThread::Running();
    thread.Pause(m_watch, true);
    thread.SetTimer(m_watch, pauseWithoutDescriptors);
}

bool PipeName::Remove(Handshakes& list, const Handshake& handshake) noexcept
{
    return std::erase_if(list, [&](const auto& entry) { return entry.Get() == &handshake; }) != 0;
}

void PipeName::Drop(Handshake& handshake) noexcept
{
    const Ref<Handshake> alive(&handshake);
    const std::lock_guard guard(m_lock);
    Remove(m_handshakes, handshake);
    Remove(m_opening, handshake);
    Remove(m_waiting, handshake);
    handshake.End();
}

void PipeName::GiveUp(Handshake& handshake) noexcept
{
    const Ref<Handshake> alive(&handshake);
    const std::lock_guard guard(m_lock);
    if (Remove(m_opening, handshake))
    {
        handshake.End(ERROR_PIPE_BUSY);
    }
}

} // namespace Quoll::Platform
