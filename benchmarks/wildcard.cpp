// File masks against 1,000 file names, beside the C library's masks, a compiled regular expression and the
// standard one, each on names in the encoding that it takes.
#include "Quoll/StringUtilities.h"
#include "Quoll/WildcardPattern.h"
#include "Ratios.h"

#include <benchmark/benchmark.h>

#define PCRE2_CODE_UNIT_WIDTH 16
#include <fnmatch.h>
#include <pcre2.h>

#include <cctype>
#include <functional>
#include <memory>
#include <random>
#include <regex>
#include <string>
#include <vector>

namespace
{

using namespace Quoll;
using Utilities::StringUtilities;

struct Name
{
    std::string bytes;
    WString wide;
    std::wstring wider;
};

// 5 to 60 characters: words with a joint each, mostly in ASCII, and an extension.
std::vector<Name> MakeNames()
{
    const char* const words[] = {"report", "Backup", "2024", "final", "IMG",    "draft",   "budget", "a",
                                 "Notes",  "10",     "copy", "x",     "update", "Отчёт",   "scan",   "quarantine",
                                 "v2",     "db",     "log",  "2023",  "Müller", "invoice", "setup",  "data"};
    const char* const joints[] = {"_", "-", " ", "", "."};
    const char* const extensions[] = {".txt",  ".TXT", ".tmp",     ".dll", ".exe",
                                      ".docx", ".pdf", ".txt.bak", ".tgt", ".log"};
    std::mt19937 random(1);
    const auto pick = [&random](const auto& list) {
        return list[random() % std::size(list)];
    };
    std::vector<Name> names;
    while (names.size() < 1000)
    {
        const std::size_t length = 5 + random() % 48;
        std::string name = random() % 4 == 0 ? "report" : pick(words);
        while (name.size() < length)
        {
            name = name + pick(joints) + pick(words);
        }
        name += pick(extensions);
        const WString wide = StringUtilities::Utf8ToUtf16(name);
        if (wide.size() <= 60)
        {
            names.push_back({name, wide, std::wstring(wide.begin(), wide.end())});
        }
    }
    return names;
}

using Test = std::function<bool(const Name&)>;

// The expression that the mask stands for.
std::string ToRegex(const std::string& mask)
{
    std::string regex;
    for (const char unit : mask)
    {
        regex += unit == '*' ? ".*" : unit == '?' ? "." : unit == '.' ? "\\." : std::string(1, unit);
    }
    return regex;
}

class Pcre2
{
public:
    explicit Pcre2(const WString& regex)
        : m_code(pcre2_compile(reinterpret_cast<PCRE2_SPTR>(regex.data()), regex.size(),
                               PCRE2_CASELESS | PCRE2_ANCHORED | PCRE2_ENDANCHORED | PCRE2_UTF | PCRE2_NO_UTF_CHECK,
                               &m_error, &m_offset, nullptr))
        , m_data(pcre2_match_data_create_from_pattern(m_code, nullptr))
    {
        if (pcre2_jit_compile(m_code, PCRE2_JIT_COMPLETE) != 0)
        {
            std::abort();
        }
    }
    Pcre2(const Pcre2&) = delete;
    Pcre2& operator=(const Pcre2&) = delete;
    ~Pcre2()
    {
        pcre2_match_data_free(m_data);
        pcre2_code_free(m_code);
    }

    bool Matches(const WString& text) const
    {
        return pcre2_jit_match(m_code, reinterpret_cast<PCRE2_SPTR>(text.data()), text.size(), 0, 0, m_data, nullptr) >
               0;
    }

private:
    int m_error = 0;
    PCRE2_SIZE m_offset = 0;
    pcre2_code* m_code;
    pcre2_match_data* m_data;
};

template<class Matches>
void Run(benchmark::State& state, const std::vector<Name>& names, std::size_t expected, const Matches& matches)
{
    for (auto _ : state)
    {
        std::size_t count = 0;
        for (const Name& name : names)
        {
            count += matches(name) ? 1u : 0u;
        }
        if (count != expected)
        {
            state.SkipWithError("the peers don't agree");
            return;
        }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(names.size()));
}

} // namespace

int main(int argc, char** argv)
{
    const std::vector<Name> names = MakeNames();
    for (const std::string mask : {"*.t?t", "report*2024*.t?t", "*a*b*c*d*.t?t"})
    {
        const std::string regex = ToRegex(mask);
        const auto ours = std::make_shared<Utilities::WildcardPattern>(StringUtilities::Utf8ToUtf16(mask));
        const auto pcre2 = std::make_shared<Pcre2>(StringUtilities::Utf8ToUtf16(regex));
        const auto standard =
            std::make_shared<std::wregex>(std::wstring(regex.begin(), regex.end()), std::regex::icase);
        const auto expected = static_cast<std::size_t>(
            std::count_if(names.begin(), names.end(), [&](const Name& name) { return ours->Match(name.wide); }));
        const auto add = [&names, &mask, expected](const std::string& who, auto matches) {
            benchmark::RegisterBenchmark(
                (mask + "/" + who).c_str(),
                [&names, expected, matches](benchmark::State& state) { Run(state, names, expected, matches); });
        };
        add("quoll", [ours](const Name& name) { return ours->Match(name.wide); });
        add("pcre2", [pcre2](const Name& name) { return pcre2->Matches(name.wide); });
        add("fnmatch",
            [mask](const Name& name) { return fnmatch(mask.c_str(), name.bytes.c_str(), FNM_CASEFOLD) == 0; });
        add("std", [standard](const Name& name) { return std::regex_match(name.wider, *standard); });
    }
    return Benchmarks::RunAndCompare(argc, argv);
}
