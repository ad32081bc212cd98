// The C++ host interfaces served by a C host table (moxh5/moxh5_c.h): every
// operation becomes one call of the table's generic `operation` callback with
// its name and its arguments as JSON text; page answers, user-centre values,
// switches, log lines and reports go to their own callbacks.
//
// Threads: as the interfaces it implements; the adapter keeps no state but the
// table, and the token registry is locked.
#pragma once

#include <json/value.h>

#include <cstdint>
#include <memory>
#include <string>

#include "MoxLog.h"
#include "WorkbenchReport.h"
#include "moxh5/host_interfaces.h"
#include "moxh5/moxh5_c.h"
#include "moxh5/page_policy.h"

// What a callback answered through moxh5_reply.
struct moxh5_reply_slot {
    bool given = false;
    Json::Value value;
};

namespace moxh5::detail {

// An operation's arguments: a JSON object's text.
struct ArgsText {
    std::string text;
};

// A token is the number of the pending work it stands for (never a pointer
// the library dereferences), so a stale or repeated completion finds nothing.
inline moxh5_token* TokenOf(uint64_t ticket) {
    return reinterpret_cast<moxh5_token*>(static_cast<uintptr_t>(ticket));
}
inline uint64_t TicketOf(const moxh5_token* token) {
    return reinterpret_cast<uintptr_t>(token);
}

// The table's method_allowed as a page policy's method filter; empty when the
// table has none. It keeps copies of what it needs, not the table.
MoxMethodFilter MethodFilterOf(const moxh5_host_table& table);

class CHostAdapter final : public IH5ActionImplCallBack, public IUserCenter {
public:
    // `host` is the handle's number, which the host's tokens are held under.
    CHostAdapter(const moxh5_host_table& table, uint64_t host) : m_table(table), m_host(host) {}

    const moxh5_host_table& Table() const { return m_table; }
    bool HasActionInterface() const { return m_table.operation || m_table.page_answer; }
    bool HasUserCenter() const { return m_table.user_value != nullptr; }
    // The switch `key`, asked of the table's config_switch.
    bool Switch(const std::string& key, const std::string& mallcsid,
                const MoxConfigValue& value) const;

