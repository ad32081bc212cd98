#include "core/detail/c_host_adapter.h"

#include <charconv>
#include <type_traits>
#include <utility>

#include "core/detail/json_text.h"
#include "core/detail/pending_work.h"
#include "moxh5/platform.h"

namespace moxh5::detail {
namespace {

// An operation's arguments are written as JSON text straight from the C++
// values, without building a JSON value first: this is most of the cost of an
// operation call.
void Put(std::string& out, bool value) { out += value ? "true" : "false"; }
template <typename Integer,
          std::enable_if_t<std::is_integral_v<Integer> && !std::is_same_v<Integer, bool>, int> = 0>
void Put(std::string& out, Integer value) {
    char digits[24];
    out.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
}
void Put(std::string& out, const std::string& value) { AppendJsonString(value, out); }
void Put(std::string& out, const Json::Value& value) { AppendJson(value, out); }
void Put(std::string& out, const ArgsText& value) { out += value.text; }
// A C string would pass as bool: Text() says what a null pointer means.
void Put(std::string& out, const char* value) = delete;

inline void AddArgs(std::string&) {}
template <typename Value, typename... Rest>
void AddArgs(std::string& out, const char* name, const Value& value, const Rest&... rest) {
    if (out.size() > 1) out += ',';
    AppendJsonString(name, out);
    out += ':';
    Put(out, value);
    AddArgs(out, rest...);
}

// An argument object from name/value pairs.
template <typename... Pairs>
ArgsText Args(const Pairs&... pairs) {
    ArgsText args;
    args.text.reserve(256);
    args.text = "{";
    AddArgs(args.text, pairs...);
    args.text += '}';
    return args;
}

// A C string as JSON (null for a null pointer).
Json::Value Text(const char* text) { return text ? Json::Value(text) : Json::Value(); }

Json::Value Strings(const std::vector<std::string>& items) {
    Json::Value list(Json::arrayValue);
    for (const std::string& item : items) list.append(item);
    return list;
}

ArgsText DescribePage(const MoxPageIdentity& page) {
    return Args("isWorker", page.isWorker, "webindex", page.webindex, "mallcsid", page.mallcsid,
                "callbackid", page.callbackid, "workerid", page.workerid);
}

ArgsText DescribeRequest(const mox_h5_module_data* request) {
    if (!request) return ArgsText{"null"};
    return Args("mallcsid", request->mallcsid, "payload", request->payload, "isWorker",
                request->isWorker, "webindex", request->webindex, "callbackid", request->callbackid,
                "workerid", Text(request->workerid));
}

}  // namespace

MoxMethodFilter MethodFilterOf(const moxh5_host_table& table) {
    if (!table.method_allowed) return MoxMethodFilter();
    return [allowed = table.method_allowed, user = table.user](
               const MoxCallingPage& page, std::string_view module, std::string_view method) {
        const ArgsText pageText =
            Args("isWorker", page.isWorker, "webindex", page.webindex, "mallcsid",
                 std::string(page.mallcsid), "workerid", std::string(page.workerid));
        return allowed(user, pageText.text.c_str(), std::string(module).c_str(),
                       std::string(method).c_str()) != 0;
    };
}

bool CHostAdapter::Switch(const std::string& key, const std::string& mallcsid,
                          const MoxConfigValue& value) const {
    if (!m_table.config_switch) return false;
    const Json::Value defaultValue = std::visit(
        [](const auto& v) {
            using T = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<T, long>)
                return Json::Value(Json::Int64(v));
            else
                return Json::Value(v);
        },
        value);
    const std::string text = CompactJson(defaultValue);
    return m_table.config_switch(m_table.user, key.c_str(), mallcsid.c_str(), text.c_str()) != 0;
}

moxh5_reply_slot CHostAdapter::Ask(const char* op, const ArgsText& args, moxh5_token* token) {
    moxh5_reply_slot reply;
    if (m_table.operation) {
        m_table.operation(m_table.user, op, args.text.c_str(), token, &reply);
    }
    return reply;
}

bool CHostAdapter::Accepted(const char* op, const ArgsText& args) {
    const Json::Value reply = Ask(op, args).value;
    return reply.isBool() && reply.asBool();
}

bool CHostAdapter::AcceptedLater(const char* op, const ArgsText& args) {
    const uint64_t ticket = WorkBeingHandedOver();
    if (!ticket || !m_table.operation || !HoldWork(ticket, m_host)) return false;
    const Json::Value reply = Ask(op, args, TokenOf(ticket)).value;
    return reply.isBool() && reply.asBool();
}

