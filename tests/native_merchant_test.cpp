// Tests of the native merchant tools: conversations, help dialogs, small-amount
// money, links, downloads and page reports.
#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>

#include "modules/native/H5NativeWorker.h"
#include "tests/fakes/native_case.h"

namespace moxh5::test {
namespace {

// Answers of handlers that answer through the unified callback (no flag kept).
constexpr char kNothing[] = "{}";
constexpr char kInvalidParamNow[] = R"({"message":"Invalid param."})";
#define KEPT_AND(text) R"({"NoNeedUnifyCallBack":true,"message":")" text R"("})"
#define PAY_OFF "\u6682\u4e0d\u652f\u6301\u5c0f\u989d\u6253\u6b3e\u529f\u80fd"
#define COLLECT_OFF "\u6682\u4e0d\u652f\u6301\u5c0f\u989d\u6536\u6b3e\u529f\u80fd"
#define DOWNLOAD R"("action":"download","user":"cs-1","role":"cs")"

// The thirteen, each with a call it accepts and the operation that call reaches.
struct Accepted {
    const char* method;
    const char* params;
    const char* hostOp;
};
const Accepted kAccepted[] = {
    {"AddUserBlackList", R"({"currentUid":"b-2"})", "AddUserToBlackList"},
    {"HelpLinkTipsShow", R"({"orderSequenceNo":"o-1"})", "ShowHelpLinkDlg"},
    {"HelpBuyModalShow", R"({"goodsInfo":{"goods_id":1}})", "ShowHelpBuyModal"},
    {"littleMoney", R"({"operateName":"lookRule"})", "OpenLittleMoney"},
    {"openWebUseBrowser", R"({"targetUrl":"openexternalclient://chat?a=1"})", "OpenClientLink"},
    {"shareGoodsUrl", R"({"goodsUrl":"https://g.example/1"})", "ShareGoodsUrl"},
    {"downloadFile", "{" DOWNLOAD R"(,"node":{"download_url":"u"}})", "DownloadFile"},
    {"openNewConversation", R"({"orderSn":"o-1"})", "OpenNewConversation"},
    {"unReadMsgCount", R"({"unreadUrgentMsgCount":0})", "UpdateUnreadMessageCount"},
    {"merchantLoadFinish", "{}", "MerchantLoadFinished"},
    {"httpError", R"({"response":{"status":502}})", "ReportHttpError"},
    {"updateKeysSetOfWindows", R"({"robot_learn_guide":false})", "UpdateWindowsKey"},
    {"workOrderReminder", R"({"count":3})", "RemindWorkOrder"},
};

const H5NativeWorker::MethodRow& RowOf(const std::string& method) {
    for (const H5NativeWorker::MethodRow& row : H5NativeWorker::kMethodRows) {
        if (method == row.name) return row;
    }
    throw std::logic_error("no row " + method);
}

// Test that each of the thirteen answers a well-formed call through its operation, and refuses
// a null request, a missing action interface and malformed params with the shared texts.
TEST(NativeMerchant, AllThirteenShareTheGuardAndReachTheirOperation) {
    for (const Accepted& a : kAccepted) {
        const H5NativeWorker::MethodRow& row = RowOf(a.method);
        const std::string kept = row.unified ? "{" : R"({"NoNeedUnifyCallBack":true,)";
        const std::string accepted =
            row.unified ? (row.mayAnswerLater ? R"({"AsynExec":true})" : kNothing) : kKeptFlag;
        const std::string withParams = std::string("{\"params\":") + a.params + "}";
        const std::string noHost = kept + R"("message":"Native impl instance is null."})";
        const std::string badParams = kept + R"("message":"Invalid params."})";
        ExpectNativeCase({a.method, withParams.c_str(), true, accepted.c_str(), a.hostOp, "{}"});
        ExpectNativeCase(
            {a.method, withParams.c_str(), false, noHost.c_str(), nullptr, nullptr, kNoHost});
        // Only the page-loaded report reads no params at all.
        if (std::strcmp(a.method, "merchantLoadFinish") == 0) {
            ExpectNativeCase({a.method, R"({"params":"x"})", true, kKeptFlag, a.hostOp, "{}"});
        } else {
            ExpectNativeCase(
                {a.method, R"({"params":"x"})", false, badParams.c_str(), nullptr, nullptr});
        }
        ScopedLogCapture log;
        Json::Value answer(Json::objectValue);
        EXPECT_FALSE(row.handler(nullptr, answer)) << a.method;
        EXPECT_EQ(Compact(answer), "{}") << a.method;
        EXPECT_TRUE(log->Contains(std::string("[MoxH5] false in H5NativeWorker::")));
    }
}

const NativeCase kCases[] = {
    // A conversation needs an order: without one the merchant sees the failure toast.
    {"openNewConversation", R"({"params":{"orderSn":"o-1","mallId":"m-9"}})", true,
     R"({"AsynExec":true})", "OpenNewConversation",
     R"({"orderSn":"o-1","mallId":"m-9","page":{"isWorker":true,"webindex":7,
         "mallcsid":"mall-1|cs-1","callbackid":"cb-1","workerid":"worker-9"}})",
     kFromWorker},
    {"openNewConversation", R"({"params":{"orderSn":"o-1"}})", false, kNothing,
     "OpenNewConversation", R"({"mallId":""})", kHostRefuses},
    {"openNewConversation", R"({"params":{"orderSn":"","mallId":"m-9"}})", false,
     R"({"message":"orderSn is empty."})", "ShowToast",
     R"({"kind":2,"durationMs":1500,"text":"\u5f00\u542f\u804a\u5929\u5931\u8d25\uff0c)"
     R"(\u53c2\u6570\u4e0d\u6b63\u786e"})"},
    // Unread urgent messages: a whole number, zero or more.
    {"unReadMsgCount", R"({"params":{"unreadUrgentMsgCount":3.0}})", true, kNothing,
     "UpdateUnreadMessageCount", R"({"unreadUrgentMsgCount":3})", kFromWorker},
    {"unReadMsgCount", R"({"params":{"unreadUrgentMsgCount":-1}})", false, kInvalidParamNow,
     nullptr, nullptr},
    {"unReadMsgCount", R"({"params":{"unreadUrgentMsgCount":"3"}})", false, kInvalidParamNow,
     nullptr, nullptr},
    // The blacklist takes the page's buyer, else the current conversation's.
    {"AddUserBlackList", R"({"params":{}})", true, kKeptFlag, "AddUserToBlackList",
     R"({"uid":"buyer-1"})"},
    {"AddUserBlackList", R"({"params":{"currentUid":""}})", false, kFlagAndInvalidParam, nullptr,
     nullptr, kNoUserCenter},
    {"AddUserBlackList", R"({"params":{"currentUid":"b-2"}})", true, kKeptFlag,
     "AddUserToBlackList", R"({"uid":"b-2"})", kNoUserCenter},
    // The help-link dialog: an order, for the account in front of the merchant.
    {"HelpLinkTipsShow", R"({"params":{"from":"order_list","orderSequenceNo":"o-1"}})", true,
     kKeptFlag, "ShowHelpLinkDlg", R"({"from":"order_list","orderSequenceNo":"o-1"})"},
    {"HelpLinkTipsShow", R"({"params":{"from":"order_list"}})", false, kFlagAndInvalidParam,
     nullptr, nullptr},
    {"HelpLinkTipsShow", R"({"params":{"orderSequenceNo":"o-1"}})", false,
     KEPT_AND("Not current account"), nullptr, nullptr, kOtherSession},
    {"HelpLinkTipsShow", R"({"params":{"orderSequenceNo":"o-1"}})", false,
     KEPT_AND("Not current account"), nullptr, nullptr, kNoUserCenter},
    // The help-buy modal needs goods that name something.
    {"HelpBuyModalShow", R"({"params":{"goodsInfo":{}}})", false, kFlagAndInvalidParam, nullptr,
     nullptr},
    // Small amounts: paying and collecting behind their switch, the rules always.
    {"littleMoney", R"({"params":{"orderGoodsList":[{"id":1}]}})", true, kKeptFlag,
     "OpenLittleMoney", R"({"operation":"","orderGoodsList":[{"id":1}]})", kSwitchOn},
    {"littleMoney", R"({"params":{"operateName":"gethering","orderGoodsList":[2]}})", true,
     kKeptFlag, "OpenLittleMoney", R"({"operation":"gethering","orderGoodsList":[2]})", kSwitchOn},
    {"littleMoney", R"({"params":{"orderGoodsList":[1]}})", false, KEPT_AND(PAY_OFF), nullptr,
     nullptr},
    {"littleMoney", R"({"params":{"operateName":"gethering"}})", false, KEPT_AND(COLLECT_OFF),
     nullptr, nullptr},
    {"littleMoney", R"({"params":{"operateName":"lookRule"}})", true, kKeptFlag, "OpenLittleMoney",
     R"({"operation":"lookRule","orderGoodsList":null})"},
    {"littleMoney", R"({"params":{"orderGoodsList":[]}})", false, kFlagAndInvalidParam, nullptr,
     nullptr, kSwitchOn},
    {"littleMoney", R"({"params":{"operateName":"refund","orderGoodsList":[1]}})", false,
     kFlagAndInvalidParam, nullptr, nullptr, kSwitchOn},
    {"littleMoney", R"({"params":{"operateName":1,"orderGoodsList":[1]}})", false,
     kFlagAndInvalidParam, nullptr, nullptr, kSwitchOn},
    // Web links open in the system's browser; client links go to the host, rewritten.
    {"openWebUseBrowser", R"({"params":{"targetUrl":"HTTPS://shop.example/\u8ba2\u5355"}})", true,
     kNothing, "ShellOpen", R"({"target":"HTTPS://shop.example/\u8ba2\u5355"})", kFromWorker},
    {"openWebUseBrowser", R"({"params":{"targetUrl":"http://shop.example/"}})", false, kNothing,
     "ShellOpen", nullptr, kHostRefuses},
    {"openWebUseBrowser", R"({"params":{"targetUrl":"file:///etc/passwd"}})", false,
     kInvalidParamNow, nullptr, nullptr},
    {"openWebUseBrowser", R"({"params":{"targetUrl":"calc.exe"}})", false, kInvalidParamNow,
     nullptr, nullptr},
    {"openWebUseBrowser", R"({"params":{"targetUrl":"https://"}})", false, kInvalidParamNow,
     nullptr, nullptr},
    {"openWebUseBrowser",
     R"({"params":{"targetUrl":"openexternalclient://order/detail?sn=1","targetUrlType":2,
         "msg_id":"m-7"}})",
     true, kNothing, "OpenClientLink",
     R"({"link":"moxclient://open/order/detail?sn=1&mallId=mall-1","targetUrlType":2,
         "msgId":"m-7"})"},
    {"openWebUseBrowser", R"({"params":{"targetUrl":"openexternalclient://x?a=1"}})", false,
     kNothing, nullptr, nullptr, kNoUserCenter},
    {"openWebUseBrowser", R"({"params":{"targetUrl":"https://shop.example/"}})", true, kNothing,
     "ShellOpen", nullptr, kNoHost},
    // Sharing a goods link needs the link.
    {"shareGoodsUrl", R"({"params":{"goodsUrl":""}})", false, kFlagAndInvalidParam, nullptr,
     nullptr},
    // Downloads: what, for whom, and only for the page's own mall or account.
    {"downloadFile",
     R"({"params":{)" DOWNLOAD R"(,"node":{"download_url":"u","file_name":"a.xlsx"}}})", true,
     kKeptFlag, "DownloadFile", R"({"downloadUrl":"u","fileName":"a.xlsx"})"},
    {"downloadFile",
     R"({"params":{"action":"download","user":"mall-1","role":"mall","node":{"download_url":"u"}}})",
     false, kKeptFlag, "DownloadFile", R"({"fileName":""})", kHostRefuses},
    {"downloadFile",
     R"({"params":{"action":"download","user":"cs-2","role":"cs","node":{"download_url":"u"}}})",
     false, KEPT_AND("invalid_param"), nullptr, nullptr},
    {"downloadFile",
     R"({"params":{"action":"download","user":"cs-1","role":"boss","node":{"download_url":"u"}}})",
     false, KEPT_AND("invalid_param"), nullptr, nullptr},
    {"downloadFile", R"({"params":{)" DOWNLOAD R"(,"node":{"download_url":"u"}}})", false,
     KEPT_AND("invalid_param"), nullptr, nullptr, kNoUserCenter},
    {"downloadFile",
     R"({"params":{"action":"upload","user":"cs-1","role":"cs","node":{"download_url":"u"}}})",
     false, KEPT_AND("invalid_param"), nullptr, nullptr},
    {"downloadFile", R"({"params":{)" DOWNLOAD R"(,"node":{"file_name":"a"}}})", false,
     KEPT_AND("invalid_data"), nullptr, nullptr},
    {"downloadFile", R"({"params":{)" DOWNLOAD R"(,"node":"u"}})", false, KEPT_AND("invalid_data"),
     nullptr, nullptr},
    // Page reports.
    {"httpError", R"({"params":{"response":"timeout"}})", true, kKeptFlag, "ReportHttpError",
     R"({"response":"timeout"})"},
    {"httpError", R"({"params":{"response":null}})", false, kFlagAndInvalidParam, nullptr, nullptr},
    {"updateKeysSetOfWindows", R"({"params":{"robot_learn_guide":true}})", true, kKeptFlag,
     "UpdateWindowsKey", R"({"group":"Guide","key":"ShowRobotLearnGuide","value":true})",
     kFromWorker},
    {"updateKeysSetOfWindows", R"({"params":{"robot_learn_guide":"yes"}})", false,
     kFlagAndInvalidParam, nullptr, nullptr},
    {"workOrderReminder", R"({"params":{"count":3,"ids":["w-1"]}})", false, kKeptFlag,
     "RemindWorkOrder", R"({"params":{"count":3,"ids":["w-1"]}})", kHostRefuses},
};

