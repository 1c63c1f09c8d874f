// What the two processes say to each other before a pipe is connected.
#pragma once

#include <windows.h>

#include <array>
#include <cstddef>
#include <string>

struct sockaddr_un;

namespace Quoll::Platform
{

/// A pipe's name as a socket address: an abstract one, "quoll/pipe/" and the lower-cased name, or
/// its hash where that is too long.
class PipeAddress
{
public:
    /// False, with ERROR_INVALID_NAME or ERROR_FILENAME_EXCED_RANGE as last error, if the text is
    /// no pipe's name. Letter case doesn't matter.
    bool Parse(LPCWSTR name) noexcept;

    static bool HasPipePrefix(LPCWSTR name) noexcept;

    int Bind(int socket) const noexcept;
    int Connect(int socket) const noexcept;

    const std::string& Key() const noexcept
    {
        return m_path;
    }

private:
    unsigned Fill(sockaddr_un& address) const noexcept;

    std::string m_path;
};

enum class HelloKind : char
{
    Open = 'O', // an instance, please
    Wait = 'W'  // tell me when one is free
};

constexpr std::size_t helloSize = 5;
using Hello = std::array<char, helloSize>;
constexpr Hello MakeHello(HelloKind kind) noexcept
{
    return {'Q', 'P', 'H', '1', static_cast<char>(kind)};
}

/// The server's answer. To Open: ERROR_SUCCESS, with the control page's descriptor, or why not. To
/// Wait: ERROR_SUCCESS when an instance is free; before that, once, ERROR_IO_PENDING with the
/// pipe's default time to wait in milliseconds.
struct PipeAnswer
{
    DWORD code;
    DWORD value;
};

/// Sends an answer without waiting; `descriptor` goes along unless it is negative.
bool SendAnswer(int socket, PipeAnswer answer, int descriptor = -1) noexcept;
/// ERROR_SUCCESS, ERROR_IO_PENDING (nothing has come yet), or ERROR_BROKEN_PIPE.
DWORD ReceiveAnswer(int socket, PipeAnswer& answer, int& descriptor) noexcept;

} // namespace Quoll::Platform