std::string CHostAdapter::UserValue(const char* name, const std::string& mallcsid) {
    moxh5_reply_slot reply;
    if (m_table.user_value) m_table.user_value(m_table.user, name, mallcsid.c_str(), &reply);
    return reply.value.isString() ? reply.value.asString() : std::string();
}

void CHostAdapter::AnswerPage(int isWorker, const std::string& mallcsid, int webindex,
                              const std::string& callbackId, const std::string& data) {
    if (!m_table.page_answer) return;
    m_table.page_answer(m_table.user, isWorker, mallcsid.c_str(), webindex, callbackId.c_str(),
                        data.c_str());
}

bool CHostAdapter::GetPluginVersion(const std::string& pluginId, Json::Value& result) {
    moxh5_reply_slot reply = Ask("GetPluginVersion", Args("pluginId", pluginId));
    if (!reply.given || (reply.value.isBool() && !reply.value.asBool())) return false;
    result = std::move(reply.value);
    return true;
}

bool CHostAdapter::RequestFromRenderPage(const mox_h5_module_data* request,
                                         const Json::Value& payload, int webindex,
                                         const std::string& callbackid) {
    return Accepted("RequestFromRenderPage",
                    Args("request", DescribeRequest(request), "payload", payload, "webindex",
                         webindex, "callbackid", callbackid));
}

bool CHostAdapter::SendSocketMessage(const mox_h5_module_data* request, const std::string& uid,
                                     const Json::Value& params) {
    return Accepted("SendSocketMessage",
                    Args("request", DescribeRequest(request), "uid", uid, "params", params));
}

bool CHostAdapter::OpenWaitHandleOrder(const std::string& paramsJson) {
    return Accepted("OpenWaitHandleOrder", Args("paramsJson", paramsJson));
}

bool CHostAdapter::OpenGoodsManage(const std::string& paramsJson) {
    return Accepted("OpenGoodsManage", Args("paramsJson", paramsJson));
}

bool CHostAdapter::PageChange(const std::string& page, const std::string& paramsJson) {
    return Accepted("PageChange", Args("page", page, "paramsJson", paramsJson));
}

bool CHostAdapter::SessionExpired(const mox_h5_module_data* request) {
    return Accepted("SessionExpired", Args("request", DescribeRequest(request)));
}

bool CHostAdapter::SetAllPasteboard(int webindex) {
    return Accepted("SetAllPasteboard", Args("webindex", webindex));
}

bool CHostAdapter::SendSocketCommand(const mox_h5_module_data* request, const Json::Value& payload,
                                     int64_t requestId) {
    return Accepted("SendSocketCommand", Args("request", DescribeRequest(request), "payload",
                                              payload, "requestId", Json::Int64(requestId)));
}

bool CHostAdapter::LocateMessage(const mox_h5_module_data* request, const Json::Value& params) {
    return Accepted("LocateMessage", Args("request", DescribeRequest(request), "params", params));
}

bool CHostAdapter::ViewPicture(const mox_h5_module_data* request, const std::string& url,
                               const std::string& uid, const std::string& msgId) {
    return Accepted("ViewPicture", Args("request", DescribeRequest(request), "url", url, "uid", uid,
                                        "msgId", msgId));
}

bool CHostAdapter::StorePicture(const std::string& url, const char* workerid) {
    return Accepted("StorePicture", Args("url", url, "workerid", Text(workerid)));
}

bool CHostAdapter::ViewPictureList(const mox_h5_module_data* request, int startIndex,
                                   const std::vector<std::string>& urls) {
    return Accepted("ViewPictureList", Args("request", DescribeRequest(request), "startIndex",
                                            startIndex, "urls", Strings(urls)));
}

bool CHostAdapter::BatchDownloadPictures(const mox_h5_module_data* request, const std::string& url,
                                         const std::string& uid, const std::string& msgId) {
    return Accepted("BatchDownloadPictures", Args("request", DescribeRequest(request), "url", url,
                                                  "uid", uid, "msgId", msgId));
}

bool CHostAdapter::UpdateQuickReply(const mox_h5_module_data* request) {
    return Accepted("UpdateQuickReply", Args("request", DescribeRequest(request)));
}

bool CHostAdapter::ExportQuickReply(const mox_h5_module_data* request, const char* workerid) {
    return Accepted("ExportQuickReply",
                    Args("request", DescribeRequest(request), "workerid", Text(workerid)));
}

bool CHostAdapter::ImportQuickReply(const mox_h5_module_data* request) {
    return Accepted("ImportQuickReply", Args("request", DescribeRequest(request)));
}

