// The service: lets the tray program in, sends it a report on every line of a file and checks the answers.
//
//     quoll_service SERVICE_PIPE TRAY_PROGRAM FILE
//     quoll_service --knock SERVICE_PIPE
//
// The second form is a stranger: it tries to talk to the service, which knows the tray program only.
#include "Demo.h"
#include "LineSender.h"

#include <Quoll/Errors.h>
#include <Quoll/File.h>
#include <Quoll/NativePath.h>
#include <Quoll/Path.h>
#include <Quoll/PipeClient.h>
#include <Quoll/PipePeer.h>

#include <exception>
#include <filesystem>
#include <future>
#include <sstream>
#include <stdexcept>
#include <utility>
#include <vector>

using namespace Quoll::Literals;
using namespace Quoll::Utilities;
using Quoll::WString;

namespace
{

constexpr std::string_view SERVICE = "service";
constexpr std::string_view STRANGER = "stranger";
constexpr std::size_t SHOWN = 12;
constexpr std::chrono::minutes PATIENCE(1);

template<class Value>
Value Await(std::future<Value> future, const char* what)
{
    if (future.wait_for(PATIENCE) != std::future_status::ready)
    {
        throw std::runtime_error(std::string("waited in vain for ") + what);
    }
    return future.get();
}

// Lets in who runs from the tray's executable file.
bool IsTray(const SharedHandle& pipe, const std::filesystem::path& trayProgram)
{
    const auto peer = PipePeer::Query(pipe);
    const bool known = std::filesystem::equivalent(NativePath::ToNative(peer.GetExecutable()), trayProgram);
    Demo::Say(SERVICE, (known ? "lets in process " : "refuses process ") + std::to_string(peer.GetProcessId()) +
                           ", which runs " + Demo::ToText(peer.GetExecutable()));
    return known;
}

// Nobody may change the file from now on until it is read.
std::istringstream ReadInput(const WString& path)
{
    if (!File::Exists(path))
    {
        throw std::runtime_error("there is no file " + Demo::ToText(path));
    }
    const SharedHandle lock = File::Lock(path);
    const UtcTime written = File::GetFileLastWriteTime(path);
    Demo::Say(SERVICE, "will report on " + Demo::ToText(path));
    const std::vector<std::uint8_t> bytes = File::ReadAllBytes(path);
    Demo::Say(SERVICE, "has read " + Demo::ToText(Path::GetFileName(path)) + ": " + std::to_string(bytes.size()) +
                           " bytes, written " + Demo::ToText(written.ToString(UtcTime::StringValue::Iso8601T, false)) +
                           " UTC");
    return std::istringstream(std::string(bytes.begin(), bytes.end()));
}

void SendReports(Demo::LineSender& sender, IMultiClientPipe& endpoint, std::istream& file, const WString& path)
{
    std::string line;
    for (std::size_t number = 1; std::getline(file, line); ++number)
    {
        const auto report = Demo::MakeReport(path, number, line);
        if (number <= SHOWN)
        {
            Demo::Say(SERVICE, "sends " + Demo::Shorten(Demo::ToText(Demo::Encode(report))));
        }
        else if (number == SHOWN + 1)
        {
            Demo::Say(SERVICE, "(sends the rest without telling)");
        }
        sender.Ask(endpoint, report);
    }
    Demo::Say(SERVICE, "every report came back right");
    const std::string longLine(std::size_t{1024} * 1024 / sizeof(Quoll::WChar), 'm');
    sender.Ask(endpoint, Demo::MakeReport(path, 0, longLine));
    Demo::Say(SERVICE, "a report of 1 MiB came back right");
}

void Serve(const WString& pipeName, const std::filesystem::path& trayProgram, const std::filesystem::path& path)
{
    const WString libraryPath = NativePath::FromNative(std::filesystem::absolute(path));
    std::istringstream file = ReadInput(libraryPath);

    Demo::LineSender sender;
    std::promise<WString> hello;
    std::promise<void> trayGone;
    bool greeted = false; // one connection, one thread
    const auto endpoint = Demo::MakeEndpoint(pipeName);
    endpoint->RegisterReceiveCallback([&](std::uint32_t, const WString& message) {
        if (std::exchange(greeted, true))
        {
            sender.TakeAnswer(message);
        }
        else
        {
            hello.set_value(message);
        }
    });
    endpoint->Start(
        nullptr, [&](const SharedHandle& pipe, bool, std::uint32_t) { return IsTray(pipe, trayProgram); }, nullptr);
    Demo::Say(SERVICE, "serves " + Demo::ToText(endpoint->GetPipeServerName()));

    const auto greeting = Demo::Decode(Await(hello.get_future(), "the tray"), "hello"_w);
    endpoint->AddClient(Demo::PEER, greeting->GetStringValue("pipe"_w), true,
                        [&trayGone](std::uint32_t) { trayGone.set_value(); });
    SendReports(sender, *endpoint, file, libraryPath);

    Demo::Say(SERVICE, "waits for the tray to go");
    Await(trayGone.get_future(), "the end of the tray");
    Demo::Say(SERVICE, "the tray has gone");
    try
    {
        endpoint->WriteMessage(Demo::PEER, Demo::Encode(Demo::MakeMessage("ping"_w)), true);
        throw std::logic_error("a message reached a tray that has gone");
    }
    catch (const Quoll::Communication::ClosedConnectionException& exception)
    {
        Demo::Say(SERVICE, exception.what());
    }
    endpoint->Stop();
    Demo::Say(SERVICE, sender.Summary());
}

// Fails if the service talks to it.
void Knock(const WString& pipeName)
{
    AsyncNamedPipeClient client("\\\\.\\pipe\\"_w + pipeName, Demo::TIMEOUT);
    client.Open(SharedHandle());
    try
    {
        client.WriteMessageSync(Demo::Encode(Demo::MakeMessage("hello"_w)), true);
        client.ReadMessageSync();
    }
    catch (const Win32Exception& exception)
    {
        Demo::Say(STRANGER, std::string("was refused: ") + exception.what());
        return;
    }
    throw std::logic_error("the service answered a stranger");
}

} // namespace

int main(int argc, char** argv)
{
    const bool knocks = argc == 3 && std::string_view(argv[1]) == "--knock";
    if (!knocks && argc != 4)
    {
        Demo::Say(SERVICE, "usage: quoll_service SERVICE_PIPE TRAY_PROGRAM FILE | --knock SERVICE_PIPE");
        return 2;
    }
    try
    {
        if (knocks)
        {
            Knock(Demo::FromArgument(argv[2]));
        }
        else
        {
            Serve(Demo::FromArgument(argv[1]), argv[2], argv[3]);
        }
        return 0;
    }
    catch (const std::exception& exception)
    {
        Demo::Say(knocks ? STRANGER : SERVICE, exception.what());
        return 1;
    }
}
