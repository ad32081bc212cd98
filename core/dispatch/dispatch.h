// The dispatch steps that every worker's Execute shares: reading the method
// name, finding its handler, and refusing an unknown method.
#pragma once

#include <json/value.h>

#include <array>
#include <atomic>
#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "WorkbenchReport.h"
#include "moxh5/records.h"

namespace moxh5::detail {

// Handler forms.
using PlainHandler = std::function<bool(const mox_h5_module_data* data, Json::Value& answer)>;
using CompletionHandler = std::function<bool(
    const mox_h5_module_data* data, const std::function<bool()>& completion, Json::Value& answer)>;

// The order of a method table: shorter names first, names of one length by
// their bytes. A lookup then mostly decides by length and compares text only
// among names of the looked-up name's length. Looks up by a view as well.
struct MethodNameOrder {
    using is_transparent = void;
    bool operator()(std::string_view a, std::string_view b) const noexcept {
        return a.size() != b.size() ? a.size() < b.size() : a.compare(b) < 0;
    }
};

// Method tables, looked up by the name as a view into the payload.
using PlainMethodMap = std::map<std::string, PlainHandler, MethodNameOrder>;
using CompletionMethodMap = std::map<std::string, CompletionHandler, MethodNameOrder>;
// The usage report of one method, per context: the record is the same for
// every call, so it is built the first time a context's call is reported and
// sent as it is from then on (by any thread; the first build wins). A copy
// starts empty and builds its own.
class UsageReports {
public:
    UsageReports() = default;
    UsageReports(const UsageReports&) {}
    UsageReports& operator=(const UsageReports&) { return *this; }
    ~UsageReports();

    // The report of `method` (the name it is mapped under) from a worker page
    // or a render page.
    const WorkbenchReport& Of(const std::string& method, bool isWorker) const {
        const WorkbenchReport* built = m_built[isWorker ? 1 : 0].load(std::memory_order_acquire);
        return built ? *built : Build(method, isWorker);
    }

private:
    const WorkbenchReport& Build(const std::string& method, bool isWorker) const;

    mutable std::array<std::atomic<const WorkbenchReport*>, 2> m_built{};
};

// A method of a worker with a handler per context (the native module).
struct ContextMethod {
    // Slot 0 serves render pages, slot 1 worker pages (the request's isWorker).
    std::array<PlainHandler, 2> slots;
    // Whether the page hears the answer through the unified callback; the
    // answers of all other methods carry "NoNeedUnifyCallBack": true.
    bool unified = false;
    // What a dispatch to it reports (DispatchByContext).
    UsageReports reports{};
};
using ContextMethodMap = std::map<std::string, ContextMethod, MethodNameOrder>;

// Where a log line comes from: a function text for the diagnostics.
struct CallSite {
    const char* file;
    int line;
    const char* function;
};
#define MOX_CALL_SITE(function) \
    ::moxh5::detail::CallSite { __FILE__, __LINE__, (function) }

// Logs "[MoxH5] false in <function> <line>" for `site`.
void LogFalseIn(const CallSite& site);

// Steps 1-2 of every Execute: a non-null request whose payload has a string
// "method", seen in place (valid while the request is). On failure logs the
// JSON getter's line for the member, then the "false in" line, and returns
// false.
bool ReadCallMethod(const mox_module_data* data, const CallSite& site, std::string_view& method);

// The answer for a method the worker does not serve: "message" "Invalid
// method." and "support" false, after the line "[MoxH5] Failed to find method"
// when `logIt`. Returns false, the result of such a call.
bool RefuseUnknownMethod(std::string_view method, bool logIt, const CallSite& site,
                         Json::Value& answer);

// The handler mapped to `method`, or null when it is absent or empty.
template <typename Handler>
const Handler* FindHandler(const std::map<std::string, Handler, MethodNameOrder>& methods,
                           std::string_view method) {
    const auto it = methods.find(method);
    return (it != methods.end() && it->second) ? &it->second : nullptr;
}

// Whether `methods` maps `method`, whatever its handler.
template <typename Map>
bool MapsMethod(const Map& methods, const std::string& method) {
    return methods.find(method) != methods.end();
}

// How a worker with plain handlers differs from the others.
struct PlainDispatchRules {
    bool logUnknownMethod = true;
    // Render-page answers start with "NoNeedUnifyCallBack": true.
    bool silenceRenderAnswers = false;
};

// The dispatchers below take the worker's module name (as pages spell it) for
// the page policy's method filter: a method it denies is answered exactly as
// one the worker does not serve (after a line at priority 400).

// The whole Execute of a worker with plain handlers.
bool DispatchPlain(std::string_view module, const PlainMethodMap& methods,
                   const mox_module_data* data, Json::Value& answer, const CallSite& site,
                   PlainDispatchRules rules);

// The Execute of a worker with a context pair per name (the native module):
// the answer of every call that reads a method name carries
// "NoNeedUnifyCallBack": true unless the method is `unified`; a name whose
// slot for the caller's context is empty counts as unknown; a found handler is
// counted with the usage report 91936 before it runs.
bool DispatchByContext(std::string_view module, const ContextMethodMap& methods,
                       const mox_module_data* data, Json::Value& answer, const CallSite& site);

// The Execute of a worker whose handlers answer through a completion built
// for the call (the storage module). `data` must not be null. The completion
// runs once for a call that no handler takes: after "Invalid method.", and
// also when the payload has no "method" (a success then, so that the page
// always gets an answer).
bool DispatchWithCompletion(std::string_view module, const CompletionMethodMap& methods,
                            const mox_module_data* data, const std::function<bool()>& completion,
                            Json::Value& answer, const CallSite& site);

}  // namespace moxh5::detail
