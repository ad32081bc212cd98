// Worker of the module "JSCallNative": the library's largest method table.
//
// Each JS name maps to two handler slots: slot 0 serves render pages, slot 1
// worker pages; an empty slot means the name is not served in that context.
// Every call starts with "NoNeedUnifyCallBack": true in the answer; handlers
// that answer through the unified callback remove it first. Every dispatched
// call is counted with the usage report 91936 before its handler runs.
//
// The table (kMethodRows) lists every name the module answers to, in
// registration order, with the member that serves it and the contexts it is
// served in; in any other context the name is answered "Invalid method.".
//
// The handlers are static members, kept in files by subject:
//   messaging_handlers.cpp  messages, quick replies, reports, goods sharing
//   query_handlers.cpp      mall, action list and customer queries
//   tips_handlers.cpp       toasts, tips, windows, easy windows
//   page_handlers.cpp       page life cycle and message list
//   file_handlers.cpp       local files
//   navigation_handlers.cpp page navigation and links opened in the shell
//   feedback_handlers.cpp   feedback, workbench version, shielding
//   conversation_handlers.cpp  conversations, unread counts, the blacklist
//   merchant_handlers.cpp   help dialogs, small-amount money, goods links, work orders
//   link_handlers.cpp       browser and client links, file downloads
//   page_report_handlers.cpp  page loaded, HTTP errors, window keys
// They log under this file's name, "H5NativeWorker.cpp" (native_log.h).
#pragma once

#include <array>
#include <cstdint>

#include "core/dispatch/dispatch.h"
#include "moxh5/module_worker.h"

class H5NativeWorker : public IModuleWorker {
public:
    // The module name pages call.
    static constexpr char kModuleName[] = "JSCallNative";

    using Handler = bool (*)(const mox_h5_module_data* data, Json::Value& answer);

    // The page contexts a name is served in.
    enum Slots : uint8_t { kRenderSlot = 1, kWorkerSlot = 2, kBothSlots = 3 };

    struct MethodRow {
        const char* name;         // JS name, exact and case-sensitive
        const char* handlerName;  // the member that serves it
        Handler handler;          // the static member that serves the name
        Slots slots;
        // The answer reaches the page through the unified callback; the
        // dispatch sets "NoNeedUnifyCallBack" for all other methods.
        bool unified;
        // The handler may answer later and then sets "AsynExec": true.
        bool mayAnswerLater;
    };
    static const std::array<MethodRow, 53> kMethodRows;

    H5NativeWorker();
    bool Execute(const mox_module_data* data, Json::Value& answer) override;
    bool Exist(const std::string& method) override;

    // Messages, quick replies and reports: pass-through to the host.
    static bool updateQuickReply(const mox_h5_module_data* data, Json::Value& answer);
    static bool exportQuickReply(const mox_h5_module_data* data, Json::Value& answer);
    static bool importQuickReply(const mox_h5_module_data* data, Json::Value& answer);
    static bool downQuickReplyModule(const mox_h5_module_data* data, Json::Value& answer);
    static bool businessReport(const mox_h5_module_data* data, Json::Value& answer);
    static bool sendVideoShow(const mox_h5_module_data* data, Json::Value& answer);
    static bool sendAddressMsg(const mox_h5_module_data* data, Json::Value& answer);
    static bool sendFaseReply(const mox_h5_module_data* data, Json::Value& answer);
    static bool sendRich_GoodsListContent(const mox_h5_module_data* data, Json::Value& answer);
    static bool shareGoods(const mox_h5_module_data* data, Json::Value& answer);

    // Queries the host answers itself, under the page's "callID".
    static bool getMallInfo(const mox_h5_module_data* data, Json::Value& answer);
    static bool getTesselActions(const mox_h5_module_data* data, Json::Value& answer);
    static bool getCurrentCustomerInfo(const mox_h5_module_data* data, Json::Value& answer);

