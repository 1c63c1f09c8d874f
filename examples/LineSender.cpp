#include "LineSender.h"

#include <algorithm>
#include <iomanip>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace Demo
{

using namespace Quoll::Literals;
using Clock = std::chrono::steady_clock;

void LineSender::TakeAnswer(const Quoll::WString& answer)
{
    {
        const std::lock_guard guard(m_lock);
        m_answer = answer;
    }
    m_came.notify_one();
}

void LineSender::Ask(Quoll::Utilities::IMultiClientPipe& endpoint, const Document& report)
{
    const Quoll::WString text = Encode(report);
    const auto begin = Clock::now();
    endpoint.WriteMessage(PEER, text, true);
    const Quoll::WString answer = WaitForAnswer();
    m_roundTrips.push_back(Clock::now() - begin);
    m_bytes += (text.size() + answer.size()) * sizeof(Quoll::WChar);
    const auto seen = Decode(answer, "seen"_w)->GetValue("report"_w).GetObject();
    if (seen == nullptr || Encode(seen) != text)
    {
        throw std::runtime_error("another report came back than was sent");
    }
}

Quoll::WString LineSender::WaitForAnswer()
{
    std::unique_lock guard(m_lock);
    m_came.wait_for(guard, std::chrono::milliseconds(TIMEOUT), [this] { return m_answer.has_value(); });
    const std::optional<Quoll::WString> answer = std::exchange(m_answer, std::nullopt);
    if (!answer)
    {
        throw std::runtime_error("the tray doesn't answer");
    }
    return *answer;
}

std::string LineSender::Summary() const
{
    auto sorted = m_roundTrips;
    std::sort(sorted.begin(), sorted.end());
    std::ostringstream text;
    text << sorted.size() << " reports answered, " << m_bytes << " bytes both ways";
    if (!sorted.empty())
    {
        const std::chrono::duration<double, std::micro> median = sorted[sorted.size() / 2];
        text << ", median round trip " << std::fixed << std::setprecision(1) << median.count() << " us";
    }
    return text.str();
}

} // namespace Demo
