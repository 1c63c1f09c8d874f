// Child processes out of the test program itself.
//
// A child is a function of the program, registered by name, that runs in a process of its own:
//
//     CHILD_PROCESS(Holder)
//     {
//         std::cout << "holding " << arguments.at(0) << std::endl;
//         std::string line;
//         std::getline(std::cin, line); // until the parent says so
//         return 7;
//     }
//
//     ChildProcess child("Holder", {"a name"});
//     ASSERT_TRUE(child.WaitForOutput("holding"));
//     child.Write("go\n");
//     EXPECT_EQ(child.Wait(), 7) << child.Output();
//
// The child's main() calls the function and nothing else. An exception that leaves the function is
// printed and gives exit code 99.
#pragma once

#include "support/Eventually.h"
#include "support/TemporaryDirectory.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Quoll::Tests
{

using Arguments = std::vector<std::string>;
using ChildFunction = int (*)(const Arguments& arguments);

struct ChildRegistration
{
    ChildRegistration(const char* name, ChildFunction function);
};

/// Runs the child function that the command line names; nothing if it names none.
std::optional<int> RunChildFunction(int argc, char** argv);

/// Added to the child's environment.
using Environment = std::vector<std::pair<std::string, std::string>>;

struct NativeChild; // defined for each operating system

/// A running child. The destructor kills it if it still runs, and waits for its end.
class ChildProcess
{
public:
    /// Arguments may hold any bytes but NUL. Throws std::runtime_error if the start fails.
    explicit ChildProcess(std::string_view name, const Arguments& arguments = {}, const Environment& environment = {});
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    std::uint32_t Id() const noexcept;

    /// Gives the child text on its standard input.
    void Write(std::string_view text);

    /// All that the child has written to standard output and standard error so far.
    std::string Output() const;
    bool WaitForOutput(std::string_view text, std::chrono::milliseconds limit = GenerousLimit) const;

    /// Ends the child at once, without a chance to clean up, and returns when it is gone.
    void Kill();

    /// The exit code; on Linux 128 + n for an end by signal n. Beyond the limit the child is killed
    /// and std::runtime_error thrown.
    int Wait(std::chrono::milliseconds limit = GenerousLimit);

private:
    TemporaryDirectory m_directory;
    std::filesystem::path m_output;
    std::shared_ptr<NativeChild> m_native;
    std::optional<int> m_exitCode;
};

} // namespace Quoll::Tests

#define CHILD_PROCESS(name)                                                                                            \
    static int ChildFunction##name(const ::Quoll::Tests::Arguments& arguments);                                        \
    static const ::Quoll::Tests::ChildRegistration childRegistration##name(#name, ChildFunction##name);                \
    static int ChildFunction##name([[maybe_unused]] const ::Quoll::Tests::Arguments& arguments)
