#include "support/ChildProcess.h"

#include "support/NativeChild.h"

#include <fstream>
#include <iostream>
#include <map>
#include <sstream>
#include <stdexcept>

namespace Quoll::Tests
{

namespace
{

constexpr std::string_view ChildSwitch = "--quoll-child";
constexpr int UncaughtExitCode = 99;

std::map<std::string, ChildFunction>& Functions()
{
    static std::map<std::string, ChildFunction> functions;
    return functions;
}

// Command lines take one road on all systems: what a quoting rule could touch becomes %XX, and a
// lone % stands for nothing at all.
std::string Encode(std::string_view text)
{
    constexpr std::string_view plain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_./:";
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string encoded = text.empty() ? "%" : "";
    for (const char unit : text)
    {
        if (plain.find(unit) != std::string_view::npos)
        {
            encoded += unit;
            continue;
        }
        const auto value = static_cast<unsigned char>(unit);
        encoded += {'%', digits[value >> 4], digits[value & 15]};
    }
    return encoded;
}

std::string Decode(const std::string& encoded)
{
    std::string text;
    for (std::size_t i = 0; i < encoded.size(); ++i)
    {
        if (encoded[i] != '%')
        {
            text += encoded[i];
        }
        else if (i + 2 < encoded.size())
        {
            text += static_cast<char>(std::stoi(encoded.substr(i + 1, 2), nullptr, 16));
            i += 2;
        }
    }
    return text;
}

} // namespace

ChildRegistration::ChildRegistration(const char* name, ChildFunction function)
{
    if (!Functions().emplace(name, function).second)
    {
        throw std::logic_error(std::string("two child functions are called ") + name);
    }
}

std::optional<int> RunChildFunction(int argc, char** argv)
{
    if (argc < 3 || argv[1] != ChildSwitch)
    {
        return std::nullopt;
    }
    const auto found = Functions().find(argv[2]);
    if (found == Functions().end())
    {
        std::cerr << "no child function is called " << argv[2] << std::endl;
        return UncaughtExitCode;
    }
    Arguments arguments;
    for (int i = 3; i < argc; ++i)
    {
        arguments.push_back(Decode(argv[i]));
    }
    try
    {
        return found->second(arguments);
    }
    catch (const std::exception& exception)
    {
        std::cerr << "uncaught: " << exception.what() << std::endl;
    }
    return UncaughtExitCode;
}

ChildProcess::ChildProcess(std::string_view name, const Arguments& arguments, const Environment& environment)
    : m_output(m_directory.Path() / "output")
{
    std::ofstream create(m_output);
    Arguments commandLine{std::string(ChildSwitch), std::string(name)};
    for (const auto& argument : arguments)
    {
        commandLine.push_back(Encode(argument));
    }
    m_native = StartNative(commandLine, environment, m_output);
}

ChildProcess::~ChildProcess()
{
    Kill();
}

std::uint32_t ChildProcess::Id() const noexcept
{
    return NativeId(*m_native);
}

void ChildProcess::Write(std::string_view text)
{
    NativeWrite(*m_native, text);
}

std::string ChildProcess::Output() const
{
    std::ostringstream text;
    text << std::ifstream(m_output, std::ios::binary).rdbuf();
    return std::move(text).str();
}

bool ChildProcess::WaitForOutput(std::string_view text, std::chrono::milliseconds limit) const
{
    return Eventually([&] { return Output().find(text) != std::string::npos; }, limit);
}

void ChildProcess::Kill()
{
    if (!m_exitCode)
    {
        NativeKill(*m_native);
        m_exitCode = NativeWait(*m_native, GenerousLimit);
    }
}

int ChildProcess::Wait(std::chrono::milliseconds limit)
{
    if (!m_exitCode)
    {
        m_exitCode = NativeWait(*m_native, limit);
        if (!m_exitCode)
        {
            Kill();
            throw std::runtime_error("the child process didn't end in time; its output: " + Output());
        }
    }
    return *m_exitCode;
}

} // namespace Quoll::Tests
