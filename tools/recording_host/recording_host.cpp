#include "tools/recording_host/recording_host.h"

#include "moxh5/platform.h"

namespace moxh5::test {

void RecordingHost::SetResult(const std::string& op, bool result) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_results[op] = result;
}
void RecordingHost::SetDefaultResult(bool result) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_defaultResult = result;
}
void RecordingHost::Reset() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_calls.clear();
    m_pending.clear();
    m_results.clear();
    m_defaultResult = true;
}
void RecordingHost::SetPluginVersionAnswer(Json::Value answer) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_pluginVersionAnswer = std::move(answer);
}
void RecordingHost::SetMallId(const std::string& mallcsid, std::string value) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_mallIds[mallcsid] = std::move(value);
}
void RecordingHost::SetCsId(const std::string& mallcsid, std::string value) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_csIds[mallcsid] = std::move(value);
}
void RecordingHost::SetCurrentUid(const std::string& mallcsid, std::string value) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_currentUids[mallcsid] = std::move(value);
}
void RecordingHost::SetCurrentMallCsId(std::string value) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_currentMallCsId = std::move(value);
}
void RecordingHost::SetClientLinkPrefix(std::string prefix) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_clientLinkPrefix = std::move(prefix);
}

std::vector<HostCall> RecordingHost::Calls() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_calls;
}
std::vector<HostCall> RecordingHost::CallsOf(const std::string& op) const {
    std::vector<HostCall> found;
    for (HostCall& call : Calls()) {
        if (call.op == op) found.push_back(std::move(call));
    }
    return found;
}
void RecordingHost::ClearCalls() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_calls.clear();
}

std::vector<PendingPageWork> RecordingHost::TakePending() {
    std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<PendingPageWork> taken;
    for (PendingSlot& slot : m_pending) {
        if (slot.taken) continue;
        slot.taken = true;
        taken.push_back(slot.work);
    }
    return taken;
}

bool RecordingHost::CompletePending(size_t number, bool success, const Json::Value& answer) {
    PendingPageWork work;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (number == 0 || number > m_pending.size() || m_pending[number - 1].taken) return false;
        m_pending[number - 1].taken = true;
        work = m_pending[number - 1].work;
    }
    Complete(work, success, answer);
    return true;
}

void RecordingHost::Complete(const PendingPageWork& work, bool success, const Json::Value& answer) {
    if (work.tipDone) {
        work.tipDone(success, answer);
    } else if (work.done) {
        const MoxPageIdentity& p = work.page;
        work.done(p.isWorker, success, p.webindex, p.mallcsid, p.callbackid, p.workerid, answer);
    }
}

void RecordingHost::SetCallObserver(std::function<void(const HostCall&)> observer) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_callObserver = std::move(observer);
}

void RecordingHost::SetPendingObserver(
    std::function<void(size_t number, const PendingPageWork&)> observer) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_pendingObserver = std::move(observer);
}

size_t RecordingHost::CompleteAll(bool success, const Json::Value& answer) {
    std::vector<PendingPageWork> work = TakePending();
    for (const PendingPageWork& item : work) Complete(item, success, answer);
    return work.size();
}

bool RecordingHost::Record(const std::string& op, Json::Value args) {
    std::function<void(const HostCall&)> observer;
    HostCall call{op, std::move(args)};
    bool result = true;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_calls.push_back(call);
        const auto it = m_results.find(op);
        result = it != m_results.end() ? it->second : m_defaultResult;
        observer = m_callObserver;
    }
    // Observers run outside the lock: they may call back into the host.
    if (observer) observer(call);
    return result;
}

void RecordingHost::AddPending(PendingPageWork work) {
    std::function<void(size_t, const PendingPageWork&)> observer;
    size_t number = 0;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_pending.push_back({work, false});
        number = m_pending.size();
        observer = m_pendingObserver;
    }
    if (observer) observer(number, work);
}

std::string RecordingHost::SessionValue(const std::string& op,
                                        const std::map<std::string, std::string>& values,
                                        const std::string& mallcsid) {
    Json::Value args(Json::objectValue);
    args["mallcsid"] = mallcsid;
    Record(op, std::move(args));
    std::lock_guard<std::mutex> lock(m_mutex);
    auto it = values.find(mallcsid);
    if (it == values.end()) it = values.find("");
    return it == values.end() ? std::string() : it->second;
}

