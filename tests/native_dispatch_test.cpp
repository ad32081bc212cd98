// Tests of the native method table: every name, in both page contexts,
// through the module manager as a host calls it.
#include <gtest/gtest.h>

#include <map>

#include "modules/native/H5NativeWorker.h"
#include "tests/fakes/native_case.h"
#include "tests/fakes/platform_fakes.h"

namespace moxh5::test {
namespace {

constexpr H5NativeWorker::Slots kRender = H5NativeWorker::kRenderSlot;
constexpr H5NativeWorker::Slots kWorker = H5NativeWorker::kWorkerSlot;
constexpr H5NativeWorker::Slots kBoth = H5NativeWorker::kBothSlots;
constexpr bool kUnified = true, kOwnPath = false, kLater = true, kNow = false;

// The table as pages and hosts rely on it, kept apart from the worker's own:
// JS name, member, contexts, answered through the unified callback, may answer
// later, and the host operations a built handler reaches with kProbe, in
// order and comma-separated ("" for none).
struct ExpectedRow {
    const char* name;
    const char* member;
    H5NativeWorker::Slots slots;
    bool unified;
    bool later;
    const char* hostOp;
};

// clang-format off
const ExpectedRow kRows[] = {
    {"AddUserBlackList", "addUserBlackList", kRender, kOwnPath, kNow, "AddUserToBlackList"},
    {"UpdateQuickReply", "updateQuickReply", kRender, kOwnPath, kNow, "UpdateQuickReply"},
    {"ExportQuickReply", "exportQuickReply", kRender, kOwnPath, kNow, "ExportQuickReply"},
    {"ImportQuickReply", "importQuickReply", kRender, kOwnPath, kNow, "ImportQuickReply"},
    {"DownQuickReplyModule", "downQuickReplyModule", kRender, kOwnPath, kNow, "DownQuickReplyModule"},
    {"HelpLinkTipsShow", "helpLinkTipsShow", kRender, kOwnPath, kNow, "ShowHelpLinkDlg"},
    {"HelpBuyModalShow", "helpBuyModalShow", kRender, kOwnPath, kNow, "ShowHelpBuyModal"},
    {"BusinessReport", "businessReport", kRender, kOwnPath, kNow, "BusinessReport"},
    {"sendVideoShow", "sendVideoShow", kRender, kOwnPath, kNow, "SendVideoShow"},
    {"openWebUseBrowser", "openWebUseBrowser", kBoth, kUnified, kNow, "OpenClientLink"},
    {"sendAddressMsg", "sendAddressMsg", kRender, kOwnPath, kNow, "SendAddressMsg"},
    {"sendFaseReply", "sendFaseReply", kRender, kOwnPath, kNow, "SendFaseReply"},
    {"sendRichContent", "sendRich_GoodsListContent", kRender, kOwnPath, kNow, "SendRichContent"},
    {"sendGoodsListRichContent", "sendRich_GoodsListContent", kRender, kOwnPath, kNow, "SendRichContent"},
    {"openNewConversation", "openNewConversation", kBoth, kUnified, kLater, "OpenNewConversation"},
    {"littleMoney", "littleMoney", kRender, kOwnPath, kNow, "OpenLittleMoney"},
    {"unReadMsgCount", "unReadMsgCount", kBoth, kUnified, kNow, "UpdateUnreadMessageCount"},
    {"oneClickUpdate", "oneClickUpdate", kBoth, kUnified, kNow, ""},
    {"shareGoods", "shareGoods", kRender, kOwnPath, kNow, "ShareGoods"},
    {"shareGoodsUrl", "shareGoodsUrl", kRender, kOwnPath, kNow, "ShareGoodsUrl"},
    {"openWaitHandleOrder", "openWaitHandleOrder", kBoth, kUnified, kNow, "OpenWaitHandleOrder"},
    {"openGoodsManage", "openGoodsManage", kBoth, kUnified, kNow, "OpenGoodsManage"},
    {"pageChange", "pageChange", kBoth, kUnified, kNow, "PageChange"},
    {"sessionExpired", "sessionExpired", kBoth, kUnified, kNow, "SessionExpired"},
    {"windowsDownLoad", "windowsDownLoad", kBoth, kUnified, kNow, ""},
    {"getMallInfo", "getMallInfo", kRender, kOwnPath, kNow, "GetMallInfo"},
    {"downloadFile", "downloadFile", kRender, kOwnPath, kNow, "DownloadFile"},
    {"getTesselActions", "getTesselActions", kRender, kOwnPath, kNow, "GetTesselActions"},
    {"getCurrentCustomerInfo", "getCurrentCustomerInfo", kRender, kOwnPath, kNow, "GetCurrentCustomerInfo"},
    {"checkFileExist", "checkFileExist", kRender, kOwnPath, kNow, "RenderJsCallback"},
    {"getPluginVersion", "getPluginVersion", kRender, kOwnPath, kNow, "GetPluginVersion,RenderJsCallback"},
    {"selectFile", "selectFile", kBoth, kUnified, kLater, "SelectFile"},
    {"downloadRemoteFile", "downloadRemoteFile", kBoth, kUnified, kLater, "DownloadRemoteFile"},
    {"uploadFile", "uploadFile", kBoth, kUnified, kLater, "UploadFile"},
    {"showToast", "showToast", kBoth, kUnified, kNow, "ShowToast"},
    {"showEasyWnd", "showEasyWnd", kBoth, kUnified, kLater, "ShowEasyWnd"},
    {"showCommonTip", "showCommonTip", kBoth, kUnified, kLater, "ShowCommonTip"},
    {"saveFile", "saveFile", kBoth, kUnified, kLater, "SaveFile"},
    {"removeSavedFile", "removeSavedFile", kBoth, kUnified, kNow, ""},
    {"openWindow", "openWindow", kRender, kOwnPath, kNow, "OpenWindow"},
    {"merchantLoadFinish", "merchantLoadFinish", kRender, kOwnPath, kNow, "MerchantLoadFinished"},
    {"MainFrameShowTip", "mainFrameShowTip", kRender, kOwnPath, kNow, "ShowToast"},
    {"httpError", "httpError", kRender, kOwnPath, kNow, "ReportHttpError"},
    {"getFileInfo", "getFileInfo", kBoth, kUnified, kNow, ""},
    {"updateKeysSetOfWindows", "updateKeysSetOfWindows", kBoth, kOwnPath, kNow, "UpdateWindowsKey"},
    {"workerOnLoad", "workerOnLoad", kWorker, kOwnPath, kNow, "WorkerOnLoad"},
    {"updateMsg", "updateMsg", kBoth, kOwnPath, kNow, "UpdateMsg"},
    {"workOrderReminder", "workOrderReminder", kRender, kOwnPath, kNow, "RemindWorkOrder"},
    {"locateMessage", "locateMessage", kBoth, kOwnPath, kNow, "LocateMessage"},
    {"logisticOrderSelect", "logisticOrderSelect", kRender, kOwnPath, kNow, "LogisticOrderSelect"},
    {"FeedBackCommon", "feedBack", kBoth, kOwnPath, kNow, ""},
    {"getWorkbenchVersion", "getWorkbenchVersion", kBoth, kUnified, kNow, ""},
    {"updateShielding", "updateShielding", kRender, kOwnPath, kNow, "UpdateShielding"},
};
// clang-format on

// A call every built handler takes: all keys any of them requires, a
// top-level "callID", every feature switch on. Its "filePath" names no file.
constexpr char kProbe[] =
    R"({"callID":5,"params":{"title":"t","content":"c","scene":"s","url":"u","width":3,
        "height":2,"goodsInfo":{"goods_id":1},"pageName":"p",
        "filePath":"moxh5-no-such-dir/probe.txt","tempFilePath":"t","page":"p","jump":"j",
        "currentUid":"buyer-1","orderSequenceNo":"o-1","orderSn":"o-1","orderGoodsList":[1],
        "targetUrl":"openexternalclient://order?sn=1","unreadUrgentMsgCount":2,"goodsUrl":"g",
        "action":"download","user":"cs-1","role":"cs","node":{"download_url":"d"},
        "response":{},"robot_learn_guide":true}})";

