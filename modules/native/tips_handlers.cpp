// Toasts, tips, windows and easy windows: the page asks, the host draws.
//
// The handlers only check and shape the page's parameters. "showCommonTip" and
// "showEasyWnd" finish later: the host gets a way back to the page that owns
// copies of the page's identity (the request record dies when the handler
// returns), and the handler's own answer only says "AsynExec": true.
#include <atomic>
#include <memory>

#include "AJsonUtil.h"
#include "answer.h"
#include "core/dispatch/guard.h"
#include "core/delivery/pending_work.h"
#include "modules/native/H5NativeWorker.h"
#include "modules/native/native_log.h"
#include "mox_json.h"
#include "moxh5/easy_wnd_param.h"
#include "moxh5/page_callback.h"

// How the easy window's parameters bind from the page's "params".
MOX_AJSON_FIELDS(EasyWndFrequency, interval, dimensions)
MOX_AJSON_FIELDS(EasyWndButton, text, action)
MOX_AJSON_FIELDS(EasyWndParam, title, content, scene, frequency, left, right)

namespace {

namespace key = moxh5::key;
namespace text = moxh5::text;
using moxh5::detail::RequireCall;
using moxh5::detail::RequireObjectParams;
using moxh5::detail::RequireRequestAndHost;

constexpr int kDefaultToastDurationMs = 1500;
constexpr int kLongestToastDurationMs = 3000;
// The title of a common tip whose page gives none: "提示" ("tip") in UTF-8.
constexpr char kDefaultTipTitle[] = "\xE6\x8F\x90\xE7\xA4\xBA";
constexpr char kEasyWndSwitch[] = "func_enable_h5_easy_wnd_327";
constexpr char kNotEnabled[] = "Not enabled";

// A kind the host does not know shows as the default kind.
int ToastKindOrDefault(int kind) {
    return kind < MOX_TOAST_SUCCESS || kind > MOX_TOAST_THIRD ? MOX_TOAST_SUCCESS : kind;
}

int ToastDurationOrDefault(int durationMs) {
    return durationMs < 1 || durationMs > kLongestToastDurationMs ? kDefaultToastDurationMs
                                                                  : durationMs;
}

void ShowToastText(IH5ActionImplCallBack& host, int kind, const std::string& content,
                   int durationMs) {
    host.ShowToast(kind, content.data(), content.size(), durationMs);
}

}  // namespace

bool H5NativeWorker::showToast(const mox_h5_module_data* data, Json::Value& answer) {
    constexpr char kFunction[] = "H5NativeWorker::showToast";
    IH5ActionImplCallBack* host = RequireRequestAndHost(data, answer, NATIVE_SITE(kFunction));
    if (!host) return false;
    NATIVE_TRACE_JSON(kFunction, "[MoxH5] Web req ShowToast content: %s", data->payload);
    const Json::Value* params = RequireObjectParams(*data, answer, NATIVE_SITE(kFunction));
    if (!params) return false;

    const int kind = ToastKindOrDefault(mox_json::GetJsonValueToInt(*params, "type", kFunction));
    const int durationMs =
        ToastDurationOrDefault(mox_json::GetJsonValueToInt(*params, "duration", kFunction));
    ShowToastText(*host, kind, mox_json::GetJsonValueToString(*params, "content", kFunction),
                  durationMs);
    return true;
}

// The main frame's tip: a toast that always lasts 1500 ms, whatever the page
// sends.
bool H5NativeWorker::mainFrameShowTip(const mox_h5_module_data* data, Json::Value& answer) {
    constexpr char kFunction[] = "H5NativeWorker::mainFrameShowTip";
    const auto call = RequireCall(data, answer, NATIVE_SITE(kFunction));
    if (!call) return false;
    const int kind =
        ToastKindOrDefault(mox_json::GetJsonValueToInt(*call.params, "toastType", kFunction));
    ShowToastText(*call.host, kind,
                  mox_json::GetJsonValueToString(*call.params, "toastMsg", kFunction),
                  kDefaultToastDurationMs);
    return true;
}

