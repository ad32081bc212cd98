// Interfaces the host implements and installs in MoxModuleManager.
//
// MOXH5 does almost nothing visible by itself: it asks the host through these.
// The library never creates, owns or destroys them; it keeps plain pointers
// and checks each for null before use.
//
// Lifetimes: install them before Create and the first Execute, keep them alive
// and unchanged while calls can run.
//
// Threads: operations are called on the thread that calls
// MoxModuleManager::Execute, except RenderJsCallback and WorkerJsCallback,
// which are also called on whatever thread completes asynchronous work (the
// thread on which the host calls callBackToWebPage or a completion function).
//
// Strings are UTF-8 unless the type is std::wstring. `request` is the record
// of the script call being served; it is valid only during the call.
#pragma once

#include <json/value.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "moxh5/easy_wnd_param.h"
#include "moxh5/page_callback.h"
#include "moxh5/records.h"

// Completion handed to ShowCommonTip: call it once with the outcome and the
// answer for the page (delivered through the unified callback). Safe to call
// from any thread, after the call that started the tip has returned.
using MoxTipCompletion = std::function<bool(bool success, const Json::Value& answer)>;

// Toast kinds for ShowToast.
enum MoxToastKind : int {
    MOX_TOAST_SUCCESS = 1,
    MOX_TOAST_FAILURE = 2,
    MOX_TOAST_THIRD = 3,
};

// The host's action interface. Operations return whether the host accepted
// the request, unless noted.
class IH5ActionImplCallBack {
public:
    virtual ~IH5ActionImplCallBack() = default;

    // Fills `result` with the version answer of the plug-in `pluginId`.
    virtual bool GetPluginVersion(const std::string& pluginId, Json::Value& result) = 0;
    // Performs a render page's network request; the host answers the page.
    virtual bool RequestFromRenderPage(const mox_h5_module_data* request,
                                       const Json::Value& payload, int webindex,
                                       const std::string& callbackid) = 0;
    virtual bool SendSocketMessage(const mox_h5_module_data* request, const std::string& uid,
                                   const Json::Value& params) = 0;
    virtual bool OpenWaitHandleOrder(const std::string& paramsJson) = 0;
    virtual bool OpenGoodsManage(const std::string& paramsJson) = 0;
    virtual bool PageChange(const std::string& page, const std::string& paramsJson) = 0;
    virtual bool SessionExpired(const mox_h5_module_data* request) = 0;
    virtual bool SetAllPasteboard(int webindex) = 0;
    virtual bool SendSocketCommand(const mox_h5_module_data* request, const Json::Value& payload,
                                   int64_t requestId) = 0;
    virtual bool LocateMessage(const mox_h5_module_data* request, const Json::Value& params) = 0;
    virtual bool ViewPicture(const mox_h5_module_data* request, const std::string& url,
                             const std::string& uid, const std::string& msgId) = 0;
    virtual bool StorePicture(const std::string& url, const char* workerid) = 0;
    virtual bool ViewPictureList(const mox_h5_module_data* request, int startIndex,
                                 const std::vector<std::string>& urls) = 0;
    virtual bool BatchDownloadPictures(const mox_h5_module_data* request, const std::string& url,
                                       const std::string& uid, const std::string& msgId) = 0;
    virtual bool UpdateQuickReply(const mox_h5_module_data* request) = 0;
    virtual bool ExportQuickReply(const mox_h5_module_data* request, const char* workerid) = 0;
    virtual bool ImportQuickReply(const mox_h5_module_data* request) = 0;
    virtual bool DownQuickReplyModule(const char* workerid) = 0;
    virtual bool BusinessReport(const mox_h5_module_data* request) = 0;
    virtual bool SendVideoShow() = 0;
    virtual bool SendAddressMsg(const mox_h5_module_data* request, const Json::Value& params) = 0;
    virtual bool SendFaseReply(const mox_h5_module_data* request, std::string reply) = 0;
    virtual bool SendRichContent(const mox_h5_module_data* request, const Json::Value& params) = 0;
    virtual bool ShareGoods(const std::string& shareUrl, const std::wstring& goodsName) = 0;
    // The three queries answer the page themselves, under the page's "callID".
    virtual bool GetMallInfo(const mox_h5_module_data* request, int webindex, int callId) = 0;
    virtual bool GetTesselActions(const mox_h5_module_data* request, int webindex, int callId) = 0;
    virtual bool GetCurrentCustomerInfo(const mox_h5_module_data* request, int webindex,
                                        int callId) = 0;
    // `params` holds "title", "url", "width" and "height".
    virtual bool OpenWindow(const Json::Value& params, const mox_h5_module_data* request) = 0;
    // `reserved` is always 0.
    virtual bool WorkerOnLoad(const mox_h5_module_data* request, std::string pageName,
                              uint32_t reserved) = 0;
    virtual bool UpdateMsg(const Json::Value& payload, const mox_h5_module_data* request) = 0;
    virtual bool LogisticOrderSelect(const Json::Value& payload, const mox_h5_module_data* request,
                                     int webindex, int callId) = 0;