    // Toasts, tips, windows and easy windows.
    static bool showToast(const mox_h5_module_data* data, Json::Value& answer);
    static bool mainFrameShowTip(const mox_h5_module_data* data, Json::Value& answer);
    static bool showCommonTip(const mox_h5_module_data* data, Json::Value& answer);
    static bool openWindow(const mox_h5_module_data* data, Json::Value& answer);
    static bool showEasyWnd(const mox_h5_module_data* data, Json::Value& answer);

    // Page life cycle and the message list.
    static bool workerOnLoad(const mox_h5_module_data* data, Json::Value& answer);
    static bool updateMsg(const mox_h5_module_data* data, Json::Value& answer);
    static bool logisticOrderSelect(const mox_h5_module_data* data, Json::Value& answer);
    static bool locateMessage(const mox_h5_module_data* data, Json::Value& answer);

    // Local files.
    static bool checkFileExist(const mox_h5_module_data* data, Json::Value& answer);
    static bool getPluginVersion(const mox_h5_module_data* data, Json::Value& answer);
    static bool selectFile(const mox_h5_module_data* data, Json::Value& answer);
    static bool downloadRemoteFile(const mox_h5_module_data* data, Json::Value& answer);
    static bool uploadFile(const mox_h5_module_data* data, Json::Value& answer);
    static bool saveFile(const mox_h5_module_data* data, Json::Value& answer);
    static bool removeSavedFile(const mox_h5_module_data* data, Json::Value& answer);
    static bool getFileInfo(const mox_h5_module_data* data, Json::Value& answer);

    // Page navigation and links opened in the shell.
    static bool openWaitHandleOrder(const mox_h5_module_data* data, Json::Value& answer);
    static bool openGoodsManage(const mox_h5_module_data* data, Json::Value& answer);
    static bool pageChange(const mox_h5_module_data* data, Json::Value& answer);
    static bool sessionExpired(const mox_h5_module_data* data, Json::Value& answer);
    static bool windowsDownLoad(const mox_h5_module_data* data, Json::Value& answer);
    static bool oneClickUpdate(const mox_h5_module_data* data, Json::Value& answer);

    // Feedback to the host's message centre, the version, shielding.
    static bool feedBack(const mox_h5_module_data* data, Json::Value& answer);
    static bool getWorkbenchVersion(const mox_h5_module_data* data, Json::Value& answer);
    static bool updateShielding(const mox_h5_module_data* data, Json::Value& answer);
    // Conversations with buyers (conversation_handlers.cpp).
    static bool openNewConversation(const mox_h5_module_data* data, Json::Value& answer);
    static bool unReadMsgCount(const mox_h5_module_data* data, Json::Value& answer);
    static bool addUserBlackList(const mox_h5_module_data* data, Json::Value& answer);

    // Merchant tools the host provides (merchant_handlers.cpp).
    static bool helpLinkTipsShow(const mox_h5_module_data* data, Json::Value& answer);
    static bool helpBuyModalShow(const mox_h5_module_data* data, Json::Value& answer);
    static bool littleMoney(const mox_h5_module_data* data, Json::Value& answer);
    static bool shareGoodsUrl(const mox_h5_module_data* data, Json::Value& answer);
    static bool workOrderReminder(const mox_h5_module_data* data, Json::Value& answer);

    // Links and downloads (link_handlers.cpp).
    static bool openWebUseBrowser(const mox_h5_module_data* data, Json::Value& answer);
    static bool downloadFile(const mox_h5_module_data* data, Json::Value& answer);

    // What merchant pages report (page_report_handlers.cpp).
    static bool merchantLoadFinish(const mox_h5_module_data* data, Json::Value& answer);
    static bool httpError(const mox_h5_module_data* data, Json::Value& answer);
    static bool updateKeysSetOfWindows(const mox_h5_module_data* data, Json::Value& answer);

private:
    moxh5::detail::ContextMethodMap m_methods;
};
