#include "tests/fakes/recording_host.h"

#include "moxh5/platform.h"

namespace moxh5::test {
namespace {

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
    out["workerid"] = request->workerid ? Json::Value(request->workerid) : Json::Value();
    return out;
}

void RecordingHost::SetResult(const std::string& op, bool result) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_results[op] = result;
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
    taken.swap(m_pending);
    return taken;
}

size_t RecordingHost::CompleteAll(bool success, const Json::Value& answer) {
    std::vector<PendingPageWork> work = TakePending();
    for (const PendingPageWork& item : work) {
        if (item.tipDone) {
            item.tipDone(success, answer);
        } else if (item.done) {
            const MoxPageIdentity& p = item.page;
            item.done(p.isWorker, success, p.webindex, p.mallcsid, p.callbackid, p.workerid,
                      answer);
        }
    }
    return work.size();
}

bool RecordingHost::Record(const std::string& op, Json::Value args) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_calls.push_back({op, std::move(args)});
    const auto it = m_results.find(op);
    return it == m_results.end() ? true : it->second;
}

void RecordingHost::AddPending(PendingPageWork work) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_pending.push_back(std::move(work));
}

std::string RecordingHost::SessionValue(const std::string& op,
                                        const std::map<std::string, std::string>& values,
                                        const std::string& mallcsid) {
    Json::Value args;
    args["mallcsid"] = mallcsid;
    Record(op, args);
    std::lock_guard<std::mutex> lock(m_mutex);
    auto it = values.find(mallcsid);
    if (it == values.end()) it = values.find("");
    return it == values.end() ? std::string() : it->second;
}

bool RecordingHost::GetPluginVersion(const std::string& pluginId, Json::Value& result) {
    Json::Value args;
    args["pluginId"] = pluginId;
    const bool accepted = Record("GetPluginVersion", args);
    std::lock_guard<std::mutex> lock(m_mutex);
    result = m_pluginVersionAnswer;
    return accepted;
}

bool RecordingHost::RequestFromRenderPage(const mox_h5_module_data* request,
                                          const Json::Value& payload, int webindex,
                                          const std::string& callbackid) {
    Json::Value args;
    args["request"] = DescribeRequest(request);
    args["payload"] = payload;
    args["webindex"] = webindex;
    args["callbackid"] = callbackid;
    return Record("RequestFromRenderPage", args);
}

bool RecordingHost::SendSocketMessage(const mox_h5_module_data* request, const std::string& uid,
                                      const Json::Value& params) {
    Json::Value args;
    args["request"] = DescribeRequest(request);
    args["uid"] = uid;
    args["params"] = params;
    return Record("SendSocketMessage", args);
}

bool RecordingHost::OpenWaitHandleOrder(const std::string& paramsJson) {
    Json::Value args;
    args["paramsJson"] = paramsJson;
    return Record("OpenWaitHandleOrder", args);
}

bool RecordingHost::OpenGoodsManage(const std::string& paramsJson) {
    Json::Value args;
    args["paramsJson"] = paramsJson;
    return Record("OpenGoodsManage", args);
}

bool RecordingHost::PageChange(const std::string& page, const std::string& paramsJson) {
    Json::Value args;
    args["page"] = page;
    args["paramsJson"] = paramsJson;
    return Record("PageChange", args);
}

bool RecordingHost::SessionExpired(const mox_h5_module_data* request) {
    Json::Value args;
    args["request"] = DescribeRequest(request);
    return Record("SessionExpired", args);
}

bool RecordingHost::SetAllPasteboard(int webindex) {
    Json::Value args;
    args["webindex"] = webindex;
    return Record("SetAllPasteboard", args);
}

bool RecordingHost::SendSocketCommand(const mox_h5_module_data* request,
                                      const Json::Value& payload, int64_t requestId) {
    Json::Value args;
    args["request"] = DescribeRequest(request);
    args["payload"] = payload;
    args["requestId"] = Json::Int64(requestId);
    return Record("SendSocketCommand", args);
}

bool RecordingHost::LocateMessage(const mox_h5_module_data* request, const Json::Value& params) {
    Json::Value args;
    args["request"] = DescribeRequest(request);
    args["params"] = params;
    return Record("LocateMessage", args);
}

bool RecordingHost::ViewPicture(const mox_h5_module_data* request, const std::string& url,
                                const std::string& uid, const std::string& msgId) {
    Json::Value args;
    args["request"] = DescribeRequest(request);
    args["url"] = url;
    args["uid"] = uid;
    args["msgId"] = msgId;
    return Record("ViewPicture", args);
}

bool RecordingHost::StorePicture(const std::string& url, const char* workerid) {
    Json::Value args;
    args["url"] = url;
    args["workerid"] = workerid ? Json::Value(workerid) : Json::Value();
    return Record("StorePicture", args);
}

