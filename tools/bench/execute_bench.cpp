// Cost of the library at the host boundary, measured side by side in one run.
//   build/release/bin/moxh5_bench
//
// The hosts only count (tools/bench/bench_cases.cpp): the figures are the
// library's. ShowToastFloor is the least any host boundary does for the
// "showToast" call (the JSON reads a handler cannot avoid and the host's
// toast); ShowToastQuietLog is the same call through MoxModuleManager::Execute
// and ShowToastThroughC through moxh5_execute; ParseRequestText is the part of
// the C path that reads the request text. The traced, unrestricted and
// method-filter cases run the same call under a log that keeps info lines and
// under other page policies. The page-closed cases close a page while 100 000
// entries wait on other pages; the sized cases deliver an answer of that many
// numbers (as the C++ completion, through moxh5_answer_page, and as the
// indented text of "getPluginVersion").
//
// Each case reports its allocations per call ("allocs"). With the console
// output (the default), a summary of the figures the library is held to
// follows the table: time per call (per element for the sized cases), the
// ratios and their bounds; then the ratios once more from cases timed in
// alternating blocks, steadier on a busy machine (a --benchmark_filter
// leaves them out). tools/bench/instructions.sh gives the same figures in
// instructions, counted by callgrind: the repeatable ones.
#include <benchmark/benchmark.h>
#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "tools/bench/bench_cases.h"

namespace {

using moxh5::bench::CaseInfo;

const std::vector<size_t> kSizes = {100000, 1000000};

// The console table, and the summary after it.
class SummaryReporter final : public benchmark::ConsoleReporter {
public:
    explicit SummaryReporter(std::map<std::string, size_t> items) : m_items(std::move(items)) {}

    // Each case's CPU time per call; with repetitions, the median's.
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            const bool median = run.run_type == Run::RT_Aggregate && run.aggregate_name == "median";
            if (run.error_occurred || (run.run_type == Run::RT_Aggregate && !median)) continue;
            const std::string& name = run.run_name.function_name;
            if (!median && m_medians.count(name)) continue;
            if (median) m_medians.insert(name);
            const size_t items = m_items.count(name) ? m_items.at(name) : 0;
            m_perUnit[name] = run.GetAdjustedCPUTime() / benchmark::GetTimeUnitMultiplier(run.time_unit) *
                              1e9 / static_cast<double>(items ? items : 1);
        }
        ConsoleReporter::ReportRuns(runs);
    }

    void Finalize() override {
        ConsoleReporter::Finalize();
        std::printf("\nFigures (CPU time; per element for the sized cases)\n");
        for (const moxh5::bench::Ratio& ratio : moxh5::bench::Ratios(kSizes)) {
            double numerator = 0;
            double denominator = 0;
            if (!Sum(ratio.numerator, numerator) || !Sum(ratio.denominator, denominator)) {
                std::printf("  %-78s not measured\n", ratio.what.c_str());
                continue;
            }
            if (ratio.denominator.empty()) {
                std::printf("  %-78s %10.0f ns          bound %6.0f ns  %s\n", ratio.what.c_str(),
                            numerator, ratio.bound, numerator <= ratio.bound ? "ok" : "OVER");
            } else {
                const double value = numerator / denominator;
                std::printf("  %-78s %5.3g / %-5.3g = %5.2f  bound %4.2f  %s\n",
                            ratio.what.c_str(), numerator, denominator, value, ratio.bound,
                            value <= ratio.bound ? "ok" : "OVER");
            }
        }
    }

private:
    bool Sum(const std::vector<std::string>& names, double& sum) const {
        for (const std::string& name : names) {
            const auto found = m_perUnit.find(name);
            if (found == m_perUnit.end()) return false;
            sum += found->second;
        }
        return true;
    }

    std::map<std::string, size_t> m_items;
    std::map<std::string, double> m_perUnit;
    std::set<std::string> m_medians;
};

// CPU time of this thread, in ns.
double ThreadCpuNs() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

// The per-call CPU time of one block of `calls` calls of a case, made before
// and dropped after the block (cases that install different hosts never
// overlap).
double BlockNs(const CaseInfo& info, int calls) {
    const std::unique_ptr<moxh5::bench::Case> measured = info.make();
    measured->Run();  // warm
    const double start = ThreadCpuNs();
    for (int i = 0; i < calls; ++i) measured->Run();
    return (ThreadCpuNs() - start) / calls;
}

