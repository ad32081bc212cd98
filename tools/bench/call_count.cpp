// The benchmark's cases counted instead of timed, for callgrind: each case
// runs a fixed number of times inside moxh5_bench_measure, the one function
// callgrind collects in, and its counts are dumped under the case's name. The
// summary then divides by the runs. tools/bench/instructions.sh runs both
// steps:
//
//   valgrind --tool=callgrind --toggle-collect=moxh5_bench_measure
//       --callgrind-out-file=DIR/cg moxh5_callcount [--runs=N] [--sizes=A,B] [CASE...]
//   moxh5_callcount --summarize=DIR [--sizes=A,B]
//
// callgrind_annotate on a dump shows where a case's instructions go. Run
// natively (without valgrind) it prints allocations per call.
// Without valgrind's headers the program still builds and counts
// allocations; the dumps need them.
#if __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#else
#define CALLGRIND_ZERO_STATS
#define CALLGRIND_DUMP_STATS_AT(reason) static_cast<void>(reason)
#endif

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "tools/bench/bench_cases.h"

namespace {

using moxh5::bench::CaseInfo;

std::vector<size_t> ParseSizes(const std::string& text) {
    std::vector<size_t> sizes;
    std::stringstream in(text);
    std::string item;
    while (std::getline(in, item, ',')) sizes.push_back(std::stoul(item));
    return sizes;
}

// Each dump's case name, runs, elements per call and instruction total.
struct Counted {
    uint64_t runs = 0;
    size_t items = 0;
    double instructions = 0;
};

std::map<std::string, Counted> ReadDumps(const std::string& folder) {
    std::map<std::string, Counted> counted;
    DIR* dir = opendir(folder.c_str());
    if (!dir) return counted;
    while (const dirent* entry = readdir(dir)) {
        std::ifstream file(folder + "/" + entry->d_name);
        std::string line;
        std::string name;
        Counted c;
        while (std::getline(file, line)) {
            const std::string request = "desc: Trigger: Client Request: case ";
            if (line.compare(0, request.size(), request) == 0) {
                std::istringstream fields(line.substr(request.size()));
                fields >> name >> c.runs >> c.items;
            } else if (line.compare(0, 9, "summary: ") == 0 ||
                       line.compare(0, 8, "totals: ") == 0) {
                c.instructions = std::strtod(line.c_str() + line.find(' ') + 1, nullptr);
            }
        }
        if (!name.empty() && c.runs) counted[name] = c;
    }
    closedir(dir);
    return counted;
}

int Summarize(const std::string& folder, const std::vector<size_t>& sizes) {
    const std::map<std::string, Counted> counted = ReadDumps(folder);
    if (counted.empty()) {
        std::fprintf(stderr, "no callgrind dumps of cases in %s\n", folder.c_str());
        return 1;
    }
    std::map<std::string, double> perUnit;
    std::printf("%-40s %16s %8s\n", "case", "instructions", "per");
    for (const auto& [name, c] : counted) {
        const double units = static_cast<double>(c.runs) * static_cast<double>(c.items ? c.items : 1);
        perUnit[name] = c.instructions / units;
        std::printf("%-40s %16.0f %8s\n", name.c_str(), perUnit[name], c.items ? "element" : "call");
    }
    auto sum = [&](const std::vector<std::string>& names, double& total) {
        for (const std::string& name : names) {
            const auto found = perUnit.find(name);
            if (found == perUnit.end()) return false;
            total += found->second;
        }
        return true;
    };
    std::printf("\nFigures (instructions; per element for the sized cases)\n");
    for (const moxh5::bench::Ratio& ratio : moxh5::bench::Ratios(sizes)) {
        double numerator = 0;
        double denominator = 0;
        if (!sum(ratio.numerator, numerator) || !sum(ratio.denominator, denominator)) continue;
        if (ratio.denominator.empty()) {
            std::printf("  %-78s %10.0f instructions\n", ratio.what.c_str(), numerator);
        } else {
            const double value = numerator / denominator;
            std::printf("  %-78s %6.0f / %-6.0f = %5.2f  bound %4.2f  %s\n", ratio.what.c_str(),
                        numerator, denominator, value, ratio.bound,
                        value <= ratio.bound ? "ok" : "OVER");
        }
    }
    return 0;
}

}  // namespace

// The measured calls: callgrind collects only while this runs.
extern "C" __attribute__((noinline)) void moxh5_bench_measure(moxh5::bench::Case& measured,
                                                               uint64_t runs) {
    for (uint64_t i = 0; i < runs; ++i) measured.Run();
}

int main(int argc, char** argv) {
    uint64_t runs = 2000;
    std::vector<size_t> sizes = {10000, 100000};
    std::string summarize;
    std::vector<std::string> wanted;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg.rfind("--runs=", 0) == 0) {
            runs = std::stoull(arg.substr(7));
        } else if (arg.rfind("--sizes=", 0) == 0) {
            sizes = ParseSizes(arg.substr(8));
        } else if (arg.rfind("--summarize=", 0) == 0) {
            summarize = arg.substr(12);
        } else {
            wanted.push_back(arg);
        }
    }
    if (!summarize.empty()) return Summarize(summarize, sizes);

    moxh5::bench::StartProcess();
    int failures = 0;
    for (const CaseInfo& info : moxh5::bench::Cases(sizes)) {
        bool chosen = wanted.empty();
        for (const std::string& name : wanted) chosen = chosen || name == info.name;
        if (!chosen) continue;
        const std::unique_ptr<moxh5::bench::Case> measured = info.make();
        // Sized cases run once; the first calls of a plain case warm it up.
        const uint64_t caseRuns = info.items ? 1 : runs;
        if (!info.items) {
            for (int i = 0; i < 16; ++i) measured->Run();
        }
        if (info.items) measured->Prepare();
        const uint64_t allocations = moxh5::bench::Allocations();
        CALLGRIND_ZERO_STATS;
        moxh5_bench_measure(*measured, caseRuns);
        const std::string dump = "case " + info.name + " " + std::to_string(caseRuns) + " " +
                                 std::to_string(info.items);
        CALLGRIND_DUMP_STATS_AT(dump.c_str());
        const uint64_t allocated = moxh5::bench::Allocations() - allocations;
        const std::string problem = measured->Check(caseRuns + (info.items ? 0 : 16));
        std::printf("%-40s %10.2f allocations per %s%s%s\n", info.name.c_str(),
                    static_cast<double>(allocated) / static_cast<double>(caseRuns),
                    info.items ? "answer" : "call", problem.empty() ? "" : "  FAILED: ",
                    problem.c_str());
        failures += !problem.empty();
    }
    moxh5::bench::EndProcess();
    return failures ? 1 : 0;
}