bool RecordingHost::ViewPictureList(const mox_h5_module_data* request, int startIndex,
                                    const std::vector<std::string>& urls) {
    Json::Value args;
    args["request"] = DescribeRequest(request);
    args["startIndex"] = startIndex;
    args["urls"] = Strings(urls);
    return Record("ViewPictureList", args);
}

bool RecordingHost::BatchDownloadPictures(const mox_h5_module_data* request,
                                          const std::string& url, const std::string& uid,
                                          const std::string& msgId) {
    Json::Value args;
    args["request"] = DescribeRequest(request);
    args["url"] = url;
    args["uid"] = uid;
    args["msgId"] = msgId;
    return Record("BatchDownloadPictures", args);
}

bool RecordingHost::UpdateQuickReply(const mox_h5_module_data* request) {
    Json::Value args;
    args["request"] = DescribeRequest(request);
    return Record("UpdateQuickReply", args);
}

bool RecordingHost::ExportQuickReply(const mox_h5_module_data* request, const char* workerid) {
    Json::Value args;
    args["request"] = DescribeRequest(request);
    args["workerid"] = workerid ? Json::Value(workerid) : Json::Value();
    return Record("ExportQuickReply", args);
}

bool RecordingHost::ImportQuickReply(const mox_h5_module_data* request) {
    Json::Value args;
    args["request"] = DescribeRequest(request);
    return Record("ImportQuickReply", args);
}

bool RecordingHost::DownQuickReplyModule(const char* workerid) {
    Json::Value args;
    args["workerid"] = workerid ? Json::Value(workerid) : Json::Value();
    return Record("DownQuickReplyModule", args);
}

bool RecordingHost::BusinessReport(const mox_h5_module_data* request) {
    Json::Value args;
    args["request"] = DescribeRequest(request);
    return Record("BusinessReport", args);
}

bool RecordingHost::SendVideoShow() { return Record("SendVideoShow", Json::Value()); }

bool RecordingHost::SendAddressMsg(const mox_h5_module_data* request, const Json::Value& params) {
    Json::Value args;
    args["request"] = DescribeRequest(request);
    args["params"] = params;
    return Record("SendAddressMsg", args);
}

bool RecordingHost::SendFaseReply(const mox_h5_module_data* request, std::string reply) {
    Json::Value args;
    args["request"] = DescribeRequest(request);
    args["reply"] = reply;
    return Record("SendFaseReply", args);
}

bool RecordingHost::SendRichContent(const mox_h5_module_data* request, const Json::Value& params) {
    Json::Value args;
    args["request"] = DescribeRequest(request);
    args["params"] = params;
    return Record("SendRichContent", args);
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
    Json::Value args;
    args["request"] = DescribeRequest(request);
    args["webindex"] = webindex;
    args["callId"] = callId;
    return Record("GetMallInfo", args);
}

bool RecordingHost::GetTesselActions(const mox_h5_module_data* request, int webindex, int callId) {
    Json::Value args;
    args["request"] = DescribeRequest(request);
    args["webindex"] = webindex;
    args["callId"] = callId;
    return Record("GetTesselActions", args);
}

bool RecordingHost::GetCurrentCustomerInfo(const mox_h5_module_data* request, int webindex,
                                           int callId) {
    Json::Value args;
    args["request"] = DescribeRequest(request);
    args["webindex"] = webindex;
    args["callId"] = callId;
    return Record("GetCurrentCustomerInfo", args);
}

bool RecordingHost::OpenWindow(const Json::Value& params, const mox_h5_module_data* request) {
    Json::Value args;
    args["params"] = params;
    args["request"] = DescribeRequest(request);
    return Record("OpenWindow", args);
}

bool RecordingHost::WorkerOnLoad(const mox_h5_module_data* request, std::string pageName,
                                 uint32_t reserved) {
    Json::Value args;
    args["request"] = DescribeRequest(request);
    args["pageName"] = pageName;
    args["reserved"] = reserved;
    return Record("WorkerOnLoad", args);
}

bool RecordingHost::UpdateMsg(const Json::Value& payload, const mox_h5_module_data* request) {
    Json::Value args;
    args["payload"] = payload;
    args["request"] = DescribeRequest(request);
    return Record("UpdateMsg", args);
}

bool RecordingHost::LogisticOrderSelect(const Json::Value& payload,
                                        const mox_h5_module_data* request, int webindex,
                                        int callId) {
    Json::Value args;
    args["payload"] = payload;
    args["request"] = DescribeRequest(request);
    args["webindex"] = webindex;
    args["callId"] = callId;
    return Record("LogisticOrderSelect", args);
}

bool RecordingHost::SelectFile(const std::string& filter, const MoxPageIdentity& page,
                               MoxPageCallbackFn done) {
    Json::Value args;
    args["filter"] = filter;
    args["page"] = DescribePage(page);
    AddPending({"SelectFile", page, done, {}});
    return Record("SelectFile", args);
}

