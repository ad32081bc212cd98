// A scripted host: implements the action interface and the user centre,
// records every call with its arguments (as JSON, in call order, named as the
// catalogue of host operations names them), answers with scripted results,
// and keeps the work it accepts (its page with its ticket, and the completion
// it was handed) so that a test can finish it later, on any thread. The tests use it, and so does the transcript player (moxh5-play).
//
// Thread-safe: calls may arrive from several threads at once.
#pragma once

#include <json/value.h>

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "moxh5/host_interfaces.h"
#include "moxh5/host_operations.h"

namespace moxh5::test {

struct HostCall {
    std::string op;
    Json::Value args;  // object: argument name -> value
};

// Asynchronous work the host was asked to do and has not finished.
struct PendingPageWork {
    std::string op;
    MoxPageIdentity page;
    MoxPageCallbackFn done = nullptr;
    MoxTipCompletion tipDone;  // ShowCommonTip only
};

class RecordingHost final : public IH5ActionImplCallBack, public IUserCenter {
public:
    // --- scripting ---
    // Result of a bool operation; operations not scripted return the default
    // result (true unless changed).
    void SetResult(const std::string& op, bool result);
    void SetDefaultResult(bool result);
    // Forgets recorded calls, pending work and scripted results.
    void Reset();
    // What GetPluginVersion writes into its result.
    void SetPluginVersionAnswer(Json::Value answer);
    // Answers of the user centre (mallcsid -> value; "" key = any session).
    void SetMallId(const std::string& mallcsid, std::string value);
    void SetCsId(const std::string& mallcsid, std::string value);
    void SetCurrentUid(const std::string& mallcsid, std::string value);
    void SetCurrentMallCsId(std::string value);
    // What GetClientLinkPrefix answers (empty until set).
    void SetClientLinkPrefix(std::string prefix);

    // --- inspection ---
    std::vector<HostCall> Calls() const;
    std::vector<HostCall> CallsOf(const std::string& op) const;
    size_t CountOf(const std::string& op) const { return CallsOf(op).size(); }
    void ClearCalls();

    // Takes the asynchronous work handed over so far (it is no longer pending).
    std::vector<PendingPageWork> TakePending();
    // Finishes every pending work item with `success` and `answer`; returns
    // how many were finished.
    size_t CompleteAll(bool success, const Json::Value& answer);
    // Finishes the work item `number` (1 = the first handed over, counting
    // every item ever received); false when there is no such item or it was
    // already finished or taken.
    bool CompletePending(size_t number, bool success, const Json::Value& answer);

    // Called after each host call is recorded, outside the host's lock.
    void SetCallObserver(std::function<void(const HostCall&)> observer);
    // Called when the host accepts asynchronous work, with its number.
    void SetPendingObserver(std::function<void(size_t number, const PendingPageWork&)> observer);

    // --- IH5ActionImplCallBack: every operation of the catalogue ---
#define MOXH5_RECORDED_OPERATION(Name, Shape, Params, Args, Doc) \
    MOXH5_OPERATION_RETURNS_##Shape Name Params override;
    MOXH5_HOST_OPERATIONS(MOXH5_RECORDED_OPERATION, , )
#undef MOXH5_RECORDED_OPERATION
    void RenderJsCallback(const std::string& mallcsid, int webindex, const std::string& callId,
                          const std::string& data) override;
    void WorkerJsCallback(const std::string& mallcsid, int webindex, const std::string& callbackid,
                          const std::string& data) override;

    // --- IUserCenter ---
    std::string GetMallId(const std::string& mallcsid) override;
    std::string GetCsId(const std::string& mallcsid) override;
    std::string GetCurrentMallCsId() override;
    std::string GetCurrentUid(const std::string& mallcsid) override;

private:
    // Records the call; the scripted result.
    bool Record(const std::string& op, Json::Value args);
    // The replies of each shape of operation (moxh5/host_operations.h).
    bool ReplyAccepted(const char* op, Json::Value args) { return Record(op, std::move(args)); }
    bool ReplyHostAnswers(const char* op, Json::Value args) { return Record(op, std::move(args)); }
    bool ReplyLater(const char* op, Json::Value args, MoxPageCallbackFn done);
    bool ReplyLater(const char* op, Json::Value args, MoxTipCompletion done);
    void ReplyWindow(const char* op, Json::Value args, MoxPageCallbackFn done);
    bool ReplyVersion(const char* op, Json::Value args, Json::Value& result);
    std::string ReplyText(const char* op, Json::Value args);
    void ReplyNothing(const char* op, Json::Value args) { Record(op, std::move(args)); }
    void AddPending(PendingPageWork work);
    static void Complete(const PendingPageWork& work, bool success, const Json::Value& answer);
    std::string SessionValue(const std::string& op,
                             const std::map<std::string, std::string>& values,
                             const std::string& mallcsid);

    mutable std::mutex m_mutex;
    std::vector<HostCall> m_calls;
    struct PendingSlot {
        PendingPageWork work;
        bool taken = false;
    };
    std::vector<PendingSlot> m_pending;
    std::function<void(const HostCall&)> m_callObserver;
    std::function<void(size_t, const PendingPageWork&)> m_pendingObserver;
    std::map<std::string, bool> m_results;
    bool m_defaultResult = true;
    Json::Value m_pluginVersionAnswer;
    std::map<std::string, std::string> m_mallIds, m_csIds, m_currentUids;
    std::string m_currentMallCsId;
    std::string m_clientLinkPrefix;
};

}  // namespace moxh5::test
