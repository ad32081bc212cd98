#include "moxh5/page_callback.h"

#include "answer.h"
#include "diagnostics.h"
#include "json_text.h"
#include "no_throw.h"
#include "core/policy/page_policy.h"
#include "core/delivery/pending_work.h"
#include "core/delivery/serving_page.h"
#include "core/delivery/page_delivery.h"
#include "mox_json.h"
#include "moxh5/module_manager.h"

namespace {

using moxh5::detail::AnswerOutcome;
using moxh5::detail::CatchAll;
using moxh5::detail::Claim;
namespace key = moxh5::key;

// Whether the answer can carry the envelope's members (an array or a scalar
// cannot).
bool FitsEnvelope(const Json::Value& answer) { return answer.isObject() || answer.isNull(); }

// The answer wrapped in the envelope, as a value: built only for the trace
// line; the page's text is written straight from the answer
// (AppendEnvelope), without this copy.
Json::Value EnvelopeOf(bool success, const Json::Value& answer) {
    Json::Value envelope = answer.isNull() ? Json::Value(Json::objectValue) : answer;
    envelope[key::kSuccess] = success;
    if (!envelope.isMember(key::kMessage)) envelope[key::kMessage] = success ? "success" : "failed";
    if (!envelope.isMember(key::kData)) envelope[key::kData] = Json::Value();
    return envelope;
}

bool FlagIsSet(const Json::Value& answer, const char* name, const char* caller) {
    return mox_json::GetJsonValueToBool(answer, name, caller);
}

// The envelope as its trace (priority 600) shows it; not written when the
// line is not kept.
std::string LoggedAnswer(bool success, const Json::Value& answer) {
    return CMoxLog::IsEnabled(LOG_PRIORITY_INFO)
               ? moxh5::detail::LogJsonText(EnvelopeOf(success, answer))
               : std::string();
}

MoxPageIdentity MakeIdentity(bool isWorker, int webindex, const std::string& mallcsid,
                               const std::string& callbackid, const std::string& workerid) {
    MoxPageIdentity page;
    page.isWorker = isWorker;
    page.webindex = webindex;
    page.mallcsid = mallcsid;
    page.callbackid = callbackid;
    page.workerid = workerid;
    return page;
}

// Whether an answer may go on: false (logged) for a drop. A claimed answer
// that goes on first runs its work's hook.
bool Admitted(const Claim& claim, bool success, const Json::Value& answer) {
    switch (claim.outcome) {
        case AnswerOutcome::kDeliver:
            if (claim.hook == moxh5::detail::AnswerHook::kHandFiles) {
                moxh5::detail::RememberHandedFiles(claim.page, success, answer);
            }
            return true;
        case AnswerOutcome::kAsItIs:
            return true;
        case AnswerOutcome::kPageClosed:
            moxh5::detail::LogDroppedAnswer(moxh5::detail::kClosedPageAnswer, claim.page);
            return false;
        case AnswerOutcome::kRepeated:
            moxh5::detail::LogDroppedAnswer(moxh5::detail::kRepeatedAnswer, claim.page);
            return false;
        case AnswerOutcome::kUnknown:
            moxh5::detail::LogDroppedAnswer(moxh5::detail::kUnknownWork, claim.page);
            return false;
    }
    return false;
}

// Ends a claim however the delivery ends, so that a page close never waits
// for a delivery that threw.
class ClaimScope {
public:
    explicit ClaimScope(const Claim& claim) : m_claim(claim) {}
    ~ClaimScope() { moxh5::detail::FinishClaim(m_claim); }
    ClaimScope(const ClaimScope&) = delete;
    ClaimScope& operator=(const ClaimScope&) = delete;

private:
    const Claim& m_claim;
};

// The end of every delivery, once `claim` is made: the work's hook, the trace
// line and the host's page callback.
void Deliver(IH5ActionImplCallBack* callback, const Claim& claim, bool isWorker, bool success,
             int webindex, const std::string& mallcsid, const std::string& callbackid,
             const std::string& workerid, const Json::Value& answer) {
    if (!Admitted(claim, success, answer)) return;
    std::string text;
    moxh5::detail::AppendEnvelope(success, answer, text);
    const moxh5::detail::ServingPageScope serving(isWorker, webindex, mallcsid, callbackid,
                                                  workerid);
    if (isWorker) {
        MOX_LOG(LOG_PRIORITY_INFO, "doCallBackToWorker",
                "[MoxH5] Worker Jscallback mallcsid[%s] webindex[%d] workerid[%s], callbackid[%s], "
                "data[%s]",
                mallcsid.c_str(), webindex, workerid.c_str(), callbackid.c_str(),
                LoggedAnswer(success, answer).c_str());
        if (callback) callback->WorkerJsCallback(mallcsid, webindex, callbackid, text);
    } else {
        MOX_LOG(LOG_PRIORITY_INFO, "doCallBackToRender",
                "[MoxH5] Render Jscallback mallcsid[%s] webindex[%d], callId[%s], data[%s]",
                mallcsid.c_str(), webindex, callbackid.c_str(), LoggedAnswer(success, answer).c_str());
        if (callback) callback->RenderJsCallback(mallcsid, webindex, callbackid, text);
    }
}

// The flags that keep the unified callback silent; true (logged) when one is set.
bool StaysSilent(bool isWorker, int webindex, const std::string& mallcsid,
                 const std::string& callbackid, const std::string& workerid,
                 const Json::Value& answer) {
    if (isWorker) {
        constexpr char kFunction[] = "doCallBackToWorker";
        // Worker pages ignore "NoNeedUnifyCallBack": nothing else answers them.
        if (FlagIsSet(answer, key::kAsynExec, kFunction)) {
            MOX_LOG(LOG_PRIORITY_INFO, kFunction,
                    "[MoxH5] Worker JsAsyncCallback mallcsid[%s] webindex[%d] workerid[%s], "
                    "callbackid[%s], return.",
                    mallcsid.c_str(), webindex, workerid.c_str(), callbackid.c_str());
            return true;
        }
        if (callbackid.empty()) {
            MOX_LOG(LOG_PRIORITY_INFO, kFunction,
                    "[MoxH5] Callbackid is empty, no need callback.");
            return true;
        }
        return false;
    }
    constexpr char kFunction[] = "doCallBackToRender";
    if (FlagIsSet(answer, key::kNoNeedUnifyCallBack, kFunction)) {
        MOX_LOG(LOG_PRIORITY_INFO, kFunction,
                "[MoxH5] Render NoNeedUnifyCallBack mallcsid[%s] webindex[%d], callId[%s], "
                "return.",
                mallcsid.c_str(), webindex, callbackid.c_str());
        return true;
    }
    if (FlagIsSet(answer, key::kAsynExec, kFunction)) {
        MOX_LOG(LOG_PRIORITY_INFO, kFunction,
                "[MoxH5] Render JsAsyncCallback mallcsid[%s] webindex[%d], callId[%s], return.",
                mallcsid.c_str(), webindex, callbackid.c_str());
        return true;
    }
    if (callbackid.empty()) {
        MOX_LOG(LOG_PRIORITY_INFO, kFunction, "[MoxH5] CallId is empty, no need callback.");
        return true;
    }
    return false;
}

// An answer by page and callback id (the bare completion, the unified answer).
void AnswerByKey(IH5ActionImplCallBack* callback, bool isWorker, bool success, int webindex,
                 const std::string& mallcsid, const std::string& callbackid,
                 const std::string& workerid, const Json::Value& answer) {
    if (StaysSilent(isWorker, webindex, mallcsid, callbackid, workerid, answer)) return;
    if (!FitsEnvelope(answer)) return;
    Claim claim = moxh5::detail::ClaimByKey(isWorker, webindex, workerid, callbackid);
    if (claim.outcome != AnswerOutcome::kDeliver) {
        claim.page = MakeIdentity(isWorker, webindex, mallcsid, callbackid, workerid);
    }
    const ClaimScope scope(claim);
    Deliver(callback, claim, isWorker, success, webindex, mallcsid, callbackid, workerid, answer);
}

IH5ActionImplCallBack* InstalledCallback() {
    IH5ActionImplCallBack* callback = MoxModuleManager::GetInstance()->GetCallback();
    if (!callback) {
        MOX_LOG(LOG_PRIORITY_ERROR, "callBackToWebPage", "%s check failed",
                "MoxModuleManager::GetInstance()->GetCallback()");
    }
    return callback;
}

}  // namespace