    // Asynchronous file operations: the host keeps `page` and calls
    // `done(page.isWorker, success, page.webindex, page.mallcsid,
    // page.callbackid, page.workerid, answer)` when the work is finished.
    // For SelectFile, SaveFile and DownloadRemoteFile, a successful answer's
    // "data" "path" and "filePath" (a string or an array of strings) name the
    // files handed to the page: the page policy lets pages name them from
    // then on (moxh5/page_policy.h). Page-named paths and URLs arrive here
    // only after the policy accepted them (paths in their normalized form).
    virtual bool SelectFile(const std::string& filter, const MoxPageIdentity& page,
                            MoxPageCallbackFn done) = 0;
    virtual bool DownloadRemoteFile(const std::string& filePath, const std::string& url,
                                    const std::string& cookie, const MoxPageIdentity& page,
                                    MoxPageCallbackFn done) = 0;
    virtual bool UploadFile(const std::string& url, const std::string& cookie,
                            const std::string& filePath, const std::string& signName,
                            const std::string& signValue, const std::string& fileDataName,
                            const MoxPageIdentity& page, MoxPageCallbackFn done) = 0;

    // Shows a toast. `text` points at `length` UTF-8 bytes (not necessarily
    // NUL-terminated); `kind` is a MoxToastKind.
    virtual void ShowToast(int kind, const char* text, size_t length, int durationMs) = 0;
    // Shows a two-button tip; calls `done` once the user answered.
    virtual bool ShowCommonTip(bool isWorker, std::string title, std::string content,
                               std::string leftButtonText, std::string rightButtonText,
                               MoxTipCompletion done) = 0;
    virtual bool SaveFile(const std::string& tempFilePath, const MoxPageIdentity& page,
                          MoxPageCallbackFn done) = 0;

    // HTTP for worker pages. `kind` is always 1 and `extra` always empty; the
    // host answers through `done` with the request's identity.
    virtual bool HttpPost(int kind, const mox_h5_module_data* request, int webindex,
                          const std::string& callbackid, const std::string& extra,
                          MoxPageCallbackFn done, const std::string& url,
                          const std::string& content, const std::string& cookie,
                          const std::vector<std::string>& headers) = 0;
    virtual bool HttpGet(int kind, const mox_h5_module_data* request, int webindex,
                         const std::string& callbackid, const std::string& extra,
                         MoxPageCallbackFn done, const std::string& url, const std::string& content,
                         const std::string& cookie) = 0;
    // `data` is the page's image data text.
    virtual void CopyImageToClipboard(const std::string& data) = 0;

    // Runs a render page's callback `callId` with `data` (JSON text).
    virtual void RenderJsCallback(const std::string& mallcsid, int webindex,
                                  const std::string& callId, const std::string& data) = 0;
    // Runs a worker page's callback `callbackid` with `data` (JSON text).
    virtual void WorkerJsCallback(const std::string& mallcsid, int webindex,
                                  const std::string& callbackid, const std::string& data) = 0;

    // Shows the easy window; answers the page through `done` with the
    // request's identity.
    virtual void ShowEasyWnd(bool isWorker, const mox_h5_module_data* request, int webindex,
                             const std::string& callbackid, MoxPageCallbackFn done,
                             const EasyWndParam& param) = 0;
    virtual void UpdateShielding(const mox_h5_module_data* request, const std::string& currentUid,
                                 const Json::Value& params) = 0;

    // --- Merchant tools, conversations and page reports ---
    // Called on the thread that runs the handler. Each returns whether the
    // host accepted (that result becomes the call's); the host answers the
    // page itself unless the operation is given `done`.

