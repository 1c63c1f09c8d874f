// What strangers can do at a pipe's socket, and what a fork leaves behind. Only where pipes are
// sockets.
#include "Quoll/WideString.h"
#include "support/Eventually.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

using namespace Quoll::Literals;

class PipeStranger : public testing::Test
{
protected:
    PipeStranger()
        : m_name("quoll-stranger-" + std::to_string(getpid()) + "-" + std::to_string(++s_count))
        , m_wideName(Quoll::WString("\\\\.\\pipe\\"_w) + Quoll::WString(m_name.begin(), m_name.end()))
    {
    }
    ~PipeStranger() override
    {
        for (const int descriptor : m_strangers)
        {
            close(descriptor);
        }
        CloseHandle(m_server);
        CloseHandle(m_event);
    }

    void Listen(bool everybody = false)
    {
        SECURITY_DESCRIPTOR descriptor{};
        InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION);
        SetSecurityDescriptorDacl(&descriptor, TRUE, nullptr, FALSE);
        SECURITY_ATTRIBUTES attributes{sizeof attributes, &descriptor, TRUE};
        m_server = CreateNamedPipeW(m_wideName.c_str(), PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED,
                                    PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE, 8, 4096, 4096, 0,
                                    everybody ? &attributes : nullptr);
        ASSERT_NE(m_server, INVALID_HANDLE_VALUE) << GetLastError();
        m_event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
        m_connect.hEvent = m_event;
        ASSERT_FALSE(ConnectNamedPipe(m_server, &m_connect));
    }
    HANDLE Open() const
    {
        return CreateFileW(m_wideName.c_str(), GENERIC_READ | FILE_WRITE_DATA, 0, nullptr, OPEN_EXISTING,
                           FILE_FLAG_OVERLAPPED, nullptr);
    }
    int ConnectRaw() const
    {
        const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const std::string path = "quoll/pipe/" + m_name;
        std::memcpy(address.sun_path + 1, path.data(), path.size());
        const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + path.size());
        EXPECT_EQ(connect(descriptor, reinterpret_cast<const sockaddr*>(&address), length), 0);
        return descriptor;
    }
    void ExpectService()
    {
        const HANDLE client = Open();
        ASSERT_NE(client, INVALID_HANDLE_VALUE) << GetLastError();
        EXPECT_EQ(WaitForSingleObject(m_event, 60000), WAIT_OBJECT_0);
        CloseHandle(client);
    }
    static bool HungUp(int descriptor)
    {
        pollfd state{descriptor, POLLIN, 0};
        char byte = 0;
        return poll(&state, 1, 60000) == 1 && recv(descriptor, &byte, 1, MSG_DONTWAIT) <= 0;
    }

    inline static int s_count = 0;
    const std::string m_name;
    const Quoll::WString m_wideName;
    HANDLE m_server = INVALID_HANDLE_VALUE;
    HANDLE m_event = nullptr;
    OVERLAPPED m_connect{};
    std::vector<int> m_strangers;
};

TEST_F(PipeStranger, FiveHundredSilentOnesKeepNobodyWaiting)
{
    Listen();
    for (int i = 0; i < 500; ++i)
    {
        m_strangers.push_back(ConnectRaw());
    }
    ExpectService();
    // The oldest made room as soon as there were too many, which it is told; the others are cut off
    // when their time is up.
    DWORD answer[2] = {};
    ASSERT_EQ(recv(m_strangers.front(), answer, sizeof answer, MSG_WAITALL), static_cast<ssize_t>(sizeof answer));
    EXPECT_EQ(answer[0], ERROR_PIPE_BUSY);
    EXPECT_TRUE(HungUp(m_strangers.back())) << "a silent stranger is kept for ever";
}

TEST_F(PipeStranger, GarbageIsCutOffAndTakesNoInstance)
{
    Listen();
    for (const std::string& garbage : {std::string("GET / HTTP/1.0\r\n\r\n"), std::string("QPH1?"), std::string(5, 0)})
    {
        m_strangers.push_back(ConnectRaw());
        send(m_strangers.back(), garbage.data(), garbage.size(), MSG_NOSIGNAL);
        EXPECT_TRUE(HungUp(m_strangers.back()));
    }
    ExpectService();
}