bool RecordingHost::DownloadRemoteFile(const std::string& filePath, const std::string& url,
                                       const std::string& cookie, const MoxPageIdentity& page,
                                       MoxPageCallbackFn done) {
    Json::Value args;
    args["filePath"] = filePath;
    args["url"] = url;
    args["cookie"] = cookie;
    args["page"] = DescribePage(page);
    AddPending({"DownloadRemoteFile", page, done, {}});
    return Record("DownloadRemoteFile", args);
}

bool RecordingHost::UploadFile(const std::string& url, const std::string& cookie,
                               const std::string& filePath, const std::string& signName,
                               const std::string& signValue, const std::string& fileDataName,
                               const MoxPageIdentity& page, MoxPageCallbackFn done) {
    Json::Value args;
    args["url"] = url;
    args["cookie"] = cookie;
    args["filePath"] = filePath;
    args["signName"] = signName;
    args["signValue"] = signValue;
    args["fileDataName"] = fileDataName;
    args["page"] = DescribePage(page);
    AddPending({"UploadFile", page, done, {}});
    return Record("UploadFile", args);
}

void RecordingHost::ShowToast(int kind, const char* text, size_t length, int durationMs) {
    Json::Value args;
    args["kind"] = kind;
    args["text"] = text ? std::string(text, length) : std::string();
    args["length"] = static_cast<Json::UInt64>(length);
    args["durationMs"] = durationMs;
    Record("ShowToast", args);
}

bool RecordingHost::ShowCommonTip(bool isWorker, std::string title, std::string content,
                                  std::string leftButtonText, std::string rightButtonText,
                                  MoxTipCompletion done) {
    Json::Value args;
    args["isWorker"] = isWorker;
    args["title"] = title;
    args["content"] = content;
    args["leftButtonText"] = leftButtonText;
    args["rightButtonText"] = rightButtonText;
    AddPending({"ShowCommonTip", {}, nullptr, std::move(done)});
    return Record("ShowCommonTip", args);
}

bool RecordingHost::SaveFile(const std::string& tempFilePath, const MoxPageIdentity& page,
                             MoxPageCallbackFn done) {
    Json::Value args;
    args["tempFilePath"] = tempFilePath;
    args["page"] = DescribePage(page);
    AddPending({"SaveFile", page, done, {}});
    return Record("SaveFile", args);
}

bool RecordingHost::HttpPost(int kind, const mox_h5_module_data* request, int webindex,
                             const std::string& callbackid, const std::string& extra,
                             MoxPageCallbackFn done, const std::string& url,
                             const std::string& content, const std::string& cookie,
                             const std::vector<std::string>& headers) {
    Json::Value args;
    args["kind"] = kind;
    args["request"] = DescribeRequest(request);
    args["webindex"] = webindex;
    args["callbackid"] = callbackid;
    args["extra"] = extra;
    args["url"] = url;
    args["content"] = content;
    args["cookie"] = cookie;
    args["headers"] = Strings(headers);
    if (request) AddPending({"HttpPost", PageIdentityOf(*request), done, {}});
    return Record("HttpPost", args);
}

bool RecordingHost::HttpGet(int kind, const mox_h5_module_data* request, int webindex,
                            const std::string& callbackid, const std::string& extra,
                            MoxPageCallbackFn done, const std::string& url,
                            const std::string& content, const std::string& cookie) {
    Json::Value args;
    args["kind"] = kind;
    args["request"] = DescribeRequest(request);
    args["webindex"] = webindex;
    args["callbackid"] = callbackid;
    args["extra"] = extra;
    args["url"] = url;
    args["content"] = content;
    args["cookie"] = cookie;
    if (request) AddPending({"HttpGet", PageIdentityOf(*request), done, {}});
    return Record("HttpGet", args);
}

void RecordingHost::CopyImageToClipboard(const std::string& data) {
    Json::Value args;
    args["data"] = data;
    Record("CopyImageToClipboard", args);
}

void RecordingHost::RenderJsCallback(const std::string& mallcsid, int webindex,
                                     const std::string& callId, const std::string& data) {
    Json::Value args;
    args["mallcsid"] = mallcsid;
    args["webindex"] = webindex;
    args["callId"] = callId;
    args["data"] = data;
    Record("RenderJsCallback", args);
}

void RecordingHost::WorkerJsCallback(const std::string& mallcsid, int webindex,
                                     const std::string& callbackid, const std::string& data) {
    Json::Value args;
    args["mallcsid"] = mallcsid;
    args["webindex"] = webindex;
    args["callbackid"] = callbackid;
    args["data"] = data;
    Record("WorkerJsCallback", args);
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
    if (request) AddPending({"ShowEasyWnd", PageIdentityOf(*request), done, {}});
    Record("ShowEasyWnd", args);
}

void RecordingHost::UpdateShielding(const mox_h5_module_data* request,
                                    const std::string& currentUid, const Json::Value& params) {
    Json::Value args;
    args["request"] = DescribeRequest(request);
    args["currentUid"] = currentUid;
    args["params"] = params;
    Record("UpdateShielding", args);
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