bool CHostAdapter::DownQuickReplyModule(const char* workerid) {
    return Accepted("DownQuickReplyModule", Args("workerid", Text(workerid)));
}

bool CHostAdapter::BusinessReport(const mox_h5_module_data* request) {
    return Accepted("BusinessReport", Args("request", DescribeRequest(request)));
}

bool CHostAdapter::SendVideoShow() { return Accepted("SendVideoShow", Args()); }

bool CHostAdapter::SendAddressMsg(const mox_h5_module_data* request, const Json::Value& params) {
    return Accepted("SendAddressMsg", Args("request", DescribeRequest(request), "params", params));
}

bool CHostAdapter::SendFaseReply(const mox_h5_module_data* request, std::string reply) {
    return Accepted("SendFaseReply", Args("request", DescribeRequest(request), "reply", reply));
}

bool CHostAdapter::SendRichContent(const mox_h5_module_data* request, const Json::Value& params) {
    return Accepted("SendRichContent", Args("request", DescribeRequest(request), "params", params));
}

bool CHostAdapter::GetMallInfo(const mox_h5_module_data* request, int webindex, int callId) {
    return Accepted("GetMallInfo", Args("request", DescribeRequest(request), "webindex", webindex,
                                        "callId", callId));
}

bool CHostAdapter::GetTesselActions(const mox_h5_module_data* request, int webindex, int callId) {
    return Accepted("GetTesselActions", Args("request", DescribeRequest(request), "webindex",
                                             webindex, "callId", callId));
}

bool CHostAdapter::GetCurrentCustomerInfo(const mox_h5_module_data* request, int webindex,
                                          int callId) {
    return Accepted("GetCurrentCustomerInfo", Args("request", DescribeRequest(request), "webindex",
                                                   webindex, "callId", callId));
}

bool CHostAdapter::OpenWindow(const Json::Value& params, const mox_h5_module_data* request) {
    return Accepted("OpenWindow", Args("params", params, "request", DescribeRequest(request)));
}

bool CHostAdapter::WorkerOnLoad(const mox_h5_module_data* request, std::string pageName,
                                uint32_t reserved) {
    return Accepted("WorkerOnLoad", Args("request", DescribeRequest(request), "pageName", pageName,
                                         "reserved", reserved));
}

bool CHostAdapter::UpdateMsg(const Json::Value& payload, const mox_h5_module_data* request) {
    return Accepted("UpdateMsg", Args("payload", payload, "request", DescribeRequest(request)));
}

bool CHostAdapter::LogisticOrderSelect(const Json::Value& payload,
                                       const mox_h5_module_data* request, int webindex,
                                       int callId) {
    return Accepted("LogisticOrderSelect",
                    Args("payload", payload, "request", DescribeRequest(request), "webindex",
                         webindex, "callId", callId));
}

bool CHostAdapter::AddUserToBlackList(const mox_h5_module_data* request, const std::string& uid) {
    return Accepted("AddUserToBlackList", Args("request", DescribeRequest(request), "uid", uid));
}

bool CHostAdapter::ShowHelpLinkDlg(const mox_h5_module_data* request, const std::string& from,
                                   const std::string& orderSequenceNo) {
    return Accepted("ShowHelpLinkDlg", Args("request", DescribeRequest(request), "from", from,
                                            "orderSequenceNo", orderSequenceNo));
}

bool CHostAdapter::ShowHelpBuyModal(const mox_h5_module_data* request,
                                    const Json::Value& goodsInfo) {
    return Accepted("ShowHelpBuyModal",
                    Args("request", DescribeRequest(request), "goodsInfo", goodsInfo));
}

bool CHostAdapter::OpenLittleMoney(const mox_h5_module_data* request, const std::string& operation,
                                   const Json::Value& orderGoodsList) {
    return Accepted("OpenLittleMoney", Args("request", DescribeRequest(request), "operation",
                                            operation, "orderGoodsList", orderGoodsList));
}

bool CHostAdapter::OpenClientLink(const mox_h5_module_data* request, const std::string& link,
                                  int targetUrlType, const std::string& msgId) {
    return Accepted("OpenClientLink", Args("request", DescribeRequest(request), "link", link,
                                           "targetUrlType", targetUrlType, "msgId", msgId));
}

bool CHostAdapter::ShareGoodsUrl(const mox_h5_module_data* request, const std::string& goodsUrl) {
    return Accepted("ShareGoodsUrl",
                    Args("request", DescribeRequest(request), "goodsUrl", goodsUrl));
}

