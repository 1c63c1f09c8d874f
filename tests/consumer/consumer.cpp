// Throws across the border of the installed library and looks at what arrives.
#include "Quoll/Quoll.h"

#include <atomic>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>

using namespace Quoll::Literals;
using Quoll::Utilities::ConversionException;
using Quoll::Utilities::StringUtilities;
using Quoll::Utilities::Win32Exception;

namespace
{

int failures = 0;

void Expect(bool condition, const char* what)
{
    if (!condition)
    {
        std::printf("failed: %s\n", what);
        ++failures;
    }
}

void ConvertBadText()
{
    StringUtilities::Utf8ToUtf16("bad \xFF");
}

// The type is told apart, the text is whole, and the exception survives a rethrow.
void ThrownInTheLibrary()
{
    std::string caught;
    try
    {
        try
        {
            ConvertBadText();
        }
        catch (const std::runtime_error&)
        {
            caught = "the wrong type";
        }
        catch (const std::exception& exception)
        {
            caught = exception.what();
            Expect(std::uncaught_exceptions() == 0, "nothing is in flight within a handler");
            throw;
        }
    }
    catch (const ConversionException& exception)
    {
        Expect(caught == exception.what() && !caught.empty(), "the rethrown exception has the same text");
        caught = "twice";
    }
    Expect(caught == "twice", "the rethrown exception has its own type");
}

void ThrownByTheClient()
{
    try
    {
        throw Win32Exception("opening", 5);
    }
    catch (const std::system_error& error)
    {
        Expect(error.code().value() == 5, "the code stands in the standard base");
        Expect(std::string_view(error.what()).starts_with("opening: "), "the context stands before the text");
        Expect(dynamic_cast<const Win32Exception*>(&error) != nullptr, "the type is one on both sides");
    }
}

// Containers that one side fills are freed by the other.
void TextCrossesTheBorder()
{
    const std::string longer(100'000, 'x');
    const Quoll::WString wide = StringUtilities::Utf8ToUtf16(longer + "\xE2\x82\xAC");
    Expect(wide.size() == longer.size() + 1 && wide.back() == "\u20AC"_w.front(), "bytes become wide text");
    Expect(StringUtilities::Utf16ToUtf8(wide) == longer + "\xE2\x82\xAC", "wide text becomes bytes");
}

// Nobody stops it: the library ends beside it.
void TimersRun()
{
    static std::atomic<int> runs{0};
    [[maybe_unused]] static const auto& timer = *new Quoll::Utilities::Timer(1, false, [] { ++runs; });
    while (runs < 3)
    {
        std::this_thread::yield();
    }
}

} // namespace

int main()
{
    TimersRun();
    for (int round = 0; round < 3; ++round)
    {
        ThrownInTheLibrary();
        ThrownByTheClient();
        TextCrossesTheBorder();
        Expect(std::uncaught_exceptions() == 0, "no exception is left in flight");
    }
    std::puts(failures == 0 ? "ok" : "FAILED");
    return failures == 0 ? 0 : 1;
}
