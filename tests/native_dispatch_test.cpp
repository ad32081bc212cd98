// Tests of the native module's method table and dispatch: every name, in
// each page context, through the module manager as a host calls it.
#include <gtest/gtest.h>

#include "modules/native/H5NativeWorker.h"
#include "tests/fakes/bridge_fixture.h"
#include "tests/fakes/capture_sinks.h"

namespace moxh5::test {
namespace {

constexpr H5NativeWorker::Slots kRender = H5NativeWorker::kRenderSlot;
constexpr H5NativeWorker::Slots kWorker = H5NativeWorker::kWorkerSlot;
constexpr H5NativeWorker::Slots kBoth = H5NativeWorker::kBothSlots;
constexpr bool kUnified = true;
constexpr bool kOwnPath = false;
constexpr bool kLater = true;
constexpr bool kNow = false;

// The table as pages and hosts rely on it, written out independently of the
// worker's own: JS name, member, contexts, whether the answer goes through
// the unified callback, whether it may come later, and the host operation a
// built handler reaches with the probe call below (null: not built yet, so
// not served).
struct ExpectedRow {
    const char* name;
    const char* member;
    H5NativeWorker::Slots slots;
    bool unified;
    bool later;
    const char* hostOp;
};

// clang-format off
const ExpectedRow kExpectedRows[] = {
    {"AddUserBlackList", "addUserBlackList", kRender, kOwnPath, kNow, nullptr},
    {"UpdateQuickReply", "updateQuickReply", kRender, kOwnPath, kNow, "UpdateQuickReply"},
    {"ExportQuickReply", "exportQuickReply", kRender, kOwnPath, kNow, "ExportQuickReply"},
    {"ImportQuickReply", "importQuickReply", kRender, kOwnPath, kNow, "ImportQuickReply"},
    {"DownQuickReplyModule", "downQuickReplyModule", kRender, kOwnPath, kNow, "DownQuickReplyModule"},
    {"HelpLinkTipsShow", "helpLinkTipsShow", kRender, kOwnPath, kNow, nullptr},
    {"HelpBuyModalShow", "helpBuyModalShow", kRender, kOwnPath, kNow, nullptr},
    {"BusinessReport", "businessReport", kRender, kOwnPath, kNow, "BusinessReport"},
    {"sendVideoShow", "sendVideoShow", kRender, kOwnPath, kNow, "SendVideoShow"},
    {"openWebUseBrowser", "openWebUseBrowser", kBoth, kUnified, kNow, nullptr},
    {"sendAddressMsg", "sendAddressMsg", kRender, kOwnPath, kNow, "SendAddressMsg"},
    {"sendFaseReply", "sendFaseReply", kRender, kOwnPath, kNow, "SendFaseReply"},
    {"sendRichContent", "sendRich_GoodsListContent", kRender, kOwnPath, kNow, "SendRichContent"},
    {"sendGoodsListRichContent", "sendRich_GoodsListContent", kRender, kOwnPath, kNow, "SendRichContent"},
    {"openNewConversation", "openNewConversation", kBoth, kUnified, kLater, nullptr},
    {"littleMoney", "littleMoney", kRender, kOwnPath, kNow, nullptr},
    {"unReadMsgCount", "unReadMsgCount", kBoth, kUnified, kNow, nullptr},
    {"oneClickUpdate", "oneClickUpdate", kBoth, kUnified, kNow, nullptr},
    {"shareGoods", "shareGoods", kRender, kOwnPath, kNow, "ShareGoods"},
    {"shareGoodsUrl", "shareGoodsUrl", kRender, kOwnPath, kNow, nullptr},
    {"openWaitHandleOrder", "openWaitHandleOrder", kBoth, kUnified, kNow, nullptr},
    {"openGoodsManage", "openGoodsManage", kBoth, kUnified, kNow, nullptr},
    {"pageChange", "pageChange", kBoth, kUnified, kNow, nullptr},
    {"sessionExpired", "sessionExpired", kBoth, kUnified, kNow, nullptr},
    {"windowsDownLoad", "windowsDownLoad", kBoth, kUnified, kNow, nullptr},
    {"getMallInfo", "getMallInfo", kRender, kOwnPath, kNow, "GetMallInfo"},
    {"downloadFile", "downloadFile", kRender, kOwnPath, kNow, nullptr},
    {"getTesselActions", "getTesselActions", kRender, kOwnPath, kNow, "GetTesselActions"},
    {"getCurrentCustomerInfo", "getCurrentCustomerInfo", kRender, kOwnPath, kNow, "GetCurrentCustomerInfo"},
    {"checkFileExist", "checkFileExist", kRender, kOwnPath, kNow, nullptr},
    {"getPluginVersion", "getPluginVersion", kRender, kOwnPath, kNow, nullptr},
    {"selectFile", "selectFile", kBoth, kUnified, kLater, nullptr},
    {"downloadRemoteFile", "downloadRemoteFile", kBoth, kUnified, kLater, nullptr},
    {"uploadFile", "uploadFile", kBoth, kUnified, kLater, nullptr},
    {"showToast", "showToast", kBoth, kUnified, kNow, "ShowToast"},
    {"showEasyWnd", "showEasyWnd", kBoth, kUnified, kLater, "ShowEasyWnd"},
    {"showCommonTip", "showCommonTip", kBoth, kUnified, kLater, "ShowCommonTip"},
    {"saveFile", "saveFile", kBoth, kUnified, kLater, nullptr},
    {"removeSavedFile", "removeSavedFile", kBoth, kUnified, kNow, nullptr},
    {"openWindow", "openWindow", kRender, kOwnPath, kNow, "OpenWindow"},
    {"merchantLoadFinish", "merchantLoadFinish", kRender, kOwnPath, kNow, nullptr},
    {"MainFrameShowTip", "mainFrameShowTip", kRender, kOwnPath, kNow, "ShowToast"},
    {"httpError", "httpError", kRender, kOwnPath, kNow, nullptr},
    {"getFileInfo", "getFileInfo", kBoth, kUnified, kNow, nullptr},
    {"updateKeysSetOfWindows", "updateKeysSetOfWindows", kBoth, kOwnPath, kNow, nullptr},
    {"workerOnLoad", "workerOnLoad", kWorker, kOwnPath, kNow, "WorkerOnLoad"},
    {"updateMsg", "updateMsg", kBoth, kOwnPath, kNow, "UpdateMsg"},
    {"workOrderReminder", "workOrderReminder", kRender, kOwnPath, kNow, nullptr},
    {"locateMessage", "locateMessage", kBoth, kOwnPath, kNow, "LocateMessage"},
    {"logisticOrderSelect", "logisticOrderSelect", kRender, kOwnPath, kNow, "LogisticOrderSelect"},
    {"FeedBackCommon", "feedBack", kBoth, kOwnPath, kNow, nullptr},
    {"getWorkbenchVersion", "getWorkbenchVersion", kBoth, kUnified, kNow, nullptr},
    {"updateShielding", "updateShielding", kRender, kOwnPath, kNow, nullptr},
};
// clang-format on

// A call that every built handler accepts: all keys any of them requires, a
// top-level "callID", and every feature switch on.
mox_h5_module_data ProbeCall(const std::string& method, bool isWorker) {
    mox_h5_module_data call = MakeCall(method, ParseJson(R"({"title":"t","content":"c","scene":"s",
                                                     "url":"u","width":300,"height":200,
                                                     "goodsInfo":{},"pageName":"p"})"),
                                       isWorker);
    call.payload["callID"] = 5;
    call.configCallback = [](const std::string&, const std::string&, const MoxConfigValue&) {
        return true;
    };
    return call;
}

// Test that the worker's table lists the expected names in order, each with its member and marks.
TEST(NativeTable, ListsEveryNameInRegistrationOrder) {
    ASSERT_EQ(H5NativeWorker::kMethodRows.size(), std::size(kExpectedRows));
    H5NativeWorker worker;
    for (size_t i = 0; i < std::size(kExpectedRows); ++i) {
        const ExpectedRow& expected = kExpectedRows[i];
        const H5NativeWorker::MethodRow& row = H5NativeWorker::kMethodRows[i];
        SCOPED_TRACE(expected.name);
        EXPECT_STREQ(row.name, expected.name);
        EXPECT_STREQ(row.handlerName, expected.member);
        EXPECT_EQ(row.slots, expected.slots);
        EXPECT_EQ(row.unified, expected.unified);
        EXPECT_EQ(row.mayAnswerLater, expected.later);
        EXPECT_EQ(row.handler != nullptr, expected.hostOp != nullptr);
        EXPECT_TRUE(worker.Exist(expected.name)) << "listed names exist, built or not";
    }
}

// Test that each name reaches its handler in each of its contexts, and only there.
TEST(NativeTable, EachNameIsServedInItsContextsOnly) {
    RecordingHost host;
    ScopedActionInterface installed(&host);
    for (const ExpectedRow& row : kExpectedRows) {
        for (const bool isWorker : {false, true}) {
            SCOPED_TRACE(std::string(row.name) +
                         (isWorker ? " from a worker page" : " from a render page"));
            const bool served = row.hostOp && (row.slots & (isWorker ? kWorker : kRender)) != 0;
            host.ClearCalls();
            host.TakePending();
            ScopedLogCapture log;
            ScopedReportCapture reports;
            Json::Value answer(Json::objectValue);
            const bool handled = RunCall("JSCallNative", ProbeCall(row.name, isWorker), answer);

            if (!served) {
                EXPECT_FALSE(handled);
                EXPECT_EQ(answer, ParseJson(R"({"NoNeedUnifyCallBack":true,
                                               "message":"Invalid method.","support":false})"));
                EXPECT_TRUE(
                    log->Contains(std::string("[MoxH5] Failed to find method ") + row.name));
                EXPECT_TRUE(host.Calls().empty());
                EXPECT_TRUE(reports->Reports().empty());
                continue;
            }
            EXPECT_TRUE(handled);
            const std::vector<HostCall> calls = host.Calls();
            ASSERT_EQ(calls.size(), 1u);
            EXPECT_EQ(calls[0].op, row.hostOp);
            ASSERT_EQ(reports->Reports().size(), 1u);
            const WorkbenchReportRecord usage = reports->Reports()[0];
            EXPECT_EQ(usage.id, 91936);
            EXPECT_EQ(usage.tags.at("method"), row.name);
            EXPECT_EQ(usage.tags.at("worker"), isWorker ? "1" : "0");
            EXPECT_EQ(answer.isMember("NoNeedUnifyCallBack"), !row.unified);
            if (!row.unified) {
                EXPECT_EQ(answer["NoNeedUnifyCallBack"], true);
            }
            EXPECT_EQ(answer.isMember("AsynExec"), row.later);
            EXPECT_FALSE(answer.isMember("message")) << answer.toStyledString();
        }
    }
}

// Test that names match exactly: a change of letter case is another, unknown name.
TEST(NativeTable, NamesDifferingInCaseAreUnknown) {
    RecordingHost host;
    ScopedActionInterface installed(&host);
    ScopedLogCapture log;
    H5NativeWorker worker;
    for (const char* name : {"addUserBlackList", "ShowToast", "showtoast", "mainFrameShowTip",
                             "feedBack", "sendFastReply", ""}) {
        Json::Value answer;
        EXPECT_FALSE(RunCall("JSCallNative", ProbeCall(name, false), answer)) << name;
        EXPECT_EQ(answer["message"], "Invalid method.") << name;
        EXPECT_FALSE(worker.Exist(name)) << name;
    }
    EXPECT_TRUE(host.Calls().empty());
}

}  // namespace
}  // namespace moxh5::test
