#include "LineSender.h"

#include "Demo.h"

#include <algorithm>
#include <iomanip>
#include <sstream>
#include <utility>

namespace Demo
{

using Clock = std::chrono::steady_clock;

void LineSender::TakeAnswer(const Quoll::WString& answer)
{
    {
        const std::lock_guard guard(m_lock);
        m_answer = answer;
    }
    m_came.notify_one();
}

bool LineSender::Ask(Quoll::Utilities::IMultiClientPipe& endpoint, const Quoll::WString& message)
{
    const auto begin = Clock::now();
    endpoint.WriteMessage(PEER, message, true);
    const auto answer = WaitForAnswer();
    if (!answer || *answer != AnswerTo(message))
    {
        return false;
    }
    m_roundTrips.push_back(Clock::now() - begin);
    m_bytes += (message.size() + answer->size()) * sizeof(Quoll::WChar);
    return true;
}

std::optional<Quoll::WString> LineSender::WaitForAnswer()
{
    std::unique_lock guard(m_lock);
    m_came.wait_for(guard, std::chrono::milliseconds(TIMEOUT), [this] { return m_answer.has_value(); });
    return std::exchange(m_answer, std::nullopt);
}

std::string LineSender::Summary() const
{
    auto sorted = m_roundTrips;
    std::sort(sorted.begin(), sorted.end());
    std::ostringstream text;
    text << sorted.size() << " messages answered, " << m_bytes << " bytes both ways";
    if (!sorted.empty())
    {
        const std::chrono::duration<double, std::micro> median = sorted[sorted.size() / 2];
        text << ", median round trip " << std::fixed << std::setprecision(1) << median.count() << " us";
    }
    return text.str();
}

} // namespace Demo
