// Who is at the other end of a pipe, by the process number that the pipe keeps.
//
// The process is held open while its image and user are read, so that its number can't pass to
// another one in between, and counts only if it still runs afterwards.
#include <platform/peer.h>

#include <sddl.h>

#include <memory>
#include <new>
#include <vector>

namespace Quoll::Platform
{

namespace
{

struct Closer
{
    void operator()(HANDLE handle) const noexcept
    {
        CloseHandle(handle);
    }
};
using OwnedHandle = std::unique_ptr<void, Closer>;

bool PeerProcess(HANDLE pipe, ULONG& process) noexcept
{
    DWORD flags = 0;
    if (GetNamedPipeInfo(pipe, &flags, nullptr, nullptr, nullptr) == FALSE)
    {
        return false;
    }
    const BOOL known = (flags & PIPE_SERVER_END) != 0 ? GetNamedPipeClientProcessId(pipe, &process)
                                                      : GetNamedPipeServerProcessId(pipe, &process);
    return known != FALSE;
}

bool ReadUser(HANDLE process, PeerIdentity& peer)
{
    HANDLE token = nullptr;
    if (OpenProcessToken(process, TOKEN_QUERY, &token) == FALSE)
    {
        return false;
    }
    const OwnedHandle owner(token);
    DWORD size = 0;
    GetTokenInformation(token, TokenUser, nullptr, 0, &size);
    std::vector<std::byte> buffer(size);
    LPSTR text = nullptr;
    if (GetTokenInformation(token, TokenUser, buffer.data(), size, &size) == FALSE ||
        ConvertSidToStringSidA(reinterpret_cast<const TOKEN_USER*>(buffer.data())->User.Sid, &text) == FALSE)
    {
        return false;
    }
    const std::unique_ptr<char, decltype(&LocalFree)> textOwner(text, LocalFree);
    peer.user = text;
    return true;
}

bool ReadExecutable(HANDLE process, PeerIdentity& peer)
{
    WString path(32768, 0);
    auto length = static_cast<DWORD>(path.size());
    if (QueryFullProcessImageNameW(process, 0, path.data(), &length) == FALSE)
    {
        return false;
    }
    path.resize(length);
    const HANDLE file =
        CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                    OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE)
    {
        return false;
    }
    const OwnedHandle owner(file);
    BY_HANDLE_FILE_INFORMATION information{};
    if (GetFileInformationByHandle(file, &information) == FALSE)
    {
        return false;
    }
    peer.executable = std::move(path);
    peer.device = information.dwVolumeSerialNumber;
    peer.file = (std::uint64_t{information.nFileIndexHigh} << 32) | information.nFileIndexLow;
    return true;
}

bool IsRunning(HANDLE process) noexcept
{
    DWORD code = 0;
    return GetExitCodeProcess(process, &code) != FALSE && code == STILL_ACTIVE;
}

} // namespace

bool QueryPipePeer(HANDLE pipe, PeerIdentity& peer) noexcept
try
{
    ULONG processId = 0;
    if (!PeerProcess(pipe, processId))
    {
        return false;
    }
    const OwnedHandle process(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId));
    PeerIdentity found;
    found.processId = processId;
    if (!process || !ReadUser(process.get(), found) || !ReadExecutable(process.get(), found))
    {
        return false;
    }
    if (!IsRunning(process.get()))
    {
        SetLastError(ERROR_BROKEN_PIPE);
        return false;
    }
    peer = std::move(found);
    return true;
}
catch (const std::bad_alloc&)
{
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return false;
}

} // namespace Quoll::Platform