// Test each row: what reaches the host, its result, and each documented failure text.
TEST(NativeMerchant, CallsAnswerAndReachTheHostAsListed) {
    for (const NativeCase& c : kCases) ExpectNativeCase(c);
}

// Test that an opened conversation answers the page when the host finishes.
TEST(NativeMerchant, ConversationAnswersThePageLater) {
    RecordingHost host;
    ScopedActionInterface installed(&host);
    ScopedReportCapture reports;
    Json::Value answer;
    ASSERT_TRUE(RunCall("JSCallNative",
                        MakeCall("openNewConversation", ParseJson(R"({"orderSn":"o-1"})")),
                        answer));
    EXPECT_EQ(host.CompleteAll(true, ParseJson(R"({"data":{"uid":"b-1"}})")), 1u);
    const std::vector<HostCall> delivered = host.CallsOf("RenderJsCallback");
    ASSERT_EQ(delivered.size(), 1u);
    EXPECT_EQ(delivered[0].args["callId"], "cb-1");
    EXPECT_EQ(ParseJson(delivered[0].args["data"].asString()),
              ParseJson(R"({"success":true,"message":"success","data":{"uid":"b-1"}})"));
}

// Test that a host without a deep-link prefix takes no client links.
TEST(NativeMerchant, ClientLinksNeedTheHostsPrefix) {
    RecordingHost host;
    ScopedActionInterface installed(&host);
    ScopedUserCenter users(&host);
    ScopedReportCapture reports;
    ScopedLogCapture log;
    Json::Value answer;
    EXPECT_FALSE(RunCall(
        "JSCallNative",
        MakeCall("openWebUseBrowser", ParseJson(R"({"targetUrl":"openexternalclient://x"})")),
        answer));
    EXPECT_EQ(HostActions(host).size(), 0u);
    EXPECT_TRUE(log->Contains("[MoxH5] false in H5NativeWorker::openWebUseBrowser"));
}

}  // namespace
}  // namespace moxh5::test