TEST_F(PipeStranger, ALengthOfFourGibibytesCostsTheReaderNothing)
{
    Listen();
    m_strangers.push_back(ConnectRaw());
    const std::string message = std::string("QPH1O") + "\xFF\xFF\xFF\xFF" + "abc";
    send(m_strangers.back(), message.data(), message.size(), MSG_NOSIGNAL);
    ASSERT_EQ(WaitForSingleObject(m_event, 60000), WAIT_OBJECT_0);
    rusage before{};
    getrusage(RUSAGE_SELF, &before);
    std::vector<char> buffer(2);
    DWORD count = 0;
    OVERLAPPED read{};
    read.hEvent = m_event;
    EXPECT_FALSE(ReadFile(m_server, buffer.data(), 2, &count, &read));
    EXPECT_TRUE(GetLastError() == ERROR_MORE_DATA || GetLastError() == ERROR_IO_PENDING);
    EXPECT_FALSE(GetOverlappedResult(m_server, &read, &count, TRUE));
    EXPECT_EQ(GetLastError(), ERROR_MORE_DATA);
    EXPECT_EQ(std::string(buffer.data(), count), "ab");
    rusage after{};
    getrusage(RUSAGE_SELF, &after);
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 64 * 1024) << "kibibytes spent on an announced length";
}

TEST_F(PipeStranger, AnotherUserIsRefusedUnlessThePipeIsOpenToEverybody)
{
    if (geteuid() != 0)
    {
        GTEST_SKIP() << "only root can become another user";
    }
    for (const bool everybody : {false, true})
    {
        Listen(everybody);
        const pid_t child = fork();
        if (child == 0)
        {
            // Handles are dead in a forked child, so it speaks to the socket itself.
            const bool changed = setgid(65534) == 0 && setuid(65534) == 0;
            const int descriptor = ConnectRaw();
            DWORD answer[2] = {99, 0};
            send(descriptor, "QPH1O", 5, MSG_NOSIGNAL);
            const bool got = recv(descriptor, answer, sizeof answer, MSG_WAITALL) == sizeof answer;
            _exit(changed && got ? static_cast<int>(answer[0]) : 99);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(WEXITSTATUS(status), everybody ? 0 : static_cast<int>(ERROR_ACCESS_DENIED));
        CloseHandle(std::exchange(m_server, INVALID_HANDLE_VALUE));
        CloseHandle(std::exchange(m_event, nullptr));
    }
}

TEST_F(PipeStranger, AForkedChildKeepsNeitherHandlesNorThePipe)
{
    Listen();
    const HANDLE client = Open();
    int hold[2];
    ASSERT_EQ(pipe(hold), 0);
    const pid_t child = fork();
    if (child == 0)
    {
        close(hold[1]);
        SetLastError(0);
        const bool dead = SetEvent(m_event) == FALSE && GetLastError() == ERROR_INVALID_HANDLE &&
                          CreateEventW(nullptr, TRUE, FALSE, nullptr) == nullptr;
        char byte = 0;
        [[maybe_unused]] const ssize_t released = read(hold[0], &byte, 1);
        _exit(dead ? 0 : 1);
    }
    // The child lives on, and yet the server notices that its client is gone.
    CloseHandle(client);
    char buffer[4];
    DWORD count = 0;
    OVERLAPPED record{};
    record.hEvent = m_event;
    WaitForSingleObject(m_event, 60000);
    if (ReadFile(m_server, buffer, sizeof buffer, &count, &record) == FALSE && GetLastError() == ERROR_IO_PENDING)
    {
        WaitForSingleObject(m_event, 60000);
        GetOverlappedResult(m_server, &record, &count, FALSE);
    }
    EXPECT_EQ(GetLastError(), ERROR_BROKEN_PIPE);
    close(hold[1]);
    close(hold[0]);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST_F(PipeStranger, AServerOutOfDescriptorsServesAgainOnceThereAreSome)
{
    Listen();
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    const int lowest = dup(0);
    // One more descriptor for this process's end of the socket, and none for the server's.
    const rlimit none{static_cast<rlim_t>(lowest) + 1, before.rlim_max};
    close(lowest);
    setrlimit(RLIMIT_NOFILE, &none);
    m_strangers.push_back(ConnectRaw());
    setrlimit(RLIMIT_NOFILE, &before);
    ExpectService();
}

} // namespace
