#include "tools/recording_host/recording_host.h"

#include "moxh5/platform.h"

namespace moxh5::test {
namespace {

// An argument object from name/value pairs.
inline void AddArgs(Json::Value&) {}
template <typename Value, typename... Rest>
void AddArgs(Json::Value& out, const char* name, Value&& value, Rest&&... rest) {
    out[name] = Json::Value(std::forward<Value>(value));
    AddArgs(out, std::forward<Rest>(rest)...);
}
template <typename... Pairs>
Json::Value Args(Pairs&&... pairs) {
    Json::Value out(Json::objectValue);
    AddArgs(out, std::forward<Pairs>(pairs)...);
    return out;
}

// A host-owned C string as JSON (null for a null pointer).
Json::Value Text(const char* text) { return text ? Json::Value(text) : Json::Value(); }

Json::Value Strings(const std::vector<std::string>& items) {
    Json::Value list(Json::arrayValue);
    for (const std::string& item : items) list.append(item);
    return list;
}

Json::Value DescribePage(const MoxPageIdentity& page) {
    Json::Value out;
    out["isWorker"] = page.isWorker;
    out["webindex"] = page.webindex;
    out["mallcsid"] = page.mallcsid;
    out["callbackid"] = page.callbackid;
    out["workerid"] = page.workerid;
    return out;
}

}  // namespace

Json::Value DescribeRequest(const mox_h5_module_data* request) {
    if (!request) return Json::Value();
    Json::Value out;
    out["mallcsid"] = request->mallcsid;
    out["payload"] = request->payload;
    out["isWorker"] = request->isWorker;
    out["webindex"] = request->webindex;
    out["callbackid"] = request->callbackid;
    out["workerid"] = Text(request->workerid);
    return out;
}

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
    Record(op, Args("mallcsid", mallcsid));
    std::lock_guard<std::mutex> lock(m_mutex);
    auto it = values.find(mallcsid);
    if (it == values.end()) it = values.find("");
    return it == values.end() ? std::string() : it->second;
}

bool RecordingHost::GetPluginVersion(const std::string& pluginId, Json::Value& result) {
    const bool accepted = Record("GetPluginVersion", Args("pluginId", pluginId));
    std::lock_guard<std::mutex> lock(m_mutex);
    result = m_pluginVersionAnswer;
    return accepted;
}

bool RecordingHost::RequestFromRenderPage(const mox_h5_module_data* request,
                                          const Json::Value& payload, int webindex,
                                          const std::string& callbackid) {
    return Record("RequestFromRenderPage",
                  Args("request", DescribeRequest(request), "payload", payload, "webindex",
                       webindex, "callbackid", callbackid));
}

bool RecordingHost::SendSocketMessage(const mox_h5_module_data* request, const std::string& uid,
                                      const Json::Value& params) {
    return Record("SendSocketMessage",
                  Args("request", DescribeRequest(request), "uid", uid, "params", params));
}

bool RecordingHost::OpenWaitHandleOrder(const std::string& paramsJson) {
    return Record("OpenWaitHandleOrder", Args("paramsJson", paramsJson));
}

bool RecordingHost::OpenGoodsManage(const std::string& paramsJson) {
    return Record("OpenGoodsManage", Args("paramsJson", paramsJson));
}

bool RecordingHost::PageChange(const std::string& page, const std::string& paramsJson) {
    return Record("PageChange", Args("page", page, "paramsJson", paramsJson));
}

bool RecordingHost::SessionExpired(const mox_h5_module_data* request) {
    return Record("SessionExpired", Args("request", DescribeRequest(request)));
}

bool RecordingHost::SetAllPasteboard(int webindex) {
    return Record("SetAllPasteboard", Args("webindex", webindex));
}

bool RecordingHost::SendSocketCommand(const mox_h5_module_data* request, const Json::Value& payload,
                                      int64_t requestId) {
    return Record("SendSocketCommand", Args("request", DescribeRequest(request), "payload", payload,
                                            "requestId", Json::Int64(requestId)));
}

bool RecordingHost::LocateMessage(const mox_h5_module_data* request, const Json::Value& params) {
    return Record("LocateMessage", Args("request", DescribeRequest(request), "params", params));
}

bool RecordingHost::ViewPicture(const mox_h5_module_data* request, const std::string& url,
                                const std::string& uid, const std::string& msgId) {
    return Record("ViewPicture", Args("request", DescribeRequest(request), "url", url, "uid", uid,
                                      "msgId", msgId));
}

bool RecordingHost::StorePicture(const std::string& url, const char* workerid) {
    return Record("StorePicture", Args("url", url, "workerid", Text(workerid)));
}