    bool GetPluginVersion(const std::string& pluginId, Json::Value& result) override;
    bool RequestFromRenderPage(const mox_h5_module_data* request, const Json::Value& payload,
                               int webindex, const std::string& callbackid) override;
    bool SendSocketMessage(const mox_h5_module_data* request, const std::string& uid,
                           const Json::Value& params) override;
    bool OpenWaitHandleOrder(const std::string& paramsJson) override;
    bool OpenGoodsManage(const std::string& paramsJson) override;
    bool PageChange(const std::string& page, const std::string& paramsJson) override;
    bool SessionExpired(const mox_h5_module_data* request) override;
    bool SetAllPasteboard(int webindex) override;
    bool SendSocketCommand(const mox_h5_module_data* request, const Json::Value& payload,
                           int64_t requestId) override;
    bool LocateMessage(const mox_h5_module_data* request, const Json::Value& params) override;
    bool ViewPicture(const mox_h5_module_data* request, const std::string& url,
                     const std::string& uid, const std::string& msgId) override;
    bool StorePicture(const std::string& url, const char* workerid) override;
    bool ViewPictureList(const mox_h5_module_data* request, int startIndex,
                         const std::vector<std::string>& urls) override;
    bool BatchDownloadPictures(const mox_h5_module_data* request, const std::string& url,
                               const std::string& uid, const std::string& msgId) override;
    bool UpdateQuickReply(const mox_h5_module_data* request) override;
    bool ExportQuickReply(const mox_h5_module_data* request, const char* workerid) override;
    bool ImportQuickReply(const mox_h5_module_data* request) override;
    bool DownQuickReplyModule(const char* workerid) override;
    bool BusinessReport(const mox_h5_module_data* request) override;
    bool SendVideoShow() override;
    bool SendAddressMsg(const mox_h5_module_data* request, const Json::Value& params) override;
    bool SendFaseReply(const mox_h5_module_data* request, std::string reply) override;
    bool SendRichContent(const mox_h5_module_data* request, const Json::Value& params) override;
    bool ShareGoods(const std::string& shareUrl, const std::wstring& goodsName) override;
    bool GetMallInfo(const mox_h5_module_data* request, int webindex, int callId) override;
    bool GetTesselActions(const mox_h5_module_data* request, int webindex, int callId) override;
    bool GetCurrentCustomerInfo(const mox_h5_module_data* request, int webindex,
                                int callId) override;
    bool OpenWindow(const Json::Value& params, const mox_h5_module_data* request) override;
    bool WorkerOnLoad(const mox_h5_module_data* request, std::string pageName,
                      uint32_t reserved) override;
    bool UpdateMsg(const Json::Value& payload, const mox_h5_module_data* request) override;
    bool LogisticOrderSelect(const Json::Value& payload, const mox_h5_module_data* request,
                             int webindex, int callId) override;
    bool SelectFile(const std::string& filter, const MoxPageIdentity& page,
                    MoxPageCallbackFn done) override;
    bool DownloadRemoteFile(const std::string& filePath, const std::string& url,
                            const std::string& cookie, const MoxPageIdentity& page,
                            MoxPageCallbackFn done) override;
    bool UploadFile(const std::string& url, const std::string& cookie, const std::string& filePath,
                    const std::string& signName, const std::string& signValue,
                    const std::string& fileDataName, const MoxPageIdentity& page,
                    MoxPageCallbackFn done) override;
    void ShowToast(int kind, const char* text, size_t length, int durationMs) override;
    bool ShowCommonTip(bool isWorker, std::string title, std::string content,
                       std::string leftButtonText, std::string rightButtonText,
                       MoxTipCompletion done) override;
    bool SaveFile(const std::string& tempFilePath, const MoxPageIdentity& page,
                  MoxPageCallbackFn done) override;
    bool HttpPost(int kind, const mox_h5_module_data* request, int webindex,
                  const std::string& callbackid, const std::string& extra, MoxPageCallbackFn done,
                  const std::string& url, const std::string& content, const std::string& cookie,
                  const std::vector<std::string>& headers) override;
    bool HttpGet(int kind, const mox_h5_module_data* request, int webindex,
                 const std::string& callbackid, const std::string& extra, MoxPageCallbackFn done,
                 const std::string& url, const std::string& content,
                 const std::string& cookie) override;
    void CopyImageToClipboard(const std::string& data) override;
    void RenderJsCallback(const std::string& mallcsid, int webindex, const std::string& callId,
                          const std::string& data) override;
    void WorkerJsCallback(const std::string& mallcsid, int webindex, const std::string& callbackid,
                          const std::string& data) override;
    void ShowEasyWnd(bool isWorker, const mox_h5_module_data* request, int webindex,
                     const std::string& callbackid, MoxPageCallbackFn done,
                     const EasyWndParam& param) override;
    void UpdateShielding(const mox_h5_module_data* request, const std::string& currentUid,
                         const Json::Value& params) override;
    bool AddUserToBlackList(const mox_h5_module_data* request, const std::string& uid) override;
    bool ShowHelpLinkDlg(const mox_h5_module_data* request, const std::string& from,
                         const std::string& orderSequenceNo) override;
    bool ShowHelpBuyModal(const mox_h5_module_data* request, const Json::Value& goodsInfo) override;
    bool OpenLittleMoney(const mox_h5_module_data* request, const std::string& operation,
                         const Json::Value& orderGoodsList) override;
    std::string GetClientLinkPrefix() override;
    bool OpenClientLink(const mox_h5_module_data* request, const std::string& link,
                        int targetUrlType, const std::string& msgId) override;
    bool ShareGoodsUrl(const mox_h5_module_data* request, const std::string& goodsUrl) override;
    bool DownloadFile(const mox_h5_module_data* request, const std::string& downloadUrl,
                      const std::string& fileName) override;
    bool OpenNewConversation(const mox_h5_module_data* request, const std::string& orderSn,
                             const std::string& mallId, const MoxPageIdentity& page,
                             MoxPageCallbackFn done) override;
    bool UpdateUnreadMessageCount(const mox_h5_module_data* request,
                                  int unreadUrgentMsgCount) override;
    bool MerchantLoadFinished(const mox_h5_module_data* request) override;
    bool ReportHttpError(const mox_h5_module_data* request, const Json::Value& response) override;
    bool UpdateWindowsKey(const mox_h5_module_data* request, const std::string& group,
                          const std::string& key, bool value) override;
    bool RemindWorkOrder(const mox_h5_module_data* request, const Json::Value& params) override;

    std::string GetMallId(const std::string& mallcsid) override;
    std::string GetCsId(const std::string& mallcsid) override;
    std::string GetCurrentMallCsId() override;
    std::string GetCurrentUid(const std::string& mallcsid) override;

private:
    // Asks the host; what it replied.
    moxh5_reply_slot Ask(const char* op, const ArgsText& args, moxh5_token* token = nullptr);
    // An operation that returns whether the host accepted.
    bool Accepted(const char* op, const ArgsText& args);
    // The same for work that finishes later: the work being handed over goes
    // with the call as its token; a refusal withdraws it (in the handler).
    bool AcceptedLater(const char* op, const ArgsText& args);
    std::string UserValue(const char* name, const std::string& mallcsid);
    void AnswerPage(int isWorker, const std::string& mallcsid, int webindex,
                    const std::string& callbackId, const std::string& data);

    moxh5_host_table m_table;
    uint64_t m_host;
};

// The log lines, to the table's log callback.
class CLogSinkAdapter final : public IMoxLogSink {
public:
    explicit CLogSinkAdapter(const moxh5_host_table& table) : m_table(table) {}
    int MaxPriority() const override;
    void Write(const MoxLogRecord& record) override;

private:
    moxh5_host_table m_table;
};

// The business reports, to the table's report callback as JSON.
class CReportSinkAdapter final : public IReportSink {
public:
    explicit CReportSinkAdapter(const moxh5_host_table& table) : m_table(table) {}
    void Send(const WorkbenchReportRecord& report) override;

private:
    moxh5_host_table m_table;
};

}  // namespace moxh5::detail
