#include "Ratios.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>

namespace Quoll::Benchmarks
{

namespace
{

class ComparingReporter final : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs)
        {
            // With repetitions the median counts, else the single run.
            const bool counts = run.repetitions > 1 ? run.aggregate_name == "median" : run.aggregate_name.empty();
            if (counts && !run.error_occurred)
            {
                Note(run.run_name.function_name, run.GetAdjustedRealTime());
            }
        }
    }

    void PrintRatios() const
    {
        std::printf("\nOurs divided by the peer's, less is better:\n");
        for (const auto& [what, times] : m_times)
        {
            const auto ours = times.find("quoll");
            for (const auto& [who, time] : times)
            {
                if (ours != times.end() && who != "quoll")
                {
                    std::printf("  %-40s %8.3f of %s\n", what.c_str(), ours->second / time, who.c_str());
                }
            }
        }
    }

private:
    void Note(const std::string& name, double time)
    {
        const auto slash = name.rfind('/');
        if (slash != std::string::npos)
        {
            m_times[name.substr(0, slash)][name.substr(slash + 1)] = time;
        }
    }

    std::map<std::string, std::map<std::string, double>> m_times;
};

} // namespace

int RunAndCompare(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
    {
        return 1;
    }
    ComparingReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.PrintRatios();
    return 0;
}

} // namespace Quoll::Benchmarks