bool RecordingHost::ViewPictureList(const mox_h5_module_data* request, int startIndex,
                                    const std::vector<std::string>& urls) {
    return Record("ViewPictureList", Args("request", DescribeRequest(request), "startIndex",
                                          startIndex, "urls", Strings(urls)));
}

bool RecordingHost::BatchDownloadPictures(const mox_h5_module_data* request, const std::string& url,
                                          const std::string& uid, const std::string& msgId) {
    return Record("BatchDownloadPictures", Args("request", DescribeRequest(request), "url", url,
                                                "uid", uid, "msgId", msgId));
}

bool RecordingHost::UpdateQuickReply(const mox_h5_module_data* request) {
    return Record("UpdateQuickReply", Args("request", DescribeRequest(request)));
}

bool RecordingHost::ExportQuickReply(const mox_h5_module_data* request, const char* workerid) {
    return Record("ExportQuickReply",
                  Args("request", DescribeRequest(request), "workerid", Text(workerid)));
}

bool RecordingHost::ImportQuickReply(const mox_h5_module_data* request) {
    return Record("ImportQuickReply", Args("request", DescribeRequest(request)));
}

bool RecordingHost::DownQuickReplyModule(const char* workerid) {
    return Record("DownQuickReplyModule", Args("workerid", Text(workerid)));
}

bool RecordingHost::BusinessReport(const mox_h5_module_data* request) {
    return Record("BusinessReport", Args("request", DescribeRequest(request)));
}

bool RecordingHost::SendVideoShow() { return Record("SendVideoShow", Json::Value()); }

bool RecordingHost::SendAddressMsg(const mox_h5_module_data* request, const Json::Value& params) {
    return Record("SendAddressMsg", Args("request", DescribeRequest(request), "params", params));
}

bool RecordingHost::SendFaseReply(const mox_h5_module_data* request, std::string reply) {
    return Record("SendFaseReply", Args("request", DescribeRequest(request), "reply", reply));
}

bool RecordingHost::SendRichContent(const mox_h5_module_data* request, const Json::Value& params) {
    return Record("SendRichContent", Args("request", DescribeRequest(request), "params", params));
}

bool RecordingHost::ShareGoods(const std::string& shareUrl, const std::wstring& goodsName) {
    Json::Value args;
    args["shareUrl"] = shareUrl;
    // The wide name round-trips through the platform's wide encoding, so a
    // test comparing UTF-8 text also checks the conversion.
    args["goodsName"] = moxh5::platform::WideToUtf8(goodsName);
    args["goodsNameUnits"] = static_cast<Json::UInt64>(goodsName.size());
    return Record("ShareGoods", args);
}

bool RecordingHost::GetMallInfo(const mox_h5_module_data* request, int webindex, int callId) {
    return Record("GetMallInfo", Args("request", DescribeRequest(request), "webindex", webindex,
                                      "callId", callId));
}

bool RecordingHost::GetTesselActions(const mox_h5_module_data* request, int webindex, int callId) {
    return Record("GetTesselActions", Args("request", DescribeRequest(request), "webindex",
                                           webindex, "callId", callId));
}

bool RecordingHost::GetCurrentCustomerInfo(const mox_h5_module_data* request, int webindex,
                                           int callId) {
    return Record("GetCurrentCustomerInfo", Args("request", DescribeRequest(request), "webindex",
                                                 webindex, "callId", callId));
}

bool RecordingHost::OpenWindow(const Json::Value& params, const mox_h5_module_data* request) {
    return Record("OpenWindow", Args("params", params, "request", DescribeRequest(request)));
}

bool RecordingHost::WorkerOnLoad(const mox_h5_module_data* request, std::string pageName,
                                 uint32_t reserved) {
    return Record("WorkerOnLoad", Args("request", DescribeRequest(request), "pageName", pageName,
                                       "reserved", reserved));
}

bool RecordingHost::UpdateMsg(const Json::Value& payload, const mox_h5_module_data* request) {
    return Record("UpdateMsg", Args("payload", payload, "request", DescribeRequest(request)));
}

bool RecordingHost::LogisticOrderSelect(const Json::Value& payload,
                                        const mox_h5_module_data* request, int webindex,
                                        int callId) {
    return Record("LogisticOrderSelect",
                  Args("payload", payload, "request", DescribeRequest(request), "webindex",
                       webindex, "callId", callId));
}

bool RecordingHost::SelectFile(const std::string& filter, const MoxPageIdentity& page,
                               MoxPageCallbackFn done) {
    const bool accepted = Record("SelectFile", Args("filter", filter, "page", DescribePage(page)));
    if (accepted) AddPending({"SelectFile", page, done, {}});
    return accepted;
}

