#include "platform/linux/PipeProtocol.h"

#include "core/utf/Transcoder.h"
#include "platform/linux/ErrnoTable.h"
#include "platform/linux/Fork.h"

#include <platform/case_folding.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>
#include <string_view>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace Quoll::Platform
{

namespace
{

using namespace Quoll::Literals;

constexpr auto pipePrefix = "\\\\.\\pipe\\"_w;
constexpr std::size_t longestName = 256; // in units, the prefix included
constexpr std::string_view addressPrefix = "quoll/pipe/";
constexpr std::string_view hashPrefix = "quoll/pipe#";

// FNV-1a of 128 bits (Fowler, Noll, Vo; public domain parameters). It only shortens: whoever may
// choose names can take any name as it is.
std::string HashText(std::string_view text)
{
    __extension__ using Wide = unsigned __int128;
    const Wide prime = (Wide{1} << 88) + 0x13B;
    Wide hash = (Wide{0x6C62272E07BB0142} << 64) + 0x62B821756295C58D;
    for (const char unit : text)
    {
        hash = (hash ^ static_cast<unsigned char>(unit)) * prime;
    }
    std::array<char, 33> digits{};
    std::snprintf(digits.data(), digits.size(), "%016llx%016llx", static_cast<unsigned long long>(hash >> 64),
                  static_cast<unsigned long long>(hash));
    return digits.data();
}

} // namespace

bool PipeAddress::HasPipePrefix(LPCWSTR name) noexcept
{
    for (const WCHAR expected : WStringView(pipePrefix))
    {
        if (*name == 0 || ToLowerUnit(*name) != expected)
        {
            return false;
        }
        ++name;
    }
    return true;
}

bool PipeAddress::Parse(LPCWSTR name) noexcept
try
{
    if (name == nullptr || !HasPipePrefix(name) || name[pipePrefix.size()] == 0)
    {
        return Fail(ERROR_INVALID_NAME) != FALSE;
    }
    WStringView text(name);
    if (text.size() > longestName)
    {
        return Fail(ERROR_FILENAME_EXCED_RANGE) != FALSE;
    }
    text.remove_prefix(pipePrefix.size());
    WString lower(text);
    std::ranges::transform(lower, lower.begin(), ToLowerUnit);
    std::string bytes(3 * lower.size(), 0);
    const auto encoded = Utf::Encode(lower, bytes.data(), bytes.size());
    bytes.resize(encoded.written);
    m_path = addressPrefix;
    m_path += bytes;
    if (encoded.outcome != Utf::Outcome::Complete)
    {
        bytes.assign(reinterpret_cast<const char*>(lower.data()), lower.size() * sizeof(WCHAR));
    }
    if (encoded.outcome != Utf::Outcome::Complete || m_path.size() + 1 > sizeof(sockaddr_un::sun_path))
    {
        m_path = hashPrefix;
        m_path += HashText(bytes);
    }
    return true;
}
catch (const std::bad_alloc&)
{
    return Fail(ERROR_NOT_ENOUGH_MEMORY) != FALSE;
}

unsigned PipeAddress::Fill(sockaddr_un& address) const noexcept
{
    address = {};
    address.sun_family = AF_UNIX;
    // The leading NUL makes it abstract; it ends with the length, not with a NUL.
    std::ranges::copy(m_path, address.sun_path + 1);
    return static_cast<unsigned>(offsetof(sockaddr_un, sun_path) + 1 + m_path.size());
}

int PipeAddress::Bind(int socket) const noexcept
{
    sockaddr_un address;
    const unsigned length = Fill(address);
    return bind(socket, reinterpret_cast<const sockaddr*>(&address), length);
}

int PipeAddress::Connect(int socket) const noexcept
{
    sockaddr_un address;
    const unsigned length = Fill(address);
    return connect(socket, reinterpret_cast<const sockaddr*>(&address), length);
}

bool SendAnswer(int socket, PipeAnswer answer, int descriptor) noexcept
{
    iovec part{&answer, sizeof answer};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    alignas(cmsghdr) std::array<std::byte, CMSG_SPACE(sizeof(int))> control{};
    if (descriptor >= 0)
    {
        message.msg_control = control.data();
        message.msg_controllen = control.size();
        cmsghdr* const header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(sizeof(int));
        std::memcpy(CMSG_DATA(header), &descriptor, sizeof descriptor);
    }
    return sendmsg(socket, &message, MSG_DONTWAIT | MSG_NOSIGNAL) == static_cast<ssize_t>(sizeof answer);
}

DWORD ReceiveAnswer(int socket, PipeAnswer& answer, int& descriptor) noexcept
{
    iovec part{&answer, sizeof answer};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    alignas(cmsghdr) std::array<std::byte, CMSG_SPACE(sizeof(int))> control{};
    message.msg_control = control.data();
    message.msg_controllen = CMSG_LEN(sizeof(int)); // no room for a second descriptor
    const ssize_t got = recvmsg(socket, &message, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
    if (got < 0 && (errno == EAGAIN || errno == EINTR))
    {
        return ERROR_IO_PENDING;
    }
    const cmsghdr* const header = got > 0 ? CMSG_FIRSTHDR(&message) : nullptr;
    if (header != nullptr && header->cmsg_level == SOL_SOCKET && header->cmsg_type == SCM_RIGHTS &&
        header->cmsg_len == CMSG_LEN(sizeof(int)))
    {
        CloseOwned(descriptor); // of an earlier answer that should have had none
        std::memcpy(&descriptor, CMSG_DATA(header), sizeof descriptor);
        NoteOwned(descriptor);
    }
    return got == static_cast<ssize_t>(sizeof answer) ? ERROR_SUCCESS : ERROR_BROKEN_PIPE;
}

} // namespace Quoll::Platform
