// H5ActionDefaults: an action interface in which every operation answers "not
// supported", so that a host overrides only the operations it supports:
//
//   class MyHost : public H5ActionDefaults {
//       void ShowToast(int kind, const char* text, size_t length, int durationMs) override;
//       void RenderJsCallback(...) override;  // to answer render pages
//   };
//
// "Not supported" is, per operation: false for the operations that return
// whether the host accepted (the page's call fails, with the answer its
// handler gives for a refusal; asynchronous work is refused, so `done` is
// never kept) unless noted below; nothing done for those that return
// nothing, as noted below.
// The page answers themselves (RenderJsCallback, WorkerJsCallback) are
// operations too: a host that overrides neither answers no page.
#pragma once

#include <json/value.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "moxh5/host_interfaces.h"

class H5ActionDefaults : public IH5ActionImplCallBack {
public:
    // false; `result` untouched: the page gets no version.
    bool GetPluginVersion(const std::string& /*pluginId*/, Json::Value& /*result*/) override {
        return false;
    }
    bool RequestFromRenderPage(const mox_h5_module_data* /*request*/,
                               const Json::Value& /*payload*/, int /*webindex*/,
                               const std::string& /*callbackid*/) override {
        return false;
    }
    bool SendSocketMessage(const mox_h5_module_data* /*request*/, const std::string& /*uid*/,
                           const Json::Value& /*params*/) override {
        return false;
    }
    bool OpenWaitHandleOrder(const std::string& /*paramsJson*/) override { return false; }
    bool OpenGoodsManage(const std::string& /*paramsJson*/) override { return false; }
    bool PageChange(const std::string& /*page*/, const std::string& /*paramsJson*/) override {
        return false;
    }
    bool SessionExpired(const mox_h5_module_data* /*request*/) override { return false; }
    bool SetAllPasteboard(int /*webindex*/) override { return false; }
    bool SendSocketCommand(const mox_h5_module_data* /*request*/, const Json::Value& /*payload*/,
                           int64_t /*requestId*/) override {
        return false;
    }
    bool LocateMessage(const mox_h5_module_data* /*request*/,
                       const Json::Value& /*params*/) override {
        return false;
    }
    bool ViewPicture(const mox_h5_module_data* /*request*/, const std::string& /*url*/,
                     const std::string& /*uid*/, const std::string& /*msgId*/) override {
        return false;
    }
    bool StorePicture(const std::string& /*url*/, const char* /*workerid*/) override {
        return false;
    }
    bool ViewPictureList(const mox_h5_module_data* /*request*/, int /*startIndex*/,
                         const std::vector<std::string>& /*urls*/) override {
        return false;
    }
    bool BatchDownloadPictures(const mox_h5_module_data* /*request*/, const std::string& /*url*/,
                               const std::string& /*uid*/, const std::string& /*msgId*/) override {
        return false;
    }
    bool UpdateQuickReply(const mox_h5_module_data* /*request*/) override { return false; }
    bool ExportQuickReply(const mox_h5_module_data* /*request*/,
                          const char* /*workerid*/) override {
        return false;
    }
    bool ImportQuickReply(const mox_h5_module_data* /*request*/) override { return false; }
    bool DownQuickReplyModule(const char* /*workerid*/) override { return false; }
    bool BusinessReport(const mox_h5_module_data* /*request*/) override { return false; }
    bool SendVideoShow() override { return false; }
    bool SendAddressMsg(const mox_h5_module_data* /*request*/,
                        const Json::Value& /*params*/) override {
        return false;
    }
    bool SendFaseReply(const mox_h5_module_data* /*request*/, std::string /*reply*/) override {
        return false;
    }
    bool SendRichContent(const mox_h5_module_data* /*request*/,
                         const Json::Value& /*params*/) override {
        return false;
    }
    bool ShareGoods(const std::string& /*shareUrl*/, const std::wstring& /*goodsName*/) override {
        return false;
    }
    bool GetMallInfo(const mox_h5_module_data* /*request*/, int /*webindex*/,
                     int /*callId*/) override {
        return false;
    }
    bool GetTesselActions(const mox_h5_module_data* /*request*/, int /*webindex*/,
                          int /*callId*/) override {
        return false;
    }
    bool GetCurrentCustomerInfo(const mox_h5_module_data* /*request*/, int /*webindex*/,
                                int /*callId*/) override {
        return false;
    }
    bool OpenWindow(const Json::Value& /*params*/, const mox_h5_module_data* /*request*/) override {
        return false;
    }
    bool WorkerOnLoad(const mox_h5_module_data* /*request*/, std::string /*pageName*/,
                      uint32_t /*reserved*/) override {
        return false;
    }
    bool UpdateMsg(const Json::Value& /*payload*/, const mox_h5_module_data* /*request*/) override {
        return false;
    }
    bool LogisticOrderSelect(const Json::Value& /*payload*/, const mox_h5_module_data* /*request*/,
                             int /*webindex*/, int /*callId*/) override {
        return false;
    }
    bool SelectFile(const std::string& /*filter*/, const MoxPageIdentity& /*page*/,
                    MoxPageCallbackFn /*done*/) override {
        return false;
    }
    bool DownloadRemoteFile(const std::string& /*filePath*/, const std::string& /*url*/,
                            const std::string& /*cookie*/, const MoxPageIdentity& /*page*/,
                            MoxPageCallbackFn /*done*/) override {
        return false;
    }
    bool UploadFile(const std::string& /*url*/, const std::string& /*cookie*/,
                    const std::string& /*filePath*/, const std::string& /*signName*/,
                    const std::string& /*signValue*/, const std::string& /*fileDataName*/,
                    const MoxPageIdentity& /*page*/, MoxPageCallbackFn /*done*/) override {
        return false;
    }
    // shows nothing.
    void ShowToast(int /*kind*/, const char* /*text*/, size_t /*length*/,
                   int /*durationMs*/) override {}
    bool ShowCommonTip(bool /*isWorker*/, std::string /*title*/, std::string /*content*/,
                       std::string /*leftButtonText*/, std::string /*rightButtonText*/,
                       MoxTipCompletion /*done*/) override {
        return false;
    }
    bool SaveFile(const std::string& /*tempFilePath*/, const MoxPageIdentity& /*page*/,
                  MoxPageCallbackFn /*done*/) override {
        return false;
    }
    bool HttpPost(int /*kind*/, const mox_h5_module_data* /*request*/, int /*webindex*/,
                  const std::string& /*callbackid*/, const std::string& /*extra*/,
                  MoxPageCallbackFn /*done*/, const std::string& /*url*/,
                  const std::string& /*content*/, const std::string& /*cookie*/,
                  const std::vector<std::string>& /*headers*/) override {
        return false;
    }
    bool HttpGet(int /*kind*/, const mox_h5_module_data* /*request*/, int /*webindex*/,
                 const std::string& /*callbackid*/, const std::string& /*extra*/,
                 MoxPageCallbackFn /*done*/, const std::string& /*url*/,
                 const std::string& /*content*/, const std::string& /*cookie*/) override {
        return false;
    }
    // copies nothing.
    void CopyImageToClipboard(const std::string& /*data*/) override {}
    // render pages hear no answers.
    void RenderJsCallback(const std::string& /*mallcsid*/, int /*webindex*/,
                          const std::string& /*callId*/, const std::string& /*data*/) override {}
    // worker pages hear no answers.
    void WorkerJsCallback(const std::string& /*mallcsid*/, int /*webindex*/,
                          const std::string& /*callbackid*/, const std::string& /*data*/) override {
    }
    // answers the page at once through `done` with success false and
    // "message": "not supported".
    void ShowEasyWnd(bool isWorker, const mox_h5_module_data* request, int webindex,
                     const std::string& callbackid, MoxPageCallbackFn done,
                     const EasyWndParam& /*param*/) override {
        if (!request || !done) return;
        Json::Value answer(Json::objectValue);
        answer["message"] = "not supported";
        done(isWorker, false, webindex, request->mallcsid, callbackid,
             request->workerid ? request->workerid : "", answer);
    }
    // shields nothing.
    void UpdateShielding(const mox_h5_module_data* /*request*/, const std::string& /*currentUid*/,
                         const Json::Value& /*params*/) override {}
    bool AddUserToBlackList(const mox_h5_module_data* /*request*/,
                            const std::string& /*uid*/) override {
        return false;
    }
    bool ShowHelpLinkDlg(const mox_h5_module_data* /*request*/, const std::string& /*from*/,
                         const std::string& /*orderSequenceNo*/) override {
        return false;
    }
    bool ShowHelpBuyModal(const mox_h5_module_data* /*request*/,
                          const Json::Value& /*goodsInfo*/) override {
        return false;
    }
    bool OpenLittleMoney(const mox_h5_module_data* /*request*/, const std::string& /*operation*/,
                         const Json::Value& /*orderGoodsList*/) override {
        return false;
    }
    // "": the host takes no client links.
    std::string GetClientLinkPrefix() override { return {}; }
    bool OpenClientLink(const mox_h5_module_data* /*request*/, const std::string& /*link*/,
                        int /*targetUrlType*/, const std::string& /*msgId*/) override {
        return false;
    }
    bool ShareGoodsUrl(const mox_h5_module_data* /*request*/,
                       const std::string& /*goodsUrl*/) override {
        return false;
    }
    bool DownloadFile(const mox_h5_module_data* /*request*/, const std::string& /*downloadUrl*/,
                      const std::string& /*fileName*/) override {
        return false;
    }
    bool OpenNewConversation(const mox_h5_module_data* /*request*/, const std::string& /*orderSn*/,
                             const std::string& /*mallId*/, const MoxPageIdentity& /*page*/,
                             MoxPageCallbackFn /*done*/) override {
        return false;
    }
    bool UpdateUnreadMessageCount(const mox_h5_module_data* /*request*/,
                                  int /*unreadUrgentMsgCount*/) override {
        return false;
    }
    bool MerchantLoadFinished(const mox_h5_module_data* /*request*/) override { return false; }
    bool ReportHttpError(const mox_h5_module_data* /*request*/,
                         const Json::Value& /*response*/) override {
        return false;
    }
    bool UpdateWindowsKey(const mox_h5_module_data* /*request*/, const std::string& /*group*/,
                          const std::string& /*key*/, bool /*value*/) override {
        return false;
    }
    bool RemindWorkOrder(const mox_h5_module_data* /*request*/,
                         const Json::Value& /*params*/) override {
        return false;
    }
};
