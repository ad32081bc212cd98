#include "core/dispatch/dispatch.h"

#include "WorkbenchReport.h"
#include "core/dispatch/answer.h"
#include "diagnostics.h"
#include "core/policy/page_policy.h"
#include "mox_json.h"

namespace moxh5::detail {

void LogFalseIn(const CallSite& site) {
    WriteLogLine(LOG_PRIORITY_ERROR, site.file, site.line, site.function, "[MoxH5] false in %s %d",
                 site.function, site.line);
}

bool ReadCallMethod(const mox_module_data* data, const CallSite& site, std::string& method) {
    if (!data || !mox_json::GetJsonValueToString(data->payload, key::kMethod, method, site.function,
                                                 /*required=*/true, /*keep_default=*/false)) {
        LogFalseIn(site);
        return false;
    }
    return true;
}

bool RefuseUnknownMethod(const std::string& method, bool logIt, const CallSite& site,
                         Json::Value& answer) {
    if (logIt) {
        WriteLogLine(LOG_PRIORITY_ERROR, site.file, site.line, site.function,
                     "[MoxH5] Failed to find method %s", method.c_str());
    }
    answer[key::kMessage] = text::kInvalidMethod;
    answer[key::kSupport] = false;
    return false;
}

namespace {

// Whether the page policy denies the caller a method the worker serves.
bool PolicyDenies(std::string_view module, const mox_module_data& data, const std::string& method,
                  const CallSite& site) {
    if (MethodPermitted(data, module, method)) return false;
    WriteLogLine(LOG_PRIORITY_WARNING, site.file, site.line, site.function,
                 "[MoxH5] Page policy denied %.*s.%s", static_cast<int>(module.size()),
                 module.data(), method.c_str());
    return true;
}

}  // namespace

bool DispatchPlain(std::string_view module, const PlainMethodMap& methods,
                   const mox_module_data* data, Json::Value& answer, const CallSite& site,
                   PlainDispatchRules rules) {
    std::string method;
    if (!ReadCallMethod(data, site, method)) return false;
    if (rules.silenceRenderAnswers && !data->isWorker) answer[key::kNoNeedUnifyCallBack] = true;
    const PlainHandler* handler = FindHandler(methods, method);
    if (handler && !PolicyDenies(module, *data, method, site)) return (*handler)(data, answer);
    return RefuseUnknownMethod(method, rules.logUnknownMethod, site, answer);
}

namespace {

constexpr int64_t kNativeMethodReportId = 91936;

void ReportNativeDispatch(const std::string& method, bool isWorker) {
    WorkbenchReport report(kNativeMethodReportId);
    report.SetTags(
        {{"kv_metric", "h5_native"}, {"method", method}, {"worker", isWorker ? "1" : "0"}});
    report.Report();
}

// The method serving `method` for the caller's context, or null.
const ContextMethod* FindContextMethod(const ContextMethodMap& methods, const std::string& method,
                                       bool isWorker) {
    const auto it = methods.find(method);
    if (it == methods.end() || !it->second.slots[isWorker ? 1 : 0]) return nullptr;
    return &it->second;
}

}  // namespace

bool DispatchByContext(std::string_view module, const ContextMethodMap& methods,
                       const mox_module_data* data, Json::Value& answer, const CallSite& site) {
    std::string method;
    if (!ReadCallMethod(data, site, method)) return false;
    const ContextMethod* found = FindContextMethod(methods, method, data->isWorker);
    if (!found || PolicyDenies(module, *data, method, site)) {
        answer[key::kNoNeedUnifyCallBack] = true;
        return RefuseUnknownMethod(method, /*logIt=*/true, site, answer);
    }
    // The table says before the handler runs whether the flag belongs in the
    // answer: setting it on every call for the handlers of unified methods to
    // take out again cost as much as the rest of the dispatch. Their answer is
    // an object all the same.
    if (!found->unified) {
        answer[key::kNoNeedUnifyCallBack] = true;
    } else if (answer.isNull()) {
        answer = Json::Value(Json::objectValue);
    }
    ReportNativeDispatch(method, data->isWorker);
    return found->slots[data->isWorker ? 1 : 0](data, answer);
}

bool DispatchWithCompletion(std::string_view module, const CompletionMethodMap& methods,
                            const mox_module_data* data, const std::function<bool()>& completion,
                            Json::Value& answer, const CallSite& site) {
    std::string method;
    if (!ReadCallMethod(data, site, method)) {
        completion();
        return true;
    }
    const CompletionHandler* handler = FindHandler(methods, method);
    if (handler && !PolicyDenies(module, *data, method, site)) {
        return (*handler)(data, completion, answer);
    }
    RefuseUnknownMethod(method, /*logIt=*/true, site, answer);
    completion();
    return false;
}

}  // namespace moxh5::detail
