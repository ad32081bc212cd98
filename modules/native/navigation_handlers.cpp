// Page navigation: the orders waiting for handling, goods management, another
// page of the host, an expired session, and two links opened in the system's
// shell (a download and the client's update).
//
// All six serve both page kinds and answer through the unified callback, so
// each removes "NoNeedUnifyCallBack" first; the answer carries a short
// "message" saying how it went. The two shell links need no host.
#include "answer.h"
#include "diagnostics.h"
#include "core/dispatch/guard.h"
#include "core/policy/page_policy.h"
#include "modules/native/H5NativeWorker.h"
#include "modules/native/native_log.h"
#include "mox_json.h"
#include "moxh5/platform.h"

namespace {

namespace key = moxh5::key;
namespace text = moxh5::text;
using moxh5::detail::GuardedCopy;
using moxh5::detail::JsonText;
using moxh5::detail::RequireObjectParams;
using moxh5::detail::RequireRequest;
using moxh5::detail::RequireRequestAndHost;

// ShellExecuteW's convention: values up to 32 are error codes.
constexpr uintptr_t kShellErrorCeiling = 32;

// The request trace of these handlers (priority 600), written only when kept;
// a null body is logged as an empty text.
#define NAVIGATION_TRACE(function, format, body)                                              \
    ::moxh5::detail::WriteJsonLogLine(LOG_PRIORITY_INFO, ::moxh5::native::kLogFile, __LINE__, \
                                      (function), (format), (body).isNull() ? nullptr : &(body))

// Opens `target` when the page policy lets it reach the shell, in the form
// the policy hands on.
bool ShellOpened(const std::string& target, const moxh5::detail::CallSite& site) {
    const std::optional<std::string> opened = moxh5::detail::ShellTarget(target, site);
    if (!opened) return false;
    return moxh5::platform::ShellOpen(moxh5::platform::Utf8ToWide(*opened)) > kShellErrorCeiling;
}

// Answers "message" with the text for the outcome; returns the outcome.
bool Say(Json::Value& answer, bool ok, const char* okText, const char* failedText) {
    answer[key::kMessage] = ok ? okText : failedText;
    return ok;
}

using HostOpen = bool (IH5ActionImplCallBack::*)(const std::string& paramsJson);

// "openWaitHandleOrder" and "openGoodsManage": the host gets the whole
// "params" as JSON text.
bool OpenInHost(const mox_h5_module_data* data, Json::Value& answer,
                const moxh5::detail::CallSite& site, const char* traceFormat, HostOpen open) {
    IH5ActionImplCallBack* host = RequireRequestAndHost(data, answer, site);
    if (!host) return false;
    NAVIGATION_TRACE(site.function, traceFormat, data->payload);
    const Json::Value* params = RequireObjectParams(*data, answer, site);
    if (!params) return false;
    return Say(answer, (host->*open)(JsonText(*params)), "open ok", "open failed");
}

}  // namespace

bool H5NativeWorker::openWaitHandleOrder(const mox_h5_module_data* data, Json::Value& answer) {
    return OpenInHost(data, answer, NATIVE_SITE("H5NativeWorker::openWaitHandleOrder"),
                      "[MoxH5] Web req OpenWaitHandleOrder content: %s",
                      &IH5ActionImplCallBack::OpenWaitHandleOrder);
}

bool H5NativeWorker::openGoodsManage(const mox_h5_module_data* data, Json::Value& answer) {
    return OpenInHost(data, answer, NATIVE_SITE("H5NativeWorker::openGoodsManage"),
                      "[MoxH5] Web req OpenGoodsManage content: %s",
                      &IH5ActionImplCallBack::OpenGoodsManage);
}

// The host gets the page name and, besides it, the whole "params" as text.
bool H5NativeWorker::pageChange(const mox_h5_module_data* data, Json::Value& answer) {
    constexpr char kFunction[] = "H5NativeWorker::pageChange";
    IH5ActionImplCallBack* host = RequireRequestAndHost(data, answer, NATIVE_SITE(kFunction));
    if (!host) return false;
    NAVIGATION_TRACE(kFunction, "[MoxH5] Web req PageChange content: %s", data->payload);
    const Json::Value* params = RequireObjectParams(*data, answer, NATIVE_SITE(kFunction));
    if (!params) return false;

    const std::string page = mox_json::GetJsonValueToString(
        GuardedCopy(*params, "pageChange", NATIVE_SITE(kFunction)), "page", kFunction);
    if (page.empty()) {
        answer[key::kMessage] = text::kInvalidParam;
        return false;
    }
    return Say(answer, host->PageChange(page, JsonText(*params)), "pagechange ok",
               "pagechange failed");
}

// The body is not checked: the host takes the request as it is.
bool H5NativeWorker::sessionExpired(const mox_h5_module_data* data, Json::Value& answer) {
    constexpr char kFunction[] = "H5NativeWorker::sessionExpired";
    IH5ActionImplCallBack* host = RequireRequestAndHost(data, answer, NATIVE_SITE(kFunction));
    if (!host) return false;
    NAVIGATION_TRACE(kFunction, "[MoxH5] Web req SessionExpired content: %s", data->payload);
    return host->SessionExpired(data);
}

// Opens "url" in the shell; an empty or missing URL, or one the page policy
// refuses, opens nothing.
bool H5NativeWorker::windowsDownLoad(const mox_h5_module_data* data, Json::Value& answer) {
    constexpr char kFunction[] = "H5NativeWorker::windowsDownLoad";
    if (!RequireRequest(data, NATIVE_SITE(kFunction))) return false;
    NAVIGATION_TRACE(kFunction, "[MoxH5] Web req WindowsDownLoad content: %s", data->payload);
    const Json::Value* params = RequireObjectParams(*data, answer, NATIVE_SITE(kFunction));
    if (!params) return false;

    const std::string url = mox_json::GetJsonValueToString(
        GuardedCopy(*params, "windowsDownLoad", NATIVE_SITE(kFunction)), "url", kFunction);
    return Say(answer, !url.empty() && ShellOpened(url, NATIVE_SITE(kFunction)), "download ok",
               "download failed");
}

// Opens "jump" in the shell. Besides a "jump" the page policy refuses, only a
// missing one skips the shell: an empty or non-string one is handed over (when
// the policy is unrestricted) as an empty target, which the shell refuses.
bool H5NativeWorker::oneClickUpdate(const mox_h5_module_data* data, Json::Value& answer) {
    constexpr char kFunction[] = "H5NativeWorker::oneClickUpdate";
    if (!RequireRequest(data, NATIVE_SITE(kFunction))) return false;
    NAVIGATION_TRACE(kFunction, "[MoxH5] Web req OneClickUpdate content: %s", data->payload);
    const Json::Value* params = RequireObjectParams(*data, answer, NATIVE_SITE(kFunction));
    if (!params) return false;

    bool updated = false;
    if (params->isMember("jump")) {
        updated = ShellOpened(
            mox_json::GetJsonValueToString(
                GuardedCopy(*params, "oneClickUpdate", NATIVE_SITE(kFunction)), "jump", kFunction),
            NATIVE_SITE(kFunction));
    }
    return Say(answer, updated, "update ok", "update failed");
}
