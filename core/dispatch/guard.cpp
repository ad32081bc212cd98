#include "core/dispatch/guard.h"

#include "WorkbenchReport.h"
#include "answer.h"
#include "diagnostics.h"
#include "core/dispatch/params.h"
#include "moxh5/module_manager.h"

namespace moxh5::detail {
namespace {

constexpr int64_t kCopyFailedReportId = 70332;

void ReportCopyFailure(const char* caller) {
    WorkbenchReport report(kCopyFailedReportId);
    report.SetTags({{"kv_metric", "refine_json_wrong"}, {"caller", caller}});
    report.SetCounter("kv_count", 1);
    report.Report();
}

}  // namespace

bool RequireRequest(const mox_h5_module_data* data, const CallSite& site) {
    if (data) return true;
    LogFalseIn(site);
    return false;
}

IH5ActionImplCallBack* RequireActionInterface(Json::Value& answer, const CallSite& site) {
    IH5ActionImplCallBack* host = MoxModuleManager::GetInstance()->GetCallback();
    if (host) return host;
    WriteLogLine(LOG_PRIORITY_ERROR, site.file, site.line, site.function,
                 "[MoxH5] Callback is nullptr");
    answer[key::kMessage] = text::kNoActionInterface;
    return nullptr;
}

IH5ActionImplCallBack* RequireRequestAndHost(const mox_h5_module_data* data, Json::Value& answer,
                                             const CallSite& site) {
    return RequireRequest(data, site) ? RequireActionInterface(answer, site) : nullptr;
}

const Json::Value* RequireObjectParams(const mox_h5_module_data& data, Json::Value& answer,
                                       const CallSite& site) {
    const Json::Value* params = FindCallParams(data.payload);
    if (params && params->isObject()) return params;
    WriteJsonLogLine(LOG_PRIORITY_ERROR, site.file, site.line, site.function,
                     "[MoxH5] Invalid params %s", data.payload.isNull() ? nullptr : &data.payload);
    answer[key::kMessage] = text::kInvalidParams;
    return nullptr;
}

CheckedCall RequireCall(const mox_h5_module_data* data, Json::Value& answer, const CallSite& site) {
    CheckedCall call;
    call.host = RequireRequestAndHost(data, answer, site);
    if (!call.host) return call;
    call.params = RequireObjectParams(*data, answer, site);
    return call;
}

Json::Value GuardedCopy(const Json::Value& source, const char* caller,
                        const CallSite& site) noexcept {
    return GuardedCopyUsing(source, caller, site, [](const Json::Value& v) { return v; });
}

Json::Value GuardedCopyUsing(const Json::Value& source, const char* caller, const CallSite& site,
                             Json::Value (*copy)(const Json::Value&)) noexcept {
    try {
        return copy(source);
    } catch (...) {
    }
    // Reporting allocates too; when memory is that short, the null value is
    // all that can be done.
    try {
        WriteLogLine(LOG_PRIORITY_ERROR, site.file, site.line, site.function,
                     "refine_json_wrong, caller: %s", caller);
        ReportCopyFailure(caller);
    } catch (...) {
    }
    return Json::Value();
}

void UseUnifiedCallback(Json::Value& answer) {
    if (answer.isObject()) answer.removeMember(key::kNoNeedUnifyCallBack);
}

bool FeatureEnabled(const mox_h5_module_data& data, const char* key) {
    return data.configCallback && data.configCallback(key, data.mallcsid, MoxConfigValue(false));
}

}  // namespace moxh5::detail
