// Moments: as ISO 8601 text, as calendar fields and as local time, beside the C library, ICU and the date
// library. Texts are wide for us and ICU, byte text for the others. Each step takes the next of many moments
// between 1970 and 2038.
//
// Aims, as ratios: reading a text 0.5 of strptime with timegm, printing one 0.2 of strftime, days to calendar fields
// below 1 of the date library, a local conversion 0.5 of localtime_r.
#include "Quoll/UtcTime.h"
#include "Ratios.h"
#include "platform/linux/Calendar.h"

#include <benchmark/benchmark.h>

#include <date/date.h>
#include <unicode/calendar.h>
#include <unicode/smpdtfmt.h>

#include <array>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <random>
#include <sstream>
#include <string>

namespace
{

using namespace Quoll;
using Utilities::TimeSpan;
using Utilities::UtcTime;

constexpr std::size_t MomentCount = 1024;

struct Moment
{
    std::time_t seconds;
    std::tm fields;
    std::string text;
    WString wideText;
    UtcTime moment;
    SYSTEMTIME systemTime;
    FILETIME fileTime;
    std::uint32_t days; // since 1601
};

std::array<Moment, MomentCount> MakeMoments()
{
    std::array<Moment, MomentCount> moments;
    std::mt19937 random(1);
    for (Moment& moment : moments)
    {
        moment.seconds = static_cast<std::time_t>(random() >> 1);
        gmtime_r(&moment.seconds, &moment.fields);
        char text[32];
        std::strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%S", &moment.fields);
        moment.text = text;
        moment.wideText.assign(moment.text.begin(), moment.text.end());
        moment.moment = UtcTime(moment.seconds, false);
        moment.systemTime = moment.moment.GetSystemTime(false);
        moment.fileTime = moment.moment.GetFileTime(false);
        moment.days = static_cast<std::uint32_t>(moment.moment.GetTime() / TimeSpan::DAY);
        if (UtcTime(moment.wideText, UtcTime::StringValue::Iso8601T, false) != moment.moment)
        {
            std::abort();
        }
    }
    return moments;
}

const std::array<Moment, MomentCount> Moments = MakeMoments();

template<class Action>
void Measure(const char* name, Action action)
{
    benchmark::RegisterBenchmark(name, [action](benchmark::State& state) {
        std::size_t i = 0;
        for (auto _ : state)
        {
            benchmark::DoNotOptimize(action(Moments[i++ % MomentCount]));
        }
    });
}

void MeasureTexts()
{
    using Form = UtcTime::StringValue;
    Measure("read-iso/quoll", [](const Moment& m) { return UtcTime(m.wideText, Form::Iso8601T, false); });
    Measure("read-iso/strptime", [](const Moment& m) {
        std::tm fields{};
        strptime(m.text.c_str(), "%Y-%m-%dT%H:%M:%S", &fields);
        return timegm(&fields);
    });
    Measure("read-iso/date", [](const Moment& m) {
        std::istringstream stream(m.text);
        date::sys_seconds seconds;
        stream >> date::parse("%FT%T", seconds);
        return seconds;
    });
    Measure("print-iso/quoll", [](const Moment& m) { return m.moment.ToString(Form::Iso8601T, false); });
    Measure("print-iso/strftime", [](const Moment& m) {
        std::tm fields;
        gmtime_r(&m.seconds, &fields);
        char text[32];
        return std::string(text, std::strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%S", &fields));
    });
    Measure("print-iso/date",
            [](const Moment& m) { return date::format("%FT%T", date::sys_seconds(std::chrono::seconds(m.seconds))); });
}

void MeasureTextsOfIcu()
{
    UErrorCode status = U_ZERO_ERROR;
    const auto format =
        std::make_shared<icu::SimpleDateFormat>("yyyy-MM-dd'T'HH:mm:ss", icu::Locale::getRoot(), status);
    format->setTimeZone(*icu::TimeZone::getGMT());
    Measure("read-iso/icu", [format](const Moment& m) {
        UErrorCode failure = U_ZERO_ERROR;
        return format->parse(icu::UnicodeString(m.wideText.data(), static_cast<std::int32_t>(m.wideText.size())),
                             failure);
    });
    Measure("print-iso/icu", [format](const Moment& m) {
        icu::UnicodeString text;
        format->format(static_cast<UDate>(m.seconds) * 1000, text);
        return WString(text.getBuffer(), static_cast<std::size_t>(text.length()));
    });
}

void MeasureFields()
{
    Measure("to-fields/quoll", [](const Moment& m) { return m.moment.GetSystemTime(false); });
    Measure("to-fields/gmtime_r", [](const Moment& m) {
        std::tm fields;
        return *gmtime_r(&m.seconds, &fields);
    });
    Measure("to-fields/date", [](const Moment& m) {
        const date::sys_seconds seconds{std::chrono::seconds(m.seconds)};
        const auto days = date::floor<date::days>(seconds);
        return std::pair(date::year_month_day(days), date::hh_mm_ss(seconds - days));
    });
    Measure("days-to-fields/quoll", [](const Moment& m) { return Platform::ToDate(m.days); });
    Measure("days-to-fields/date", [](const Moment& m) {
        return date::year_month_day(date::sys_days(date::days(static_cast<int>(m.days) - 134774)));
    });
    Measure("from-fields/quoll", [](const Moment& m) { return UtcTime(m.systemTime, false); });
    Measure("from-fields/timegm", [](const Moment& m) {
        std::tm fields = m.fields;
        return timegm(&fields);
    });
    Measure("from-fields/date", [](const Moment& m) {
        const date::year_month_day day(date::year(m.fields.tm_year + 1900),
                                       date::month(static_cast<unsigned>(m.fields.tm_mon + 1)),
                                       date::day(static_cast<unsigned>(m.fields.tm_mday)));
        return date::sys_days(day) + std::chrono::hours(m.fields.tm_hour) + std::chrono::minutes(m.fields.tm_min) +
               std::chrono::seconds(m.fields.tm_sec);
    });
}

void MeasureLocalTime()
{
    Measure("to-local/quoll", [](const Moment& m) { return m.moment.GetFileTime(true); });
    Measure("to-local/localtime_r", [](const Moment& m) {
        std::tm fields;
        return *localtime_r(&m.seconds, &fields);
    });
    const std::shared_ptr<icu::TimeZone> zone(icu::TimeZone::createDefault());
    Measure("to-local/icu", [zone](const Moment& m) {
        UErrorCode status = U_ZERO_ERROR;
        std::int32_t offset = 0;
        std::int32_t saving = 0;
        zone->getOffset(static_cast<UDate>(m.seconds) * 1000, 0, offset, saving, status);
        return m.seconds + offset + saving;
    });
    Measure("now/quoll", [](const Moment&) { return UtcTime::Now(); });
    Measure("now/clock_gettime", [](const Moment&) {
        timespec present;
        clock_gettime(CLOCK_REALTIME, &present);
        std::tm fields;
        return *gmtime_r(&present.tv_sec, &fields);
    });
}

} // namespace

int main(int argc, char** argv)
{
    // A zone with rules, whatever the machine has.
    setenv("TZ", "Europe/Berlin", 0);
    MeasureTexts();
    MeasureTextsOfIcu();
    MeasureFields();
    MeasureLocalTime();
    return Benchmarks::RunAndCompare(argc, argv);
}
