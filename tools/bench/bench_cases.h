// The cases the benchmarks measure, shared by moxh5_bench (time per call,
// Google Benchmark, cases side by side in one run) and moxh5_callcount (one
// case a given number of times, for callgrind's instruction counts and the
// allocation count).
//
// The hosts only count: what is measured is the library, not a stand-in
// host. Beside the library's paths run their floors, the least any host
// boundary has to do for the same call, so that the ratios say what the
// library adds.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace moxh5::bench {

// One measured operation.
class Case {
public:
    virtual ~Case() = default;
    // Readies the next call of a sized case, outside the measured time (what
    // the host does before the call, such as building its answer).
    virtual void Prepare() {}
    // Runs one call.
    virtual void Run() = 0;
    // After `runs` calls: what went wrong ("" when every call did what it
    // measures; a host that heard nothing means the case measured nothing).
    virtual std::string Check(uint64_t runs) const = 0;
};

struct CaseInfo {
    std::string name;
    // Elements one call handles (the sized answer cases); 0 for a plain call.
    size_t items;
    std::function<std::unique_ptr<Case>()> make;
};

// Every case, in the order the benchmark runs them. Answers of `sizes`
// elements are measured at each size.
std::vector<CaseInfo> Cases(const std::vector<size_t>& sizes);

// Sets the process up once: quiet log, the counting C host created (which
// readies the library), 100 000 pending entries on pages the cases never
// close.
void StartProcess();
void EndProcess();

// Calls of operator new in this process so far.
uint64_t Allocations();

// The figures the summary prints. Each case counts per element when it has
// elements, else per call; a ratio is the numerator's sum over the
// denominator's, and with no denominator the figure is the numerator itself
// (time in ns, or instructions). `bound`: the most it may be (for a figure
// without denominator, in ns).
struct Ratio {
    std::string what;
    std::vector<std::string> numerator;
    std::vector<std::string> denominator;
    double bound;
};
std::vector<Ratio> Ratios(const std::vector<size_t>& sizes);

}  // namespace moxh5::bench