bool RecordingHost::DownloadRemoteFile(const std::string& filePath, const std::string& url,
                                       const std::string& cookie, const MoxPageIdentity& page,
                                       MoxPageCallbackFn done) {
    const bool accepted = Record(
        "DownloadRemoteFile",
        Args("filePath", filePath, "url", url, "cookie", cookie, "page", DescribePage(page)));
    if (accepted) AddPending({"DownloadRemoteFile", page, done, {}});
    return accepted;
}

bool RecordingHost::UploadFile(const std::string& url, const std::string& cookie,
                               const std::string& filePath, const std::string& signName,
                               const std::string& signValue, const std::string& fileDataName,
                               const MoxPageIdentity& page, MoxPageCallbackFn done) {
    const bool accepted =
        Record("UploadFile", Args("url", url, "cookie", cookie, "filePath", filePath, "signName",
                                  signName, "signValue", signValue, "fileDataName", fileDataName,
                                  "page", DescribePage(page)));
    if (accepted) AddPending({"UploadFile", page, done, {}});
    return accepted;
}

void RecordingHost::ShowToast(int kind, const char* text, size_t length, int durationMs) {
    Record("ShowToast",
           Args("kind", kind, "text", text ? std::string(text, length) : std::string(), "length",
                static_cast<Json::UInt64>(length), "durationMs", durationMs));
}

bool RecordingHost::ShowCommonTip(bool isWorker, std::string title, std::string content,
                                  std::string leftButtonText, std::string rightButtonText,
                                  MoxTipCompletion done) {
    const bool accepted =
        Record("ShowCommonTip",
               Args("isWorker", isWorker, "title", title, "content", content, "leftButtonText",
                    leftButtonText, "rightButtonText", rightButtonText));
    if (accepted) AddPending({"ShowCommonTip", {}, nullptr, std::move(done)});
    return accepted;
}

bool RecordingHost::SaveFile(const std::string& tempFilePath, const MoxPageIdentity& page,
                             MoxPageCallbackFn done) {
    const bool accepted =
        Record("SaveFile", Args("tempFilePath", tempFilePath, "page", DescribePage(page)));
    if (accepted) AddPending({"SaveFile", page, done, {}});
    return accepted;
}

bool RecordingHost::HttpPost(int kind, const mox_h5_module_data* request, int webindex,
                             const std::string& callbackid, const std::string& extra,
                             MoxPageCallbackFn done, const std::string& url,
                             const std::string& content, const std::string& cookie,
                             const std::vector<std::string>& headers) {
    const bool accepted =
        Record("HttpPost", Args("kind", kind, "request", DescribeRequest(request), "webindex",
                                webindex, "callbackid", callbackid, "extra", extra, "url", url,
                                "content", content, "cookie", cookie, "headers", Strings(headers)));
    if (accepted && request) AddPending({"HttpPost", PageIdentityOf(*request), done, {}});
    return accepted;
}

bool RecordingHost::HttpGet(int kind, const mox_h5_module_data* request, int webindex,
                            const std::string& callbackid, const std::string& extra,
                            MoxPageCallbackFn done, const std::string& url,
                            const std::string& content, const std::string& cookie) {
    const bool accepted =
        Record("HttpGet", Args("kind", kind, "request", DescribeRequest(request), "webindex",
                               webindex, "callbackid", callbackid, "extra", extra, "url", url,
                               "content", content, "cookie", cookie));
    if (accepted && request) AddPending({"HttpGet", PageIdentityOf(*request), done, {}});
    return accepted;
}

void RecordingHost::CopyImageToClipboard(const std::string& data) {
    Record("CopyImageToClipboard", Args("data", data));
}

void RecordingHost::RenderJsCallback(const std::string& mallcsid, int webindex,
                                     const std::string& callId, const std::string& data) {
    Record("RenderJsCallback",
           Args("mallcsid", mallcsid, "webindex", webindex, "callId", callId, "data", data));
}

void RecordingHost::WorkerJsCallback(const std::string& mallcsid, int webindex,
                                     const std::string& callbackid, const std::string& data) {
    Record("WorkerJsCallback", Args("mallcsid", mallcsid, "webindex", webindex, "callbackid",
                                    callbackid, "data", data));
}