bool callBackToWebPage(bool isWorker, bool success, int webindex, const std::string& mallcsid,
                       const std::string& callbackid, const std::string& workerid,
                       const Json::Value& answer) noexcept {
    return CatchAll("callBackToWebPage", false, [&] {
        IH5ActionImplCallBack* callback = InstalledCallback();
        if (!callback) return false;
        if (callbackid.empty()) {
            MOX_LOG(LOG_PRIORITY_INFO, "callBackToWebPage",
                    "[MoxH5] Callbackid is empty, no need callback.");
            return false;
        }
        AnswerByKey(callback, isWorker, success, webindex, mallcsid, callbackid, workerid, answer);
        return true;
    });
}

namespace moxh5::detail {

AnswerOutcome AnswerWork(uint64_t ticket, bool success, const Json::Value& answer) noexcept {
    return CatchAll("AnswerWork", AnswerOutcome::kUnknown, [&] {
        if (!FitsEnvelope(answer)) return AnswerOutcome::kUnknown;
        const Claim claim = ClaimByTicket(ticket);
        const ClaimScope scope(claim);
        // The page is the recorded one, whatever the caller holds.
        const MoxPageIdentity& p = claim.page;
        if (claim.outcome != AnswerOutcome::kDeliver ||
            !StaysSilent(p.isWorker, p.webindex, p.mallcsid, p.callbackid, p.workerid, answer)) {
            Deliver(MoxModuleManager::GetInstance()->GetCallback(), claim, p.isWorker, success,
                    p.webindex, p.mallcsid, p.callbackid, p.workerid, answer);
        }
        return claim.outcome;
    });
}

void doCallBackToRender(IH5ActionImplCallBack* callback, bool success, int webindex,
                        const std::string& mallcsid, const std::string& callId,
                        const Json::Value& answer) {
    AnswerByKey(callback, false, success, webindex, mallcsid, callId, std::string(), answer);
}

void doCallBackToWorker(IH5ActionImplCallBack* callback, bool success, int webindex,
                        const std::string& mallcsid, const std::string& callbackid,
                        const std::string& workerid, const Json::Value& answer) {
    AnswerByKey(callback, true, success, webindex, mallcsid, callbackid, workerid, answer);
}

}  // namespace moxh5::detail

namespace moxh5 {

MoxPageIdentity PageIdentityOf(const mox_h5_module_data& request) {
    return MakeIdentity(request.isWorker, request.webindex, request.mallcsid, request.callbackid,
                        request.workerid ? request.workerid : "");
}

bool AnswerPage(const MoxPageIdentity& page, bool success, const Json::Value& answer) noexcept {
    if (page.ticket == 0) {
        return callBackToWebPage(page.isWorker, success, page.webindex, page.mallcsid,
                                 page.callbackid, page.workerid, answer);
    }
    return detail::AnswerWork(page.ticket, success, answer) == AnswerOutcome::kDeliver;
}

}  // namespace moxh5