bool RecordingHost::ReplyLater(const char* op, Json::Value args, MoxPageCallbackFn done) {
    const bool accepted = Record(op, std::move(args));
    PendingPageWork work{op, {}, done, {}};
    if (accepted && moxh5::CurrentPage(work.page)) AddPending(std::move(work));
    return accepted;
}

bool RecordingHost::ReplyLater(const char* op, Json::Value args, MoxTipCompletion done) {
    const bool accepted = Record(op, std::move(args));
    PendingPageWork work{op, {}, nullptr, std::move(done)};
    if (accepted && moxh5::CurrentPage(work.page)) AddPending(std::move(work));
    return accepted;
}

void RecordingHost::ReplyWindow(const char* op, Json::Value args, MoxPageCallbackFn done) {
    Record(op, std::move(args));
    PendingPageWork work{op, {}, done, {}};
    if (moxh5::CurrentPage(work.page)) AddPending(std::move(work));
}

bool RecordingHost::ReplyVersion(const char* op, Json::Value args, Json::Value& result) {
    const bool accepted = Record(op, std::move(args));
    std::lock_guard<std::mutex> lock(m_mutex);
    if (accepted) result = m_pluginVersionAnswer;
    return accepted;
}

std::string RecordingHost::ReplyText(const char* op, Json::Value args) {
    Record(op, std::move(args));
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_clientLinkPrefix;
}

#define MOXH5_RECORD_ARG(name, Type, doc) args[#name] = moxh5::operation::ToJson(name);
#define MOXH5_RECORD_ARG_VALUE(name, Type, value, doc) \
    args[#name] = moxh5::operation::ToJson(value);
#define MOXH5_REPLY_ARGS_Accepted
#define MOXH5_REPLY_ARGS_HostAnswers
#define MOXH5_REPLY_ARGS_Later , std::move(done)
#define MOXH5_REPLY_ARGS_Window , done
#define MOXH5_REPLY_ARGS_Version , result
#define MOXH5_REPLY_ARGS_Text
#define MOXH5_REPLY_ARGS_Nothing
#define MOXH5_RECORD_OPERATION(Name, Shape, Params, Args, Doc)                   \
    MOXH5_OPERATION_RETURNS_##Shape RecordingHost::Name Params {                 \
        Json::Value args(Json::objectValue);                                     \
        Args return Reply##Shape(#Name, std::move(args) MOXH5_REPLY_ARGS_##Shape); \
    }
MOXH5_HOST_OPERATIONS(MOXH5_RECORD_OPERATION, MOXH5_RECORD_ARG, MOXH5_RECORD_ARG_VALUE)

void RecordingHost::RenderJsCallback(const std::string& mallcsid, int webindex,
                                     const std::string& callId, const std::string& data) {
    Json::Value args(Json::objectValue);
    args["mallcsid"] = mallcsid;
    args["webindex"] = webindex;
    args["callId"] = callId;
    args["data"] = data;
    Record("RenderJsCallback", std::move(args));
}

void RecordingHost::WorkerJsCallback(const std::string& mallcsid, int webindex,
                                     const std::string& callbackid, const std::string& data) {
    Json::Value args(Json::objectValue);
    args["mallcsid"] = mallcsid;
    args["webindex"] = webindex;
    args["callbackid"] = callbackid;
    args["data"] = data;
    Record("WorkerJsCallback", std::move(args));
}

std::string RecordingHost::GetMallId(const std::string& mallcsid) {
    return SessionValue("GetMallId", m_mallIds, mallcsid);
}
std::string RecordingHost::GetCsId(const std::string& mallcsid) {
    return SessionValue("GetCsId", m_csIds, mallcsid);
}
std::string RecordingHost::GetCurrentUid(const std::string& mallcsid) {
    return SessionValue("GetCurrentUid", m_currentUids, mallcsid);
}
std::string RecordingHost::GetCurrentMallCsId() {
    Record("GetCurrentMallCsId", Json::Value(Json::objectValue));
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_currentMallCsId;
}

}  // namespace moxh5::test
