#include "modules/native/H5NativeWorker.h"

// One row: the JS name, the member that serves it (by name too, for the
// table test), its contexts and its marks.
#define NATIVE_ROW(name, member, slots, unified, later) \
    { name, #member, &H5NativeWorker::member, slots, unified, later }

namespace {

constexpr H5NativeWorker::Slots kRender = H5NativeWorker::kRenderSlot;
constexpr H5NativeWorker::Slots kWorker = H5NativeWorker::kWorkerSlot;
constexpr H5NativeWorker::Slots kBoth = H5NativeWorker::kBothSlots;
constexpr bool kUnified = true;   // answered through the unified callback
// keeps "NoNeedUnifyCallBack"
constexpr bool kOwnPath = false;
// may answer later ("AsynExec")
constexpr bool kLater = true;
constexpr bool kNow = false;

}  // namespace

// clang-format off
const std::array<H5NativeWorker::MethodRow, 53> H5NativeWorker::kMethodRows = {{
    NATIVE_ROW(        "AddUserBlackList",        addUserBlackList,          kRender, kOwnPath, kNow),
    NATIVE_ROW(        "UpdateQuickReply",        updateQuickReply,          kRender, kOwnPath, kNow),
    NATIVE_ROW(        "ExportQuickReply",        exportQuickReply,          kRender, kOwnPath, kNow),
    NATIVE_ROW(        "ImportQuickReply",        importQuickReply,          kRender, kOwnPath, kNow),
    NATIVE_ROW(        "DownQuickReplyModule",    downQuickReplyModule,      kRender, kOwnPath, kNow),
    NATIVE_ROW(        "HelpLinkTipsShow",        helpLinkTipsShow,          kRender, kOwnPath, kNow),
    NATIVE_ROW(        "HelpBuyModalShow",        helpBuyModalShow,          kRender, kOwnPath, kNow),
    NATIVE_ROW(        "BusinessReport",          businessReport,            kRender, kOwnPath, kNow),
    NATIVE_ROW(        "sendVideoShow",           sendVideoShow,             kRender, kOwnPath, kNow),
    NATIVE_ROW(        "openWebUseBrowser",       openWebUseBrowser,         kBoth,   kUnified, kNow),
    NATIVE_ROW(        "sendAddressMsg",          sendAddressMsg,            kRender, kOwnPath, kNow),
    NATIVE_ROW(        "sendFaseReply",           sendFaseReply,             kRender, kOwnPath, kNow),
    NATIVE_ROW(        "sendRichContent",         sendRich_GoodsListContent, kRender, kOwnPath, kNow),
    NATIVE_ROW(        "sendGoodsListRichContent", sendRich_GoodsListContent, kRender, kOwnPath, kNow),
    NATIVE_ROW(        "openNewConversation",     openNewConversation,       kBoth,   kUnified, kLater),
    NATIVE_ROW(        "littleMoney",             littleMoney,               kRender, kOwnPath, kNow),
    NATIVE_ROW(        "unReadMsgCount",          unReadMsgCount,            kBoth,   kUnified, kNow),
    NATIVE_ROW(        "oneClickUpdate",          oneClickUpdate,            kBoth,   kUnified, kNow),
    NATIVE_ROW(        "shareGoods",              shareGoods,                kRender, kOwnPath, kNow),
    NATIVE_ROW(        "shareGoodsUrl",           shareGoodsUrl,             kRender, kOwnPath, kNow),
    NATIVE_ROW(        "openWaitHandleOrder",     openWaitHandleOrder,       kBoth,   kUnified, kNow),
    NATIVE_ROW(        "openGoodsManage",         openGoodsManage,           kBoth,   kUnified, kNow),
    NATIVE_ROW(        "pageChange",              pageChange,                kBoth,   kUnified, kNow),
    NATIVE_ROW(        "sessionExpired",          sessionExpired,            kBoth,   kUnified, kNow),
    NATIVE_ROW(        "windowsDownLoad",         windowsDownLoad,           kBoth,   kUnified, kNow),
    NATIVE_ROW(        "getMallInfo",             getMallInfo,               kRender, kOwnPath, kNow),
    NATIVE_ROW(        "downloadFile",            downloadFile,              kRender, kOwnPath, kNow),
    NATIVE_ROW(        "getTesselActions",        getTesselActions,          kRender, kOwnPath, kNow),
    NATIVE_ROW(        "getCurrentCustomerInfo",  getCurrentCustomerInfo,    kRender, kOwnPath, kNow),
    NATIVE_ROW(        "checkFileExist",          checkFileExist,            kRender, kOwnPath, kNow),
    NATIVE_ROW(        "getPluginVersion",        getPluginVersion,          kRender, kOwnPath, kNow),
    NATIVE_ROW(        "selectFile",              selectFile,                kBoth,   kUnified, kLater),
    NATIVE_ROW(        "downloadRemoteFile",      downloadRemoteFile,        kBoth,   kUnified, kLater),
    NATIVE_ROW(        "uploadFile",              uploadFile,                kBoth,   kUnified, kLater),
    NATIVE_ROW(        "showToast",               showToast,                 kBoth,   kUnified, kNow),
    NATIVE_ROW(        "showEasyWnd",             showEasyWnd,               kBoth,   kUnified, kLater),
    NATIVE_ROW(        "showCommonTip",           showCommonTip,             kBoth,   kUnified, kLater),
    NATIVE_ROW(        "saveFile",                saveFile,                  kBoth,   kUnified, kLater),
    NATIVE_ROW(        "removeSavedFile",         removeSavedFile,           kBoth,   kUnified, kNow),
    NATIVE_ROW(        "openWindow",              openWindow,                kRender, kOwnPath, kNow),
    NATIVE_ROW(        "merchantLoadFinish",      merchantLoadFinish,        kRender, kOwnPath, kNow),
    NATIVE_ROW(        "MainFrameShowTip",        mainFrameShowTip,          kRender, kOwnPath, kNow),
    NATIVE_ROW(        "httpError",               httpError,                 kRender, kOwnPath, kNow),
    NATIVE_ROW(        "getFileInfo",             getFileInfo,               kBoth,   kUnified, kNow),
    NATIVE_ROW(        "updateKeysSetOfWindows",  updateKeysSetOfWindows,    kBoth,   kOwnPath, kNow),
    NATIVE_ROW(        "workerOnLoad",            workerOnLoad,              kWorker, kOwnPath, kNow),
    NATIVE_ROW(        "updateMsg",               updateMsg,                 kBoth,   kOwnPath, kNow),
    NATIVE_ROW(        "workOrderReminder",       workOrderReminder,         kRender, kOwnPath, kNow),
    NATIVE_ROW(        "locateMessage",           locateMessage,             kBoth,   kOwnPath, kNow),
    NATIVE_ROW(        "logisticOrderSelect",     logisticOrderSelect,       kRender, kOwnPath, kNow),
    NATIVE_ROW(        "FeedBackCommon",          feedBack,                  kBoth,   kOwnPath, kNow),
    NATIVE_ROW(        "getWorkbenchVersion",     getWorkbenchVersion,       kBoth,   kUnified, kNow),
    NATIVE_ROW(        "updateShielding",         updateShielding,           kRender, kOwnPath, kNow),
}};
// clang-format on

H5NativeWorker::H5NativeWorker() {
    for (const MethodRow& row : kMethodRows) {
        moxh5::detail::ContextMethod& method = m_methods[row.name];
        if (row.slots & kRenderSlot) method.slots[0] = row.handler;
        if (row.slots & kWorkerSlot) method.slots[1] = row.handler;
        method.unified = row.unified;
    }
}

bool H5NativeWorker::Execute(const mox_module_data* data, Json::Value& answer) {
    return moxh5::detail::DispatchByContext(kModuleName, m_methods, data, answer,
                                            MOX_CALL_SITE("H5NativeWorker::Execute"));
}

bool H5NativeWorker::Exist(const std::string& method) {
    return moxh5::detail::MapsMethod(m_methods, method);
}
