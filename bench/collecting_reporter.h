// The benchmark program's reporter: the ordinary console report, with each
// run's CPU time kept by name for the summary tables printed after the run.
#ifndef EXPRCURVE_BENCH_COLLECTING_REPORTER_H
#define EXPRCURVE_BENCH_COLLECTING_REPORTER_H

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

class CollectingReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        // With --benchmark_repetitions the summary takes each benchmark's
        // median (reported after its repetitions), else its one run.
        for (const Run& run : runs) {
            const double seconds = run.GetAdjustedCPUTime() / benchmark::GetTimeUnitMultiplier(run.time_unit);
            if (run.run_type == Run::RT_Iteration || run.aggregate_name == "median")
                nanoseconds[run.run_name.str()] = seconds * 1e9;
        }
        ConsoleReporter::ReportRuns(runs);
    }

    // CPU nanoseconds per iteration; a negative value when the benchmark did
    // not run.
    double find(const std::string& name) const
    {
        const auto found = nanoseconds.find(name);
        return found == nanoseconds.end() ? -1.0 : found->second;
    }

private:
    std::map<std::string, double> nanoseconds;
};

// A table cell of nine characters; "-" for a benchmark that did not run.
inline void printCell(double value, const char* format)
{
    if (value < 0)
        std::printf("%9s", "-");
    else
        std::printf(format, value);
}

inline void printRatio(double numerator, double denominator)
{
    printCell(numerator < 0 || denominator <= 0 ? -1.0 : numerator / denominator, "%9.2f");
}

// Prints the curve tables (curve_bench.cpp).
void printCurveSummary(const CollectingReporter& results);

#endif  // EXPRCURVE_BENCH_COLLECTING_REPORTER_H
