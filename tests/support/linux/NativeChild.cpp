// Children by posix_spawn; a descriptor of the process lets the wait have a limit.
#include "support/NativeChild.h"

#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

extern char** environ;

namespace Quoll::Tests
{

struct NativeChild
{
    pid_t process = -1;
    int input = -1;

    ~NativeChild()
    {
        close(input);
    }
};

namespace
{

void Check(int error, const char* what)
{
    if (error != 0)
    {
        throw std::system_error(error, std::generic_category(), what);
    }
}

std::vector<char*> Pointers(std::vector<std::string>& texts)
{
    std::vector<char*> pointers;
    for (auto& text : texts)
    {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

std::vector<std::string> MergedEnvironment(const Environment& additions)
{
    std::vector<std::string> merged;
    for (const auto& [name, value] : additions)
    {
        merged.push_back(name + "=" + value);
    }
    for (char** entry = environ; *entry != nullptr; ++entry)
    {
        merged.emplace_back(*entry);
    }
    return merged;
}

} // namespace

std::shared_ptr<NativeChild> StartNative(const Arguments& commandLine, const Environment& environment,
                                         const std::filesystem::path& output)
{
    auto child = std::make_shared<NativeChild>();
    int ends[2];
    Check(pipe2(ends, O_CLOEXEC) == 0 ? 0 : errno, "pipe2");
    child->input = ends[1];

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[0], STDIN_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output.c_str(), O_WRONLY | O_APPEND, 0);
    posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);

    std::vector<std::string> arguments{std::filesystem::read_symlink("/proc/self/exe")};
    arguments.insert(arguments.end(), commandLine.begin(), commandLine.end());
    auto variables = MergedEnvironment(environment);
    const int error = posix_spawn(&child->process, "/proc/self/exe", &actions, nullptr, Pointers(arguments).data(),
                                  Pointers(variables).data());
    posix_spawn_file_actions_destroy(&actions);
    close(ends[0]);
    Check(error, "posix_spawn");
    return child;
}

std::uint32_t NativeId(const NativeChild& child) noexcept
{
    return static_cast<std::uint32_t>(child.process);
}

void NativeWrite(NativeChild& child, std::string_view text)
{
    while (!text.empty())
    {
        const auto written = write(child.input, text.data(), text.size());
        Check(written >= 0 || errno == EINTR ? 0 : errno, "write to the child's input");
        text.remove_prefix(written > 0 ? static_cast<std::size_t>(written) : 0);
    }
}

void NativeKill(NativeChild& child) noexcept
{
    kill(child.process, SIGKILL);
}

std::optional<int> NativeWait(NativeChild& child, std::chrono::milliseconds limit)
{
    const auto end = std::chrono::steady_clock::now() + limit;
    pollfd process{static_cast<int>(syscall(SYS_pidfd_open, child.process, 0)), POLLIN, 0};
    Check(process.fd >= 0 ? 0 : errno, "pidfd_open");
    int ready = 0;
    do
    {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        ready = poll(&process, 1, static_cast<int>(std::max<std::int64_t>(left.count(), 0)));
    } while (ready < 0 && errno == EINTR);
    close(process.fd);
    if (ready == 0)
    {
        return std::nullopt;
    }
    int status = 0;
    Check(waitpid(child.process, &status, 0) == child.process ? 0 : errno, "waitpid");
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

} // namespace Quoll::Tests