// Built handlers whose answer to kProbe holds more than the row's flags: the
// result and the further members. The two file handlers find no file.
const std::map<std::string, std::pair<bool, const char*>> kProbeOutcomes = {
    {"openWaitHandleOrder", {true, R"({"message":"open ok"})"}},
    {"openGoodsManage", {true, R"({"message":"open ok"})"}},
    {"pageChange", {true, R"({"message":"pagechange ok"})"}},
    {"windowsDownLoad", {true, R"({"message":"download ok"})"}},
    {"oneClickUpdate", {true, R"({"message":"update ok"})"}},
    {"removeSavedFile", {false, R"({"message":"file not exist."})"}},
    {"getFileInfo", {false, R"({"message":"get file info failed."})"}},
    {"getWorkbenchVersion", {true, R"({"data":{"WorkbenchVersion":"3.4.8.3"}})"}},
};

std::string JoinedOps(const std::vector<HostCall>& calls) {
    std::string ops;
    for (const HostCall& call : calls) ops += (ops.empty() ? "" : ",") + call.op;
    return ops;
}

// Test that the worker's table holds these rows in this order, and knows every name.
TEST(NativeTable, ListsEveryNameInRegistrationOrder) {
    ASSERT_EQ(H5NativeWorker::kMethodRows.size(), std::size(kRows));
    H5NativeWorker worker;
    for (size_t i = 0; i < std::size(kRows); ++i) {
        const H5NativeWorker::MethodRow& row = H5NativeWorker::kMethodRows[i];
        SCOPED_TRACE(kRows[i].name);
        EXPECT_STREQ(row.name, kRows[i].name);
        EXPECT_STREQ(row.handlerName, kRows[i].member);
        EXPECT_EQ(row.slots, kRows[i].slots);
        EXPECT_EQ(row.unified, kRows[i].unified);
        EXPECT_EQ(row.mayAnswerLater, kRows[i].later);
        EXPECT_NE(row.handler, nullptr);
        EXPECT_TRUE(worker.Exist(kRows[i].name));
    }
    for (const char* name : {"addUserBlackList", "ShowToast", "mainFrameShowTip", "feedBack", ""}) {
        EXPECT_FALSE(worker.Exist(name)) << "exact names only: " << name;
    }
}

