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
// ratios and their bounds. tools/bench/instructions.sh gives the same figures
// in instructions, counted by callgrind.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <map>
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

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.error_occurred || run.iterations == 0 ||
                run.run_type != Run::RT_Iteration) {
                continue;
            }
            const std::string name = run.benchmark_name();
            const size_t items = m_items.count(name) ? m_items.at(name) : 0;
            m_perUnit[name] = run.cpu_accumulated_time * 1e9 /
                              static_cast<double>(run.iterations) /
                              static_cast<double>(items ? items : 1);
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
};

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

int main(int argc, char** argv) {
    const bool console = ConsoleOutput(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    moxh5::bench::StartProcess();
    std::map<std::string, size_t> items;
    for (const CaseInfo& info : moxh5::bench::Cases(kSizes)) {
        items[info.name] = info.items;
        benchmark::internal::Benchmark* bench = benchmark::RegisterBenchmark(
            info.name.c_str(), [info](benchmark::State& state) {
                const std::unique_ptr<moxh5::bench::Case> measured = info.make();
                const uint64_t allocations = moxh5::bench::Allocations();
                uint64_t runs = 0;
                for (auto _ : state) {
                    measured->Run();
                    ++runs;
                }
                state.counters["allocs"] = benchmark::Counter(
                    static_cast<double>(moxh5::bench::Allocations() - allocations),
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
    } else {
        benchmark::RunSpecifiedBenchmarks();
    }
    moxh5::bench::EndProcess();
    benchmark::Shutdown();
    return 0;
}
