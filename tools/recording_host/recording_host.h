// A scripted host: implements the action interface and the user centre,
// records every call with its arguments (as JSON, in call order), answers with
// scripted results, and keeps the completion functions it is handed (when it
// accepts the work) so that a test can finish asynchronous work later, on any
// thread. The tests use it, and so does the transcript player (moxh5-play).
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

    // --- IH5ActionImplCallBack ---
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

    // --- IUserCenter ---
    std::string GetMallId(const std::string& mallcsid) override;
    std::string GetCsId(const std::string& mallcsid) override;
    std::string GetCurrentMallCsId() override;
    std::string GetCurrentUid(const std::string& mallcsid) override;

private:
    bool Record(const std::string& op, Json::Value args);
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

// The request fields a host call receives, as JSON, for assertions.
Json::Value DescribeRequest(const mox_h5_module_data* request);

}  // namespace moxh5::test