    // Adds the buyer `uid` to the blacklist of the page's session
    // (request->mallcsid).
    virtual bool AddUserToBlackList(const mox_h5_module_data* request, const std::string& uid) = 0;
    // Shows the help-link dialog of the order `orderSequenceNo` (never empty).
    // `from` names where the page was opened from, as the page sent it (may be
    // empty). Asked only for the session that is current in the host.
    virtual bool ShowHelpLinkDlg(const mox_h5_module_data* request, const std::string& from,
                                 const std::string& orderSequenceNo) = 0;
    // Shows the help-buy modal for the goods `goodsInfo` (the page's non-empty
    // object, passed as it came).
    virtual bool ShowHelpBuyModal(const mox_h5_module_data* request,
                                  const Json::Value& goodsInfo) = 0;
    // Opens the small-amount money tool. `operation` is "" (pay a small
    // amount), "gethering" (collect a small amount) or "lookRule" (show the
    // rules). `orderGoodsList` is the page's non-empty array for the first
    // two, null for "lookRule". Paying and collecting are asked only while the
    // switch "func_little_money_pay" is on.
    virtual bool OpenLittleMoney(const mox_h5_module_data* request, const std::string& operation,
                                 const Json::Value& orderGoodsList) = 0;
    // The host's own deep-link prefix: a custom scheme, a host and a slash
    // ("<scheme>://<host>/"). Pages' "openexternalclient://" links are
    // rewritten to it. Empty: the host takes no such links.
    virtual std::string GetClientLinkPrefix() = 0;
    // Opens the client's own deep link `link`: GetClientLinkPrefix() and the
    // rest of the page's link, followed by "&mallId=" and the mall id of the
    // page's session. `targetUrlType` and `msgId` are the page's
    // "targetUrlType" (0 when absent) and "msg_id" (may be empty).
    virtual bool OpenClientLink(const mox_h5_module_data* request, const std::string& link,
                                int targetUrlType, const std::string& msgId) = 0;
    // Shares the goods page `goodsUrl` (never empty).
    virtual bool ShareGoodsUrl(const mox_h5_module_data* request, const std::string& goodsUrl) = 0;
    // Downloads `downloadUrl` (never empty) for the page's account, saving it
    // as `fileName` (empty: the host picks a name).
    virtual bool DownloadFile(const mox_h5_module_data* request, const std::string& downloadUrl,
                              const std::string& fileName) = 0;
    // Opens a conversation with the buyer of the order `orderSn` (never empty)
    // of the mall `mallId` (empty: the page's own mall). Answers the page later
    // through `done` with `page`, once the conversation is open or has failed.
    virtual bool OpenNewConversation(const mox_h5_module_data* request, const std::string& orderSn,
                                     const std::string& mallId, const MoxPageIdentity& page,
                                     MoxPageCallbackFn done) = 0;
    // The page's count of unread urgent messages (0 or more), for the host's
    // badges.
    virtual bool UpdateUnreadMessageCount(const mox_h5_module_data* request,
                                          int unreadUrgentMsgCount) = 0;
    // The merchant page has finished loading.
    virtual bool MerchantLoadFinished(const mox_h5_module_data* request) = 0;
    // A page's HTTP request failed; `response` is what the page got (any JSON,
    // never null).
    virtual bool ReportHttpError(const mox_h5_module_data* request,
                                 const Json::Value& response) = 0;
    // Sets the window key `key` of the group `group` to `value` (for example
    // "Guide" / "ShowRobotLearnGuide": whether the robot-learning guide shows).
    virtual bool UpdateWindowsKey(const mox_h5_module_data* request, const std::string& group,
                                  const std::string& key, bool value) = 0;
    // Reminds the merchant of work orders; `params` is the page's object as it
    // came.
    virtual bool RemindWorkOrder(const mox_h5_module_data* request, const Json::Value& params) = 0;
};

// The host's account and session service.
class IUserCenter {
public:
    virtual ~IUserCenter() = default;

    // Mall (shop) id of the session `mallcsid`.
    virtual std::string GetMallId(const std::string& mallcsid) = 0;
    // Customer-service account id of the session `mallcsid`.
    virtual std::string GetCsId(const std::string& mallcsid) = 0;
    // mallcsid of the session that is current in the host.
    virtual std::string GetCurrentMallCsId() = 0;
    // Buyer whose conversation is current in the session `mallcsid`.
    virtual std::string GetCurrentUid(const std::string& mallcsid) = 0;
};

// The host's monitor of business HTTP traffic. MOXH5 only keeps it and hands
// it back (MoxModuleManager::GetHttpBizMonitor); it calls none of its
// operations.
class IHttpBusinessMonitorCallBack {
public:
    virtual ~IHttpBusinessMonitorCallBack() = default;
};
