// The tray program: connects to the service, shows its reports and answers them.
//
//     quoll_tray TRAY_PIPE SERVICE_PIPE
//
// It runs until somebody ends it, or the service goes or sends something else.
#include "Demo.h"

#include <atomic>
#include <exception>
#include <future>
#include <utility>

using namespace Quoll::Literals;
using Quoll::WString;

namespace
{

constexpr std::string_view TRAY = "tray";
constexpr int SHOWN = 12;

// The one end that the tray comes to: the service goes, or something fails.
class Ending
{
public:
    void ServiceWent()
    {
        if (!m_isDecided.test_and_set())
        {
            m_promise.set_value();
        }
    }
    void Failed(std::exception_ptr failure)
    {
        if (!m_isDecided.test_and_set())
        {
            m_promise.set_exception(std::move(failure));
        }
    }
    // Throws what failed.
    void Await()
    {
        m_promise.get_future().get();
    }

private:
    std::atomic_flag m_isDecided;
    std::promise<void> m_promise;
};

void Show(const Demo::Document& report, std::size_t size)
{
    const std::string line = std::to_string(report->GetUint64Value("line"_w));
    Demo::Say(TRAY, "line " + line + " is " + Demo::ToText(report->GetStringValue("verdict"_w)) + ", in " +
                        std::to_string(size) +
                        " characters: " + Demo::Shorten(Demo::ToText(report->GetStringValue("content"_w))));
}

void Run(const WString& ownPipe, const WString& servicePipe)
{
    Ending ending;
    int seen = 0; // one connection, one thread
    const auto endpoint = Demo::MakeEndpoint(ownPipe);
    const auto take = [&](const WString& message) {
        const auto report = Demo::Decode(message, "report"_w);
        if (++seen <= SHOWN || message.size() > 100000 || report->GetStringValue("verdict"_w) == "infected"_w)
        {
            Show(report, message.size());
        }
        else if (seen == SHOWN + 1)
        {
            Demo::Say(TRAY, "(answers on without telling)");
        }
        endpoint->WriteMessage(Demo::PEER, Demo::Encode(Demo::AnswerTo(report)), true);
    };
    endpoint->RegisterReceiveCallback([&](std::uint32_t, const WString& message) {
        try
        {
            take(message);
        }
        catch (const std::exception&)
        {
            ending.Failed(std::current_exception());
        }
    });
    endpoint->Start(nullptr, nullptr, nullptr);
    endpoint->AddClient(Demo::PEER, servicePipe, true, [&ending](std::uint32_t) { ending.ServiceWent(); });
    Demo::Say(TRAY, "connected to the service");
    const auto hello = Demo::MakeMessage("hello"_w);
    hello->SetValue("pipe"_w, ownPipe);
    endpoint->WriteMessage(Demo::PEER, Demo::Encode(hello), true);
    ending.Await();
    Demo::Say(TRAY, "the service has gone");
    endpoint->Stop();
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
        Run(Demo::FromArgument(argv[1]), Demo::FromArgument(argv[2]));
        return 0;
    }
    catch (const std::exception& exception)
    {
        Demo::Say(TRAY, exception.what());
        return 1;
    }
}
