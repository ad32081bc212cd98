// The dispatch steps that every worker's Execute shares: reading the method
// name, finding its handler, and refusing an unknown method.
#pragma once

#include <json/value.h>

#include <array>
#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "moxh5/records.h"

namespace moxh5::detail {

// Handler forms.
using PlainHandler = std::function<bool(const mox_h5_module_data* data, Json::Value& answer)>;
using CompletionHandler = std::function<bool(
    const mox_h5_module_data* data, const std::function<bool()>& completion, Json::Value& answer)>;

using PlainMethodMap = std::map<std::string, PlainHandler>;
using CompletionMethodMap = std::map<std::string, CompletionHandler>;
// A method of a worker with a handler per context (the native module).
struct ContextMethod {
    // Slot 0 serves render pages, slot 1 worker pages (the request's isWorker).
    std::array<PlainHandler, 2> slots;
    // Whether the page hears the answer through the unified callback; the
    // answers of all other methods carry "NoNeedUnifyCallBack": true.
    bool unified = false;
};
using ContextMethodMap = std::map<std::string, ContextMethod>;

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
// "method". On failure logs the "false in" line and returns false.
bool ReadCallMethod(const mox_module_data* data, const CallSite& site, std::string& method);

// The answer for a method the worker does not serve: "message" "Invalid
// method." and "support" false, after the line "[MoxH5] Failed to find method"
// when `logIt`. Returns false, the result of such a call.
bool RefuseUnknownMethod(const std::string& method, bool logIt, const CallSite& site,
                         Json::Value& answer);

// The handler mapped to `method`, or null when it is absent or empty.
template <typename Handler>
const Handler* FindHandler(const std::map<std::string, Handler>& methods,
                           const std::string& method) {
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