void RecordingHost::ShowEasyWnd(bool isWorker, const mox_h5_module_data* request, int webindex,
                                const std::string& callbackid, MoxPageCallbackFn done,
                                const EasyWndParam& param) {
    Json::Value args;
    args["isWorker"] = isWorker;
    args["request"] = DescribeRequest(request);
    args["webindex"] = webindex;
    args["callbackid"] = callbackid;
    Json::Value& p = args["param"];
    p["title"] = param.title;
    p["content"] = param.content;
    p["scene"] = param.scene;
    p["frequency"]["interval"] = param.frequency.interval;
    p["frequency"]["dimensions"] = param.frequency.dimensions;
    p["left"]["text"] = param.left.text;
    p["left"]["action"] = param.left.action;
    p["right"]["text"] = param.right.text;
    p["right"]["action"] = param.right.action;
    Record("ShowEasyWnd", args);
    if (request) AddPending({"ShowEasyWnd", PageIdentityOf(*request), done, {}});
}

void RecordingHost::UpdateShielding(const mox_h5_module_data* request,
                                    const std::string& currentUid, const Json::Value& params) {
    Record("UpdateShielding",
           Args("request", DescribeRequest(request), "currentUid", currentUid, "params", params));
}

bool RecordingHost::AddUserToBlackList(const mox_h5_module_data* request, const std::string& uid) {
    return Record("AddUserToBlackList", Args("request", DescribeRequest(request), "uid", uid));
}

bool RecordingHost::ShowHelpLinkDlg(const mox_h5_module_data* request, const std::string& from,
                                    const std::string& orderSequenceNo) {
    return Record("ShowHelpLinkDlg", Args("request", DescribeRequest(request), "from", from,
                                          "orderSequenceNo", orderSequenceNo));
}

bool RecordingHost::ShowHelpBuyModal(const mox_h5_module_data* request,
                                     const Json::Value& goodsInfo) {
    return Record("ShowHelpBuyModal",
                  Args("request", DescribeRequest(request), "goodsInfo", goodsInfo));
}

bool RecordingHost::OpenLittleMoney(const mox_h5_module_data* request, const std::string& operation,
                                    const Json::Value& orderGoodsList) {
    return Record("OpenLittleMoney", Args("request", DescribeRequest(request), "operation",
                                          operation, "orderGoodsList", orderGoodsList));
}

std::string RecordingHost::GetClientLinkPrefix() {
    Record("GetClientLinkPrefix", Json::Value());
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_clientLinkPrefix;
}

bool RecordingHost::OpenClientLink(const mox_h5_module_data* request, const std::string& link,
                                   int targetUrlType, const std::string& msgId) {
    return Record("OpenClientLink", Args("request", DescribeRequest(request), "link", link,
                                         "targetUrlType", targetUrlType, "msgId", msgId));
}

bool RecordingHost::ShareGoodsUrl(const mox_h5_module_data* request, const std::string& goodsUrl) {
    return Record("ShareGoodsUrl", Args("request", DescribeRequest(request), "goodsUrl", goodsUrl));
}

bool RecordingHost::DownloadFile(const mox_h5_module_data* request, const std::string& downloadUrl,
                                 const std::string& fileName) {
    return Record("DownloadFile", Args("request", DescribeRequest(request), "downloadUrl",
                                       downloadUrl, "fileName", fileName));
}

bool RecordingHost::OpenNewConversation(const mox_h5_module_data* request,
                                        const std::string& orderSn, const std::string& mallId,
                                        const MoxPageIdentity& page, MoxPageCallbackFn done) {
    const bool accepted =
        Record("OpenNewConversation", Args("request", DescribeRequest(request), "orderSn", orderSn,
                                           "mallId", mallId, "page", DescribePage(page)));
    if (accepted) AddPending({"OpenNewConversation", page, done, {}});
    return accepted;
}

bool RecordingHost::UpdateUnreadMessageCount(const mox_h5_module_data* request,
                                             int unreadUrgentMsgCount) {
    return Record("UpdateUnreadMessageCount", Args("request", DescribeRequest(request),
                                                   "unreadUrgentMsgCount", unreadUrgentMsgCount));
}

bool RecordingHost::MerchantLoadFinished(const mox_h5_module_data* request) {
    return Record("MerchantLoadFinished", Args("request", DescribeRequest(request)));
}

bool RecordingHost::ReportHttpError(const mox_h5_module_data* request,
                                    const Json::Value& response) {
    return Record("ReportHttpError",
                  Args("request", DescribeRequest(request), "response", response));
}

bool RecordingHost::UpdateWindowsKey(const mox_h5_module_data* request, const std::string& group,
                                     const std::string& key, bool value) {
    return Record("UpdateWindowsKey", Args("request", DescribeRequest(request), "group", group,
                                           "key", key, "value", value));
}

bool RecordingHost::RemindWorkOrder(const mox_h5_module_data* request, const Json::Value& params) {
    return Record("RemindWorkOrder", Args("request", DescribeRequest(request), "params", params));
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
    Record("GetCurrentMallCsId", Json::Value());
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_currentMallCsId;
}

}  // namespace moxh5::test
