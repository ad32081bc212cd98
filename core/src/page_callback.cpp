#include "moxh5/page_callback.h"

#include <optional>

#include "core/detail/answer.h"
#include "core/detail/diagnostics.h"
#include "core/detail/no_throw.h"
#include "core/detail/pending_answers.h"
#include "mox_json.h"
#include "moxh5/module_manager.h"

namespace {

using moxh5::detail::AdmitAnswer;
using moxh5::detail::CatchAll;
using moxh5::detail::JsonText;
namespace key = moxh5::key;

// The answer wrapped in the envelope, or nothing when the answer is neither an
// object nor null (an array or a scalar cannot carry the envelope's members).
std::optional<Json::Value> BuildEnvelope(bool success, const Json::Value& answer) {
    if (!answer.isObject() && !answer.isNull()) return std::nullopt;
    Json::Value envelope = answer.isNull() ? Json::Value(Json::objectValue) : answer;
    envelope[key::kSuccess] = success;
    if (!envelope.isMember(key::kMessage)) envelope[key::kMessage] = success ? "success" : "failed";
    if (!envelope.isMember(key::kData)) envelope[key::kData] = Json::Value();
    return envelope;
}

bool FlagIsSet(const Json::Value& answer, const char* name, const char* caller) {
    return mox_json::GetJsonValueToBool(answer, name, caller);
}

// The answer as its trace (priority 600) shows it; not written when the line
// is not kept.
std::string LoggedAnswer(const Json::Value& envelope) {
    return CMoxLog::IsEnabled(LOG_PRIORITY_INFO) ? moxh5::detail::LogJsonText(envelope)
                                                 : std::string();
}

}  // namespace

MoxPageIdentity PageIdentityOf(const mox_h5_module_data& request) {
    MoxPageIdentity page;
    page.isWorker = request.isWorker;
    page.webindex = request.webindex;
    page.mallcsid = request.mallcsid;
    page.callbackid = request.callbackid;
    page.workerid = request.workerid ? request.workerid : "";
    return page;
}

bool callBackToWebPage(bool isWorker, bool success, int webindex, const std::string& mallcsid,
                       const std::string& callbackid, const std::string& workerid,
                       const Json::Value& answer) noexcept {
    return CatchAll("callBackToWebPage", false, [&] {
        IH5ActionImplCallBack* callback = MoxModuleManager::GetInstance()->GetCallback();
        if (!callback) {
            MOX_LOG(LOG_PRIORITY_ERROR, "callBackToWebPage", "%s check failed",
                    "MoxModuleManager::GetInstance()->GetCallback()");
            return false;
        }
        if (callbackid.empty()) {
            MOX_LOG(LOG_PRIORITY_INFO, "callBackToWebPage",
                    "[MoxH5] Callbackid is empty, no need callback.");
            return false;
        }
        if (isWorker) {
            doCallBackToWorker(callback, success, webindex, mallcsid, callbackid, workerid, answer);
        } else {
            doCallBackToRender(callback, success, webindex, mallcsid, callbackid, answer);
        }
        return true;
    });
}

bool AnswerPage(const MoxPageIdentity& page, bool success, const Json::Value& answer) noexcept {
    return callBackToWebPage(page.isWorker, success, page.webindex, page.mallcsid, page.callbackid,
                             page.workerid, answer);
}

void doCallBackToRender(IH5ActionImplCallBack* callback, bool success, int webindex,
                        const std::string& mallcsid, const std::string& callId,
                        const Json::Value& answer) {
    constexpr char kFunction[] = "doCallBackToRender";
    if (FlagIsSet(answer, key::kNoNeedUnifyCallBack, kFunction)) {
        MOX_LOG(LOG_PRIORITY_INFO, kFunction,
                "[MoxH5] Render NoNeedUnifyCallBack mallcsid[%s] webindex[%d], callId[%s], "
                "return.",
                mallcsid.c_str(), webindex, callId.c_str());
        return;
    }
    if (FlagIsSet(answer, key::kAsynExec, kFunction)) {
        MOX_LOG(LOG_PRIORITY_INFO, kFunction,
                "[MoxH5] Render JsAsyncCallback mallcsid[%s] webindex[%d], callId[%s], return.",
                mallcsid.c_str(), webindex, callId.c_str());
        return;
    }
    if (callId.empty()) {
        MOX_LOG(LOG_PRIORITY_INFO, kFunction, "[MoxH5] CallId is empty, no need callback.");
        return;
    }
    const std::optional<Json::Value> envelope = BuildEnvelope(success, answer);
    if (!envelope || !AdmitAnswer(false, webindex, std::string(), callId)) return;
    const std::string text = JsonText(*envelope);
    MOX_LOG(LOG_PRIORITY_INFO, kFunction,
            "[MoxH5] Render Jscallback mallcsid[%s] webindex[%d], callId[%s], data[%s]",
            mallcsid.c_str(), webindex, callId.c_str(), LoggedAnswer(*envelope).c_str());
    if (callback) callback->RenderJsCallback(mallcsid, webindex, callId, text);
}

void doCallBackToWorker(IH5ActionImplCallBack* callback, bool success, int webindex,
                        const std::string& mallcsid, const std::string& callbackid,
                        const std::string& workerid, const Json::Value& answer) {
    constexpr char kFunction[] = "doCallBackToWorker";
    // Worker pages ignore "NoNeedUnifyCallBack": nothing else answers them.
    if (FlagIsSet(answer, key::kAsynExec, kFunction)) {
        MOX_LOG(LOG_PRIORITY_INFO, kFunction,
                "[MoxH5] Worker JsAsyncCallback mallcsid[%s] webindex[%d] workerid[%s], "
                "callbackid[%s], return.",
                mallcsid.c_str(), webindex, workerid.c_str(), callbackid.c_str());
        return;
    }
    if (callbackid.empty()) {
        MOX_LOG(LOG_PRIORITY_INFO, kFunction, "[MoxH5] Callbackid is empty, no need callback.");
        return;
    }
    const std::optional<Json::Value> envelope = BuildEnvelope(success, answer);
    if (!envelope || !AdmitAnswer(true, webindex, workerid, callbackid)) return;
    const std::string text = JsonText(*envelope);
    MOX_LOG(LOG_PRIORITY_INFO, kFunction,
            "[MoxH5] Worker Jscallback mallcsid[%s] webindex[%d] workerid[%s], callbackid[%s], "
            "data[%s]",
            mallcsid.c_str(), webindex, workerid.c_str(), callbackid.c_str(),
            LoggedAnswer(*envelope).c_str());
    if (callback) callback->WorkerJsCallback(mallcsid, webindex, callbackid, text);
}
