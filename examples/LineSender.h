// Sends messages to the tray one by one and checks each answer.
#pragma once

#include <Quoll/MultiClientPipe.h>
#include <Quoll/WideString.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace Demo
{

class LineSender
{
public:
    // An answer has come in; called on the connection's thread.
    void TakeAnswer(const Quoll::WString& answer);

    // False if the answer is wrong or doesn't come.
    bool Ask(Quoll::Utilities::IMultiClientPipe& endpoint, const Quoll::WString& message);

    // Messages, bytes both ways and the median round trip, for people.
    std::string Summary() const;

private:
    std::optional<Quoll::WString> WaitForAnswer();

    std::mutex m_lock;
    std::condition_variable m_came;
    std::optional<Quoll::WString> m_answer;
    std::vector<std::chrono::nanoseconds> m_roundTrips;
    std::size_t m_bytes = 0;
};

} // namespace Demo