bool H5NativeWorker::showCommonTip(const mox_h5_module_data* data, Json::Value& answer) {
    constexpr char kFunction[] = "H5NativeWorker::showCommonTip";
    IH5ActionImplCallBack* host = RequireRequestAndHost(data, answer, NATIVE_SITE(kFunction));
    if (!host) return false;
    NATIVE_TRACE_JSON(kFunction, "[MoxH5] Web req ShowCommonTip content: %s", data->payload);
    const Json::Value* params = RequireObjectParams(*data, answer, NATIVE_SITE(kFunction));
    if (!params) return false;

    std::string title = mox_json::GetJsonValueToString(*params, "title", kFunction);
    std::string content = mox_json::GetJsonValueToString(*params, "content", kFunction);
    std::string leftButtonText =
        mox_json::GetJsonValueToString(*params, "leftButtonText", kFunction);
    std::string rightButtonText =
        mox_json::GetJsonValueToString(*params, "rightButtonText", kFunction);
    if (title.empty()) title = kDefaultTipTitle;

    // The host may answer at any later time, from any thread: the completion
    // answers the recorded work, once, however often the host (or a copy of
    // the completion) calls it, and never a page that closed or reloaded.
    moxh5::detail::LaterWork work(*data);
    if (!work.Open(answer)) return false;
    MoxTipCompletion done = [ticket = work.Page().ticket](bool success,
                                                          const Json::Value& tipAnswer) noexcept {
        return moxh5::detail::AnswerWork(ticket, success, tipAnswer) ==
               moxh5::detail::AnswerOutcome::kDeliver;
    };
    return work.Handed(host->ShowCommonTip(data->isWorker, std::move(title), std::move(content),
                                           std::move(leftButtonText), std::move(rightButtonText),
                                           std::move(done)),
                       answer);
}

// All four of "title", "url", "width" and "height" must be present; their
// values are the host's business.
bool H5NativeWorker::openWindow(const mox_h5_module_data* data, Json::Value& answer) {
    const auto call = RequireCall(data, answer, NATIVE_SITE("H5NativeWorker::openWindow"));
    if (!call) return false;
    for (const char* required : {"title", "url", "width", "height"}) {
        if (!call.params->isMember(required)) {
            answer[key::kMessage] = text::kInvalidParam;
            return false;
        }
    }
    return call.host->OpenWindow(*call.params, data);
}

// Behind the feature switch "func_enable_h5_easy_wnd_327". The window's
// parameters bind into an EasyWndParam; title, content and scene must be
// non-empty.
bool H5NativeWorker::showEasyWnd(const mox_h5_module_data* data, Json::Value& answer) {
    constexpr char kFunction[] = "H5NativeWorker::showEasyWnd";
    if (!moxh5::detail::RequireRequest(data, NATIVE_SITE(kFunction))) return false;
    if (!moxh5::detail::FeatureEnabled(*data, kEasyWndSwitch)) {
        answer[key::kMessage] = kNotEnabled;
        return false;
    }
    IH5ActionImplCallBack* host =
        moxh5::detail::RequireActionInterface(answer, NATIVE_SITE(kFunction));
    if (!host) return false;
    NATIVE_TRACE_JSON(kFunction, "[MoxH5] Web req showEasyWnd content: %s", data->payload);
    const Json::Value* params = RequireObjectParams(*data, answer, NATIVE_SITE(kFunction));
    if (!params) return false;

    const std::string paramsText = moxh5::detail::JsonText(*params);
    EasyWndParam param;
    if (!AJsonUtil::JsonToObject(param, paramsText, "showEasyWnd") || param.title.empty() ||
        param.content.empty() || param.scene.empty()) {
        MOX_LOG_JSON_AT(::moxh5::native::kLogFile, LOG_PRIORITY_ERROR, kFunction,
                        "parse EasyWndParam failed, %s", *params);
        answer[key::kMessage] = text::kInvalidParamRecord;
        return false;
    }
    // The window always answers later: the host copies the page's identity
    // from the request before this returns.
    moxh5::detail::LaterWork work(*data);
    if (!work.Open(answer)) return false;
    host->ShowEasyWnd(data->isWorker, data, data->webindex, data->callbackid, work.Done(), param);
    return work.Handed(true, answer);
}
