// Sends reports to the tray one by one and checks each answer.
#pragma once

#include "Demo.h"

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

    // Throws std::runtime_error if the answer is wrong or doesn't come.
    void Ask(Quoll::Utilities::IMultiClientPipe& endpoint, const Document& report);

    // Reports, bytes both ways and the median round trip, for people.
    std::string Summary() const;

private:
    Quoll::WString WaitForAnswer();

    std::mutex m_lock;
    std::condition_variable m_came;
    std::optional<Quoll::WString> m_answer;
    std::vector<std::chrono::nanoseconds> m_roundTrips;
    std::size_t m_bytes = 0;
};

} // namespace Demo
