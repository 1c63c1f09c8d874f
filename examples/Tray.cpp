// The tray program: connects to the service and answers whatever it sends.
//
//     quoll_tray TRAY_PIPE SERVICE_PIPE
//
// It runs until somebody ends it, or the service goes.
#include "Demo.h"

#include <exception>
#include <future>

using namespace Quoll::Literals;
using Quoll::WString;

namespace
{

constexpr std::string_view TRAY = "tray";
constexpr int SHOWN = 12;

int Run(const WString& ownPipe, const WString& servicePipe)
{
    std::promise<void> serviceGone;
    int seen = 0; // one connection, one thread
    const auto endpoint = Demo::MakeEndpoint(ownPipe);
    endpoint->RegisterReceiveCallback([&](std::uint32_t, const WString& message) {
        if (++seen <= SHOWN || message.size() > 100000)
        {
            Demo::Say(TRAY, "got " + std::to_string(message.size()) +
                                " characters: " + Demo::Shorten(Demo::ToText(message.substr(0, 200))));
        }
        else if (seen == SHOWN + 1)
        {
            Demo::Say(TRAY, "(answers on without telling)");
        }
        endpoint->WriteMessage(Demo::PEER, Demo::AnswerTo(message), true);
    });
    endpoint->Start(nullptr, nullptr, nullptr);
    endpoint->AddClient(Demo::PEER, servicePipe, true, [&serviceGone](std::uint32_t) { serviceGone.set_value(); });
    Demo::Say(TRAY, "connected to the service");
    endpoint->WriteMessage(Demo::PEER, "hello "_w + ownPipe, true);
    serviceGone.get_future().wait();
    Demo::Say(TRAY, "the service has gone");
    endpoint->Stop();
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3)
    {
        Demo::Say(TRAY, "usage: quoll_tray TRAY_PIPE SERVICE_PIPE");
        return 2;
    }
    try
    {
        return Run(Demo::FromArgument(argv[1]), Demo::FromArgument(argv[2]));
    }
    catch (const std::exception& exception)
    {
        Demo::Say(TRAY, exception.what());
        return 1;
    }
}
