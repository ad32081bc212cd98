#include "core/dispatch/dispatch.h"

#include <memory>

#include "WorkbenchReport.h"
#include "answer.h"
#include "diagnostics.h"
#include "core/policy/page_policy.h"
#include "core/dispatch/params.h"
#include "mox_json.h"

namespace moxh5::detail {

void LogFalseIn(const CallSite& site) {
    WriteLogLine(LOG_PRIORITY_ERROR, site.file, site.line, site.function, "[MoxH5] false in %s %d",
                 site.function, site.line);
}

bool ReadCallMethod(const mox_module_data* data, const CallSite& site, std::string_view& method) {
    if (!data) {
        LogFalseIn(site);
        return false;
    }
    const PayloadMembers* checked = DispatchedPayload::MembersOf(data->payload);
    const Json::Value* found = checked ? checked->method : FindMember(data->payload, key::kMethod);
    const char* begin = nullptr;
    const char* end = nullptr;
    // getString answers false for every value but a string.
    if (found && found->getString(&begin, &end)) {
        method = std::string_view(begin, static_cast<size_t>(end - begin));
        return true;
    }
    // The getter writes the line that says what is wrong with the member.
    std::string unread;
    mox_json::GetJsonValueToString(data->payload, key::kMethod, unread, site.function,
                                   /*required=*/true, /*keep_default=*/false);
    LogFalseIn(site);
    return false;
}

bool RefuseUnknownMethod(std::string_view method, bool logIt, const CallSite& site,
                         Json::Value& answer) {
    if (logIt) {
        WriteLogLine(LOG_PRIORITY_ERROR, site.file, site.line, site.function,
                     "[MoxH5] Failed to find method %.*s", static_cast<int>(method.size()),
                     method.data());
    }
    answer[key::kMessage] = text::kInvalidMethod;
    answer[key::kSupport] = false;
    return false;
}

namespace {

// Whether the page policy denies the caller a method the worker serves.
bool PolicyDenies(std::string_view module, const mox_module_data& data, std::string_view method,
                  const CallSite& site) {
    if (MethodPermitted(data, module, method)) return false;
    WriteLogLine(LOG_PRIORITY_WARNING, site.file, site.line, site.function,
                 "[MoxH5] Page policy denied %.*s.%.*s", static_cast<int>(module.size()),
                 module.data(), static_cast<int>(method.size()), method.data());
    return true;
}

}  // namespace

bool DispatchPlain(std::string_view module, const PlainMethodMap& methods,
                   const mox_module_data* data, Json::Value& answer, const CallSite& site,
                   PlainDispatchRules rules) {
    std::string_view method;
    if (!ReadCallMethod(data, site, method)) return false;
    if (rules.silenceRenderAnswers && !data->isWorker) answer[key::kNoNeedUnifyCallBack] = true;
    const PlainHandler* handler = FindHandler(methods, method);
    if (handler && !PolicyDenies(module, *data, method, site)) return (*handler)(data, answer);
    return RefuseUnknownMethod(method, rules.logUnknownMethod, site, answer);
}

namespace {

constexpr int64_t kNativeMethodReportId = 91936;

// The method serving `method` for the caller's context, or null.
const ContextMethodMap::value_type* FindContextMethod(const ContextMethodMap& methods,
                                                      std::string_view method, bool isWorker) {
    const auto it = methods.find(method);
    if (it == methods.end() || !it->second.slots[isWorker ? 1 : 0]) return nullptr;
    return &*it;
}

}  // namespace

UsageReports::~UsageReports() {
    for (std::atomic<const WorkbenchReport*>& built : m_built) delete built.load();
}

const WorkbenchReport& UsageReports::Build(const std::string& method, bool isWorker) const {
    std::atomic<const WorkbenchReport*>& slot = m_built[isWorker ? 1 : 0];
    auto report = std::make_unique<WorkbenchReport>(kNativeMethodReportId);
    report->SetTag("kv_metric", "h5_native");
    report->SetTag("method", method);
    report->SetTag("worker", isWorker ? "1" : "0");
    const WorkbenchReport* expected = nullptr;
    if (slot.compare_exchange_strong(expected, report.get(), std::memory_order_acq_rel)) {
        return *report.release();
    }
    return *expected;  // another thread built it first
}

bool DispatchByContext(std::string_view module, const ContextMethodMap& methods,
                       const mox_module_data* data, Json::Value& answer, const CallSite& site) {
    std::string_view method;
    if (!ReadCallMethod(data, site, method)) return false;
    const ContextMethodMap::value_type* entry = FindContextMethod(methods, method, data->isWorker);
    if (!entry || PolicyDenies(module, *data, method, site)) {
        answer[key::kNoNeedUnifyCallBack] = true;
        return RefuseUnknownMethod(method, /*logIt=*/true, site, answer);
    }
    // The table says before the handler runs whether the flag belongs in the
    // answer: setting it on every call for the handlers of unified methods to
    // take out again cost as much as the rest of the dispatch. Their answer is
    // an object all the same.
    const ContextMethod& found = entry->second;
    if (!found.unified) {
        answer[key::kNoNeedUnifyCallBack] = true;
    } else if (answer.isNull()) {
        answer = Json::Value(Json::objectValue);
    }
    found.reports.Of(entry->first, data->isWorker).Report();
    return found.slots[data->isWorker ? 1 : 0](data, answer);
}

bool DispatchWithCompletion(std::string_view module, const CompletionMethodMap& methods,
                            const mox_module_data* data, const std::function<bool()>& completion,
                            Json::Value& answer, const CallSite& site) {
    std::string_view method;
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
