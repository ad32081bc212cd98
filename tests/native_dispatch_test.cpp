// Tests of the native method table: every name, in both page contexts,
// through the module manager as a host calls it.
#include <gtest/gtest.h>

#include <map>
#include <set>

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
// JS name, contexts, answered through the unified callback, may answer later,
// and the host operations its handler reaches with kProbe, in order and
// comma-separated ("" for none).
struct ExpectedRow {
    const char* name;
    H5NativeWorker::Slots slots;
    bool unified;
    bool later;
    const char* hostOp;
};

// clang-format off
const ExpectedRow kRows[] = {
    {"AddUserBlackList", kRender, kOwnPath, kNow, "AddUserToBlackList"},
    {"UpdateQuickReply", kRender, kOwnPath, kNow, "UpdateQuickReply"},
    {"ExportQuickReply", kRender, kOwnPath, kNow, "ExportQuickReply"},
    {"ImportQuickReply", kRender, kOwnPath, kNow, "ImportQuickReply"},
    {"DownQuickReplyModule", kRender, kOwnPath, kNow, "DownQuickReplyModule"},
    {"HelpLinkTipsShow", kRender, kOwnPath, kNow, "ShowHelpLinkDlg"},
    {"HelpBuyModalShow", kRender, kOwnPath, kNow, "ShowHelpBuyModal"},
    {"BusinessReport", kRender, kOwnPath, kNow, "BusinessReport"},
    {"sendVideoShow", kRender, kOwnPath, kNow, "SendVideoShow"},
    {"openWebUseBrowser", kBoth, kUnified, kNow, "OpenClientLink"},
    {"sendAddressMsg", kRender, kOwnPath, kNow, "SendAddressMsg"},
    {"sendFaseReply", kRender, kOwnPath, kNow, "SendFaseReply"},
    {"sendRichContent", kRender, kOwnPath, kNow, "SendRichContent"},
    {"sendGoodsListRichContent", kRender, kOwnPath, kNow, "SendRichContent"},
    {"openNewConversation", kBoth, kUnified, kLater, "OpenNewConversation"},
    {"littleMoney", kRender, kOwnPath, kNow, "OpenLittleMoney"},
    {"unReadMsgCount", kBoth, kUnified, kNow, "UpdateUnreadMessageCount"},
    {"oneClickUpdate", kBoth, kUnified, kNow, ""},
    {"shareGoods", kRender, kOwnPath, kNow, "ShareGoods"},
    {"shareGoodsUrl", kRender, kOwnPath, kNow, "ShareGoodsUrl"},
    {"openWaitHandleOrder", kBoth, kUnified, kNow, "OpenWaitHandleOrder"},
    {"openGoodsManage", kBoth, kUnified, kNow, "OpenGoodsManage"},
    {"pageChange", kBoth, kUnified, kNow, "PageChange"},
    {"sessionExpired", kBoth, kUnified, kNow, "SessionExpired"},
    {"windowsDownLoad", kBoth, kUnified, kNow, ""},
    {"getMallInfo", kRender, kOwnPath, kNow, "GetMallInfo"},
    {"downloadFile", kRender, kOwnPath, kNow, "DownloadFile"},
    {"getTesselActions", kRender, kOwnPath, kNow, "GetTesselActions"},
    {"getCurrentCustomerInfo", kRender, kOwnPath, kNow, "GetCurrentCustomerInfo"},
    {"checkFileExist", kRender, kOwnPath, kNow, "RenderJsCallback"},
    {"getPluginVersion", kRender, kOwnPath, kNow, "GetPluginVersion,RenderJsCallback"},
    {"selectFile", kBoth, kUnified, kLater, "SelectFile"},
    {"downloadRemoteFile", kBoth, kUnified, kLater, "DownloadRemoteFile"},
    {"uploadFile", kBoth, kUnified, kLater, "UploadFile"},
    {"showToast", kBoth, kUnified, kNow, "ShowToast"},
    {"showEasyWnd", kBoth, kUnified, kLater, "ShowEasyWnd"},
    {"showCommonTip", kBoth, kUnified, kLater, "ShowCommonTip"},
    {"saveFile", kBoth, kUnified, kLater, "SaveFile"},
    {"removeSavedFile", kBoth, kUnified, kNow, ""},
    {"openWindow", kRender, kOwnPath, kNow, "OpenWindow"},
    {"merchantLoadFinish", kRender, kOwnPath, kNow, "MerchantLoadFinished"},
    {"MainFrameShowTip", kRender, kOwnPath, kNow, "ShowToast"},
    {"httpError", kRender, kOwnPath, kNow, "ReportHttpError"},
    {"getFileInfo", kBoth, kUnified, kNow, ""},
    {"updateKeysSetOfWindows", kBoth, kOwnPath, kNow, "UpdateWindowsKey"},
    {"workerOnLoad", kWorker, kOwnPath, kNow, "WorkerOnLoad"},
    {"updateMsg", kBoth, kOwnPath, kNow, "UpdateMsg"},
    {"workOrderReminder", kRender, kOwnPath, kNow, "RemindWorkOrder"},
    {"locateMessage", kBoth, kOwnPath, kNow, "LocateMessage"},
    {"logisticOrderSelect", kRender, kOwnPath, kNow, "LogisticOrderSelect"},
    {"FeedBackCommon", kBoth, kOwnPath, kNow, ""},
    {"getWorkbenchVersion", kBoth, kUnified, kNow, ""},
    {"updateShielding", kRender, kOwnPath, kNow, "UpdateShielding"},
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

// The names served without the host's action interface, and the contexts each name is tried in
// (worker page or not, action interface or not).
const std::set<std::string> kServedWithoutHost = {"oneClickUpdate",  "windowsDownLoad",
                                                  "removeSavedFile", "getFileInfo",
                                                  "FeedBackCommon",  "getWorkbenchVersion"};
const std::pair<bool, bool> kContexts[] = {{false, true}, {true, true}, {false, false}};

std::string JoinedOps(const std::vector<HostCall>& calls) {
    std::string ops;
    for (const HostCall& call : calls) ops += (ops.empty() ? "" : ",") + call.op;
    return ops;
}

// A handler called without a request refuses it, says where, and leaves the answer alone.
void ExpectNullRequestRefused(const std::string& name) {
    for (const H5NativeWorker::MethodRow& row : H5NativeWorker::kMethodRows) {
        if (name != row.name) continue;
        ScopedLogCapture log;
        Json::Value answer(Json::objectValue);
        // The version answer reads nothing of the request.
        EXPECT_EQ(row.handler(nullptr, answer), name == "getWorkbenchVersion") << name;
        if (name == "getWorkbenchVersion") continue;
        EXPECT_EQ(Compact(answer), "{}") << name;
        EXPECT_TRUE(log->Contains("[MoxH5] false in H5NativeWorker::")) << name;
    }
}

// Test that each name, exactly as written and no other, reaches its handler in its contexts only,
// counted once first, with its flags; and that all but a few refuse to work without the host's
// action interface.
TEST(NativeTable, EachNameIsServedInItsContextsOnly) {
    ASSERT_EQ(H5NativeWorker::kMethodRows.size(), std::size(kRows));
    H5NativeWorker worker;
    for (const char* name : {"addUserBlackList", "ShowToast", "mainFrameShowTip", "feedBack", ""}) {
        EXPECT_FALSE(worker.Exist(name)) << "exact names only: " << name;
    }
    RecordingHost host;
    ScriptPageSession(host);
    ScopedUserCenter users(&host);
    ScopedShellRecorder shell;
    for (const ExpectedRow& row : kRows) {
        EXPECT_TRUE(worker.Exist(row.name)) << row.name;
        ExpectNullRequestRefused(row.name);
        for (const auto& [isWorker, withHost] : kContexts) {
            SCOPED_TRACE(std::string(row.name) + (isWorker ? " from a worker" : " from a render") +
                         (withHost ? "" : " without action interface"));
            host.ClearCalls();
            host.TakePending();
            ScopedActionInterface installed(withHost ? &host : nullptr);
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
            auto [result, extra] = special != kProbeOutcomes.end()
                                       ? special->second
                                       : std::pair<bool, const char*>{true, "{}"};
            const bool refused = !withHost && kServedWithoutHost.count(row.name) == 0;
            if (refused) {
                result = false;
                extra = R"({"message":"Native impl instance is null."})";
            }
            EXPECT_EQ(handled, result);
            EXPECT_EQ(JoinedOps(HostActions(host)), refused ? "" : row.hostOp);
            ASSERT_EQ(reports->Reports().size(), 1u);
            const WorkbenchReportRecord usage = reports->Reports()[0];
            EXPECT_EQ(usage.id, 91936);
            EXPECT_EQ(usage.tags.at("method"), row.name);
            EXPECT_EQ(usage.tags.at("worker"), isWorker ? "1" : "0");
            // Exactly the flags of the row, and what the outcome adds.
            Json::Value expected = ParseJson(extra);
            if (!row.unified) expected["NoNeedUnifyCallBack"] = true;
            if (row.later && !refused) expected["AsynExec"] = true;
            EXPECT_EQ(Compact(answer), Compact(expected));
        }
    }
}

}  // namespace
}  // namespace moxh5::test