// Test that each name reaches its handler in its contexts only, counted once first, with its flags.
TEST(NativeTable, EachNameIsServedInItsContextsOnly) {
    RecordingHost host;
    ScriptPageSession(host);
    ScopedActionInterface installed(&host);
    ScopedUserCenter users(&host);
    ScopedShellRecorder shell;
    for (const ExpectedRow& row : kRows) {
        for (const bool isWorker : {false, true}) {
            SCOPED_TRACE(std::string(row.name) + (isWorker ? " from a worker" : " from a render"));
            host.ClearCalls();
            host.TakePending();
            ScopedLogCapture log;
            ScopedReportCapture reports;
            Json::Value answer(Json::objectValue);
            const bool handled =
                RunCall("JSCallNative",
                        NativeCaseCall({row.name, kProbe, true, "", nullptr, nullptr,
                                        kSwitchOn | (isWorker ? kFromWorker : 0u)}),
                        answer);
            if ((row.slots & (isWorker ? kWorker : kRender)) == 0) {
                EXPECT_FALSE(handled);
                EXPECT_EQ(Compact(answer), Compact(ParseJson(R"({"NoNeedUnifyCallBack":true,
                    "message":"Invalid method.","support":false})")));
                EXPECT_TRUE(
                    log->Contains(std::string("[MoxH5] Failed to find method ") + row.name));
                EXPECT_TRUE(HostActions(host).empty());
                EXPECT_TRUE(reports->Reports().empty());
                continue;
            }
            const auto special = kProbeOutcomes.find(row.name);
            const auto [result, extra] = special != kProbeOutcomes.end()
                                             ? special->second
                                             : std::pair<bool, const char*>{true, "{}"};
            EXPECT_EQ(handled, result);
            EXPECT_EQ(JoinedOps(HostActions(host)), row.hostOp);
            ASSERT_EQ(reports->Reports().size(), 1u);
            const WorkbenchReportRecord usage = reports->Reports()[0];
            EXPECT_EQ(usage.id, 91936);
            EXPECT_EQ(usage.tags.at("method"), row.name);
            EXPECT_EQ(usage.tags.at("worker"), isWorker ? "1" : "0");
            // Exactly the flags of the row, and what the outcome adds.
            Json::Value expected = ParseJson(extra);
            if (!row.unified) expected["NoNeedUnifyCallBack"] = true;
            if (row.later) expected["AsynExec"] = true;
            EXPECT_EQ(Compact(answer), Compact(expected));
        }
    }
}

}  // namespace
}  // namespace moxh5::test