// The ratios of the plain cases once more, measured in alternating blocks:
// each round times a block of every case of the ratio in turn, so that a
// busy moment of the machine falls on both sides alike; each side's median
// over the rounds gives the ratio. On a shared machine this is steadier than
// comparing benchmarks that ran seconds apart.
void PrintPairedRatios(const std::vector<CaseInfo>& cases) {
    constexpr int kRounds = 101;
    constexpr int kCalls = 2000;
    std::printf("\nThe same ratios, cases alternating in blocks of %d calls (median of %d)\n",
                kCalls, kRounds);
    for (const moxh5::bench::Ratio& ratio : moxh5::bench::Ratios(kSizes)) {
        if (ratio.denominator.empty()) continue;
        std::vector<const CaseInfo*> sides;
        for (const auto* names : {&ratio.numerator, &ratio.denominator}) {
            for (const std::string& name : *names) {
                for (const CaseInfo& info : cases) {
                    if (info.name == name && info.items == 0) sides.push_back(&info);
                }
            }
        }
        if (sides.size() != ratio.numerator.size() + ratio.denominator.size()) continue;
        std::map<std::string, std::vector<double>> samples;
        for (int round = 0; round < kRounds; ++round) {
            for (const CaseInfo* info : sides) samples[info->name].push_back(BlockNs(*info, kCalls));
        }
        auto median = [&](const std::vector<std::string>& names) {
            double sum = 0;
            for (const std::string& name : names) {
                std::vector<double>& times = samples[name];
                std::nth_element(times.begin(), times.begin() + kRounds / 2, times.end());
                sum += times[kRounds / 2];
            }
            return sum;
        };
        const double numerator = median(ratio.numerator);
        const double denominator = median(ratio.denominator);
        const double value = numerator / denominator;
        std::printf("  %-78s %5.3g / %-5.3g = %5.2f  bound %4.2f  %s\n", ratio.what.c_str(),
                    numerator, denominator, value, ratio.bound,
                    value <= ratio.bound ? "ok" : "OVER");
    }
}

bool ConsoleOutput(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        const char* flag = "--benchmark_format=";
        if (std::strncmp(argv[i], flag, std::strlen(flag)) == 0) {
            return std::strcmp(argv[i] + std::strlen(flag), "console") == 0;
        }
    }
    return true;
}

}  // namespace

bool Filtered(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        if (std::strncmp(argv[i], "--benchmark_filter=", 19) == 0) return true;
    }
    return false;
}

int main(int argc, char** argv) {
    const bool console = ConsoleOutput(argc, argv);
    const bool filtered = Filtered(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    moxh5::bench::StartProcess();
    std::map<std::string, size_t> items;
    const std::vector<CaseInfo> cases = moxh5::bench::Cases(kSizes);
    for (const CaseInfo& info : cases) {
        items[info.name] = info.items;
        benchmark::internal::Benchmark* bench = benchmark::RegisterBenchmark(
            info.name.c_str(), [info](benchmark::State& state) {
                const std::unique_ptr<moxh5::bench::Case> measured = info.make();
                const uint64_t allocations = moxh5::bench::Allocations();
                uint64_t runs = 0;
                uint64_t prepared = 0;  // the host's allocations, not counted
                for (auto _ : state) {
                    if (info.items) {  // milliseconds a call: the pause costs nothing to speak of
                        state.PauseTiming();
                        const uint64_t before = moxh5::bench::Allocations();
                        measured->Prepare();
                        prepared += moxh5::bench::Allocations() - before;
                        state.ResumeTiming();
                    }
                    measured->Run();
                    ++runs;
                }
                state.counters["allocs"] = benchmark::Counter(
                    static_cast<double>(moxh5::bench::Allocations() - allocations - prepared),
                    benchmark::Counter::kAvgIterations);
                if (info.items) {
                    state.SetItemsProcessed(static_cast<int64_t>(runs * info.items));
                }
                const std::string problem = measured->Check(runs);
                if (!problem.empty()) state.SkipWithError(problem.c_str());
            });
        if (info.items) bench->Unit(benchmark::kMillisecond);
    }
    if (console) {
        SummaryReporter reporter(items);
        benchmark::RunSpecifiedBenchmarks(&reporter);
        if (!filtered) PrintPairedRatios(cases);
    } else {
        benchmark::RunSpecifiedBenchmarks();
    }
    moxh5::bench::EndProcess();
    benchmark::Shutdown();
    return 0;
}
