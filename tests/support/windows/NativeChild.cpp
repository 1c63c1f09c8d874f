// Children by CreateProcessW.
#include "support/NativeChild.h"

#include <windows.h>

#include <cstdlib>
#include <mutex>
#include <system_error>

namespace Quoll::Tests
{

struct NativeChild
{
    HANDLE process = nullptr;
    DWORD id = 0;
    HANDLE input = nullptr;

    ~NativeChild()
    {
        CloseHandle(input);
        CloseHandle(process);
    }
};

namespace
{

void Check(BOOL succeeded, const char* what)
{
    if (!succeeded)
    {
        throw std::system_error(static_cast<int>(GetLastError()), std::system_category(), what);
    }
}

std::wstring CommandLine(const Arguments& arguments)
{
    std::wstring program(MAX_PATH * 8, L'\0');
    program.resize(GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size())));
    std::wstring line = L'"' + program + L'"';
    for (const auto& argument : arguments)
    {
        line += L' ' + std::wstring(argument.begin(), argument.end());
    }
    return line;
}

// Variables reach the child through this process's own environment, for the time of the start.
class EnvironmentScope
{
public:
    explicit EnvironmentScope(const Environment& environment)
        : m_environment(environment)
    {
        for (const auto& [name, value] : m_environment)
        {
            SetEnvironmentVariableA(name.c_str(), value.c_str());
        }
    }
    ~EnvironmentScope()
    {
        for (const auto& entry : m_environment)
        {
            SetEnvironmentVariableA(entry.first.c_str(), nullptr);
        }
    }
    EnvironmentScope(const EnvironmentScope&) = delete;
    EnvironmentScope& operator=(const EnvironmentScope&) = delete;

private:
    const Environment& m_environment;
};

} // namespace

std::shared_ptr<NativeChild> StartNative(const Arguments& commandLine, const Environment& environment,
                                         const std::filesystem::path& output)
{
    // One start at a time, so that no other child inherits these handles.
    static std::mutex starting;
    const std::lock_guard lock(starting);

    auto child = std::make_shared<NativeChild>();
    SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    Check(CreatePipe(&startup.hStdInput, &child->input, &inherited, 0), "CreatePipe");
    SetHandleInformation(child->input, HANDLE_FLAG_INHERIT, 0);
    startup.hStdOutput =
        CreateFileW(output.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    &inherited, OPEN_EXISTING, 0, nullptr);
    startup.hStdError = startup.hStdOutput;

    auto line = CommandLine(commandLine);
    PROCESS_INFORMATION started{};
    BOOL succeeded = FALSE;
    DWORD error = 0;
    {
        const EnvironmentScope scope(environment);
        succeeded =
            CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &started);
        error = GetLastError();
    }
    CloseHandle(startup.hStdInput);
    CloseHandle(startup.hStdOutput);
    SetLastError(error);
    Check(succeeded, "CreateProcessW");
    CloseHandle(started.hThread);
    child->process = started.hProcess;
    child->id = started.dwProcessId;
    return child;
}

std::uint32_t NativeId(const NativeChild& child) noexcept
{
    return child.id;
}

void NativeWrite(NativeChild& child, std::string_view text)
{
    DWORD written = 0;
    Check(WriteFile(child.input, text.data(), static_cast<DWORD>(text.size()), &written, nullptr),
          "write to the child's input");
}

void NativeKill(NativeChild& child) noexcept
{
    TerminateProcess(child.process, 137);
}

std::optional<int> NativeWait(NativeChild& child, std::chrono::milliseconds limit)
{
    if (WaitForSingleObject(child.process, static_cast<DWORD>(limit.count())) != WAIT_OBJECT_0)
    {
        return std::nullopt;
    }
    DWORD code = 0;
    Check(GetExitCodeProcess(child.process, &code), "GetExitCodeProcess");
    return static_cast<int>(code);
}

} // namespace Quoll::Tests
