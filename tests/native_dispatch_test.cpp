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

// The host operations each name's handler reaches with kProbe, in order and comma-separated
// ("" for none). Its contexts and answer paths are the worker's table's, which
// ApiTable.DescribesEveryMethodAndSlotOfTheWorkersAndNothingElse holds to the page API.
const std::map<std::string, std::string> kHostOps = {
    {"AddUserBlackList", "AddUserToBlackList"},
    {"UpdateQuickReply", "UpdateQuickReply"},
    {"ExportQuickReply", "ExportQuickReply"},
    {"ImportQuickReply", "ImportQuickReply"},
    {"DownQuickReplyModule", "DownQuickReplyModule"},
    {"HelpLinkTipsShow", "ShowHelpLinkDlg"},
    {"HelpBuyModalShow", "ShowHelpBuyModal"},
    {"BusinessReport", "BusinessReport"},
    {"sendVideoShow", "SendVideoShow"},
    {"openWebUseBrowser", "OpenClientLink"},
    {"sendAddressMsg", "SendAddressMsg"},
    {"sendFaseReply", "SendFaseReply"},
    {"sendRichContent", "SendRichContent"},
    {"sendGoodsListRichContent", "SendRichContent"},
    {"openNewConversation", "OpenNewConversation"},
    {"littleMoney", "OpenLittleMoney"},
    {"unReadMsgCount", "UpdateUnreadMessageCount"},
    {"oneClickUpdate", ""},
    {"shareGoods", "ShareGoods"},
    {"shareGoodsUrl", "ShareGoodsUrl"},
    {"openWaitHandleOrder", "OpenWaitHandleOrder"},
    {"openGoodsManage", "OpenGoodsManage"},
    {"pageChange", "PageChange"},
    {"sessionExpired", "SessionExpired"},
    {"windowsDownLoad", ""},
    {"getMallInfo", "GetMallInfo"},
    {"downloadFile", "DownloadFile"},
    {"getTesselActions", "GetTesselActions"},
    {"getCurrentCustomerInfo", "GetCurrentCustomerInfo"},
    {"checkFileExist", "RenderJsCallback"},
    {"getPluginVersion", "GetPluginVersion,RenderJsCallback"},
    {"selectFile", "SelectFile"},
    {"downloadRemoteFile", "DownloadRemoteFile"},
    {"uploadFile", "UploadFile"},
    {"showToast", "ShowToast"},
    {"showEasyWnd", "ShowEasyWnd"},
    {"showCommonTip", "ShowCommonTip"},
    {"saveFile", "SaveFile"},
    {"removeSavedFile", ""},
    {"openWindow", "OpenWindow"},
    {"merchantLoadFinish", "MerchantLoadFinished"},
    {"MainFrameShowTip", "ShowToast"},
    {"httpError", "ReportHttpError"},
    {"getFileInfo", ""},
    {"updateKeysSetOfWindows", "UpdateWindowsKey"},
    {"workerOnLoad", "WorkerOnLoad"},
    {"updateMsg", "UpdateMsg"},
    {"workOrderReminder", "RemindWorkOrder"},
    {"locateMessage", "LocateMessage"},
    {"logisticOrderSelect", "LogisticOrderSelect"},
    {"FeedBackCommon", ""},
    {"getWorkbenchVersion", ""},
    {"updateShielding", "UpdateShielding"},
};

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
void ExpectNullRequestRefused(const H5NativeWorker::MethodRow& row) {
    const std::string name = row.name;
    ScopedLogCapture log;
    Json::Value answer(Json::objectValue);
    // The version answer reads nothing of the request.
    EXPECT_EQ(row.handler(nullptr, answer), name == "getWorkbenchVersion") << name;
    if (name == "getWorkbenchVersion") return;
    EXPECT_EQ(Compact(answer), "{}") << name;
    EXPECT_TRUE(log->Contains("[MoxH5] false in H5NativeWorker::")) << name;
}

// Test that each name, exactly as written and no other, reaches its handler in its contexts only,
// counted once first, with its flags; and that all but a few refuse to work without the host's
// action interface.
TEST(NativeTable, EachNameIsServedInItsContextsOnly) {
    ASSERT_EQ(H5NativeWorker::kMethodRows.size(), kHostOps.size());
    H5NativeWorker worker;
    for (const char* name : {"addUserBlackList", "ShowToast", "mainFrameShowTip", "feedBack", ""}) {
        EXPECT_FALSE(worker.Exist(name)) << "exact names only: " << name;
    }
    RecordingHost host;
    ScriptPageSession(host);
    ScopedUserCenter users(&host);
    ScopedShellRecorder shell;
    for (const H5NativeWorker::MethodRow& row : H5NativeWorker::kMethodRows) {
        ASSERT_EQ(kHostOps.count(row.name), 1u) << row.name;
        EXPECT_TRUE(worker.Exist(row.name)) << row.name;
        ExpectNullRequestRefused(row);
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
            if ((row.slots &
                 (isWorker ? H5NativeWorker::kWorkerSlot : H5NativeWorker::kRenderSlot)) == 0) {
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
            EXPECT_EQ(JoinedOps(HostActions(host)), refused ? "" : kHostOps.at(row.name));
            ASSERT_EQ(reports->Reports().size(), 1u);
            const WorkbenchReportRecord usage = reports->Reports()[0];
            EXPECT_EQ(usage.id, 91936);
            EXPECT_EQ(usage.tags.at("method"), row.name);
            EXPECT_EQ(usage.tags.at("worker"), isWorker ? "1" : "0");
            // Exactly the flags of the row, and what the outcome adds.
            Json::Value expected = ParseJson(extra);
            if (!row.unified) expected["NoNeedUnifyCallBack"] = true;
            if (row.mayAnswerLater && !refused) expected["AsynExec"] = true;
            EXPECT_EQ(Compact(answer), Compact(expected));
        }
    }
}

}  // namespace
}  // namespace moxh5::test
