#include <Quoll/Quoll.h>

#include <future>
#include <iostream>

using namespace Quoll::Literals;
using namespace Quoll::Utilities;

int main()
{
    constexpr auto encoding = NamedPipeMessageEncoding::Utf8;
    // Each end serves a pipe of its own and is a client of the other's.
    const auto service = MultiClientPipe::Create("\\\\.\\pipe\\quoll-example-service"_w, encoding, 5000, 4096, false);
    const auto tray = MultiClientPipe::Create("\\\\.\\pipe\\quoll-example-tray"_w, encoding, 5000, 4096, false);

    service->RegisterReceiveCallback([&](std::uint32_t, const Quoll::WString& text) {
        service->WriteMessage(1, StringUtilities::ToUpper(text), true);
    });
    std::promise<Quoll::WString> answer;
    tray->RegisterReceiveCallback([&](std::uint32_t, const Quoll::WString& text) { answer.set_value(text); });

    service->Start({}, {}, {});
    tray->Start({}, {}, {});
    service->AddClient(1, tray->GetPipeServerName(), true, {});
    tray->AddClient(1, service->GetPipeServerName(), true, {});

    tray->WriteMessage(1, "hello"_w, true);
    std::cout << StringUtilities::Utf16ToUtf8(answer.get_future().get()) << std::endl; // HELLO
    tray->Stop();
    service->Stop();
}