bool CHostAdapter::DownloadFile(const mox_h5_module_data* request, const std::string& downloadUrl,
                                const std::string& fileName) {
    return Accepted("DownloadFile", Args("request", DescribeRequest(request), "downloadUrl",
                                         downloadUrl, "fileName", fileName));
}

bool CHostAdapter::UpdateUnreadMessageCount(const mox_h5_module_data* request,
                                            int unreadUrgentMsgCount) {
    return Accepted("UpdateUnreadMessageCount", Args("request", DescribeRequest(request),
                                                     "unreadUrgentMsgCount", unreadUrgentMsgCount));
}

bool CHostAdapter::MerchantLoadFinished(const mox_h5_module_data* request) {
    return Accepted("MerchantLoadFinished", Args("request", DescribeRequest(request)));
}

bool CHostAdapter::ReportHttpError(const mox_h5_module_data* request, const Json::Value& response) {
    return Accepted("ReportHttpError",
                    Args("request", DescribeRequest(request), "response", response));
}

bool CHostAdapter::UpdateWindowsKey(const mox_h5_module_data* request, const std::string& group,
                                    const std::string& key, bool value) {
    return Accepted("UpdateWindowsKey", Args("request", DescribeRequest(request), "group", group,
                                             "key", key, "value", value));
}

bool CHostAdapter::RemindWorkOrder(const mox_h5_module_data* request, const Json::Value& params) {
    return Accepted("RemindWorkOrder", Args("request", DescribeRequest(request), "params", params));
}

bool CHostAdapter::ShareGoods(const std::string& shareUrl, const std::wstring& goodsName) {
    return Accepted("ShareGoods", Args("shareUrl", shareUrl, "goodsName",
                                       moxh5::platform::WideToUtf8(goodsName)));
}

bool CHostAdapter::SelectFile(const std::string& filter, const MoxPageIdentity& page,
                              MoxPageCallbackFn /*done*/) {
    return AcceptedLater("SelectFile", Args("filter", filter, "page", DescribePage(page)));
}

bool CHostAdapter::DownloadRemoteFile(const std::string& filePath, const std::string& url,
                                      const std::string& cookie, const MoxPageIdentity& page,
                                      MoxPageCallbackFn /*done*/) {
    return AcceptedLater(
        "DownloadRemoteFile",
        Args("filePath", filePath, "url", url, "cookie", cookie, "page", DescribePage(page)));
}

bool CHostAdapter::UploadFile(const std::string& url, const std::string& cookie,
                              const std::string& filePath, const std::string& signName,
                              const std::string& signValue, const std::string& fileDataName,
                              const MoxPageIdentity& page, MoxPageCallbackFn /*done*/) {
    return AcceptedLater(
        "UploadFile",
        Args("url", url, "cookie", cookie, "filePath", filePath, "signName", signName, "signValue",
             signValue, "fileDataName", fileDataName, "page", DescribePage(page)));
}

void CHostAdapter::ShowToast(int kind, const char* text, size_t length, int durationMs) {
    Ask("ShowToast", Args("kind", kind, "text", text ? std::string(text, length) : std::string(),
                          "length", static_cast<Json::UInt64>(length), "durationMs", durationMs));
}

bool CHostAdapter::ShowCommonTip(bool isWorker, std::string title, std::string content,
                                 std::string leftButtonText, std::string rightButtonText,
                                 MoxTipCompletion /*done*/) {
    return AcceptedLater("ShowCommonTip",
                         Args("isWorker", isWorker, "title", title, "content", content,
                              "leftButtonText", leftButtonText, "rightButtonText", rightButtonText));
}

bool CHostAdapter::SaveFile(const std::string& tempFilePath, const MoxPageIdentity& page,
                            MoxPageCallbackFn /*done*/) {
    return AcceptedLater("SaveFile", Args("tempFilePath", tempFilePath, "page", DescribePage(page)));
}

bool CHostAdapter::HttpPost(int kind, const mox_h5_module_data* request, int webindex,
                            const std::string& callbackid, const std::string& extra,
                            MoxPageCallbackFn /*done*/, const std::string& url,
                            const std::string& content, const std::string& cookie,
                            const std::vector<std::string>& headers) {
    if (!request) return false;
    return AcceptedLater("HttpPost",
                         Args("kind", kind, "request", DescribeRequest(request), "webindex",
                              webindex, "callbackid", callbackid, "extra", extra, "url", url,
                              "content", content, "cookie", cookie, "headers", Strings(headers)));
}

bool CHostAdapter::HttpGet(int kind, const mox_h5_module_data* request, int webindex,
                           const std::string& callbackid, const std::string& extra,
                           MoxPageCallbackFn /*done*/, const std::string& url,
                           const std::string& content, const std::string& cookie) {
    if (!request) return false;
    return AcceptedLater(
        "HttpGet",
        Args("kind", kind, "request", DescribeRequest(request), "webindex", webindex, "callbackid",
             callbackid, "extra", extra, "url", url, "content", content, "cookie", cookie));
}

void CHostAdapter::CopyImageToClipboard(const std::string& data) {
    Ask("CopyImageToClipboard", Args("data", data));
}

void CHostAdapter::RenderJsCallback(const std::string& mallcsid, int webindex,
                                    const std::string& callId, const std::string& data) {
    AnswerPage(0, mallcsid, webindex, callId, data);
}

void CHostAdapter::WorkerJsCallback(const std::string& mallcsid, int webindex,
                                    const std::string& callbackid, const std::string& data) {
    AnswerPage(1, mallcsid, webindex, callbackid, data);
}

void CHostAdapter::ShowEasyWnd(bool isWorker, const mox_h5_module_data* request, int webindex,
                               const std::string& callbackid, MoxPageCallbackFn /*done*/,
                               const EasyWndParam& param) {
    if (!request) return;
    const ArgsText p =
        Args("title", param.title, "content", param.content, "scene", param.scene, "frequency",
             Args("interval", param.frequency.interval, "dimensions", param.frequency.dimensions),
             "left", Args("text", param.left.text, "action", param.left.action), "right",
             Args("text", param.right.text, "action", param.right.action));
    const ArgsText args = Args("isWorker", isWorker, "request", DescribeRequest(request),
                               "webindex", webindex, "callbackid", callbackid, "param", p);
    // The window always answers later: the token stays with the host; with no
    // host to take it, the page hears at once that there is no window.
    const uint64_t ticket = WorkBeingHandedOver();
    if (!m_table.operation || !HoldWork(ticket, m_host)) {
        AnswerWork(ticket, false, Json::Value());
        return;
    }
    Ask("ShowEasyWnd", args, TokenOf(ticket));
}

void CHostAdapter::UpdateShielding(const mox_h5_module_data* request, const std::string& currentUid,
                                   const Json::Value& params) {
    Ask("UpdateShielding",
        Args("request", DescribeRequest(request), "currentUid", currentUid, "params", params));
}

std::string CHostAdapter::GetClientLinkPrefix() {
    const Json::Value reply = Ask("GetClientLinkPrefix", Args()).value;
    return reply.isString() ? reply.asString() : std::string();
}

bool CHostAdapter::OpenNewConversation(const mox_h5_module_data* request,
                                       const std::string& orderSn, const std::string& mallId,
                                       const MoxPageIdentity& page, MoxPageCallbackFn /*done*/) {
    return AcceptedLater("OpenNewConversation",
                         Args("request", DescribeRequest(request), "orderSn", orderSn, "mallId",
                              mallId, "page", DescribePage(page)));
}

std::string CHostAdapter::GetMallId(const std::string& mallcsid) {
    return UserValue("GetMallId", mallcsid);
}
std::string CHostAdapter::GetCsId(const std::string& mallcsid) {
    return UserValue("GetCsId", mallcsid);
}
std::string CHostAdapter::GetCurrentUid(const std::string& mallcsid) {
    return UserValue("GetCurrentUid", mallcsid);
}
std::string CHostAdapter::GetCurrentMallCsId() { return UserValue("GetCurrentMallCsId", ""); }

int CLogSinkAdapter::MaxPriority() const {
    return m_table.log_priority > 0 ? m_table.log_priority : LOG_PRIORITY_WARNING;
}

void CLogSinkAdapter::Write(const MoxLogRecord& record) {
    m_table.log(m_table.user, record.priority, record.file.c_str(), record.line,
                record.function.c_str(), record.text.c_str());
}

void CReportSinkAdapter::Send(const WorkbenchReportRecord& report) {
    Json::Value tags(Json::objectValue);
    Json::Value counters(Json::objectValue);
    for (const auto& [key, tag] : report.tags) tags[key] = tag;
    for (const auto& [key, counter] : report.counters) counters[key] = Json::Int64(counter);
    const ArgsText text = Args("id", report.id, "tags", tags, "counters", counters);
    m_table.report(m_table.user, text.text.c_str());
}

}  // namespace moxh5::detail
