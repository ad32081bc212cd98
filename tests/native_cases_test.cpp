// Native calls, table-driven: what a page sends, the result, the answer the
// host reads, and the one host operation reached with its arguments. The
// everyday calls are in the native transcripts; these rows hold the edges,
// the refusals and what the host's failures make of a call.
#include <gtest/gtest.h>

#include <memory>
#include <thread>

#include "modules/native/H5NativeWorker.h"
#include "tests/fakes/native_case.h"

namespace moxh5::test {
namespace {

constexpr char kNothing[] = "{}";
constexpr char kInvalidParamNow[] = R"({"message":"Invalid param."})";
#define KEPT_AND(text) R"({"NoNeedUnifyCallBack":true,"message":")" text R"("})"
#define DOWNLOAD R"("action":"download","user":"cs-1","role":"cs")"
#define PARAMS R"({"replyMessage":{"content":"hi"},"k":1})"
#define EASY_WND                                                                               \
    R"("title":"\u65b0\u6d88\u606f","content":"c","scene":"order","frequency":{"interval":3,)" \
    R"("dimensions":"user"},"left":{"text":"No"},"right":{"text":"Yes","action":"open"})"

const NativeCase kCases[] = {
    // Messages, quick replies, reports: the request or its piece of it goes to the host.
    {"ImportQuickReply", "{}", false, kKeptFlag, "ImportQuickReply", "{}", kHostRefuses},
    {"BusinessReport", R"({"params":"x"})", true, kKeptFlag, "BusinessReport", "{}"},
    {"sendGoodsListRichContent", "{\"params\":" PARAMS "}", false, kKeptFlag, "SendRichContent",
     "{\"params\":" PARAMS "}", kHostRefuses},
    {"sendFaseReply", R"({"params":{"replyMessage":{"content":5}}})", true, kKeptFlag,
     "SendFaseReply", R"({"reply":""})"},
    // The sending methods need object params.
    {"sendRichContent", R"({"params":[1]})", false, kFlagAndInvalidParams, nullptr, nullptr},
    {"sendGoodsListRichContent", "{}", false, kFlagAndInvalidParams, nullptr, nullptr},
    // Goods: the link as UTF-8, the name in the platform's wide encoding.
    {"shareGoods", R"({"params":{"goodsInfo":{"goods_name":1,"share_url":true}}})", false,
     kKeptFlag, "ShareGoods", R"({"shareUrl":"","goodsName":""})", kHostRefuses},
    // Page life cycle and the message list.
    // A loaded worker page is announced with its name, empty when absent or not a string.
    {"workerOnLoad", R"({"params":{"pageName":12}})", false, kKeptFlag, "WorkerOnLoad",
     R"({"pageName":""})", kFromWorker | kHostRefuses},
    {"workerOnLoad", R"({"params":["a"]})", false, kFlagAndInvalidParams, nullptr, nullptr,
     kFromWorker},
    {"workerOnLoad", R"({"params":{}})", false, kFlagAndNoHost, nullptr, nullptr,
     kFromWorker | kNoHost},
    // The message list gets the whole call, params or not.
    {"updateMsg", R"({"msgId":"m-1"})", true, kKeptFlag, "UpdateMsg",
     R"({"payload":{"method":"updateMsg","msgId":"m-1"}})"},
    {"updateMsg", R"({"params":5})", false, kKeptFlag, "UpdateMsg",
     R"({"payload":{"method":"updateMsg","params":5}})", kFromWorker | kHostRefuses},
    {"logisticOrderSelect", R"({"callID":9,"params":{"order":"o-1"}})", true, kKeptFlag,
     "LogisticOrderSelect",
     R"({"payload":{"method":"logisticOrderSelect","callID":9,"params":{"order":"o-1"}},
         "webindex":7,"callId":9})"},
    {"logisticOrderSelect", R"({"params":{"callID":9}})", false, kKeptFlag, "LogisticOrderSelect",
     R"({"callId":0})", kHostRefuses},
    // Locating a message needs object params ("Invalid param.", singular).
    {"locateMessage", R"({"params":{"msgId":"m-9"}})", true, kKeptFlag, "LocateMessage",
     R"({"params":{"msgId":"m-9"}})", kFromWorker},
    {"locateMessage", R"({"params":"m-9"})", false, kFlagAndInvalidParam, nullptr, nullptr},
    // Queries the host answers under the page's top-level "callID"; one not at the top level or
    // out of range is the default id 0, and the host is still asked.
    {"getCurrentCustomerInfo", R"({"params":{"callID":42}})", true, kKeptFlag,
     "GetCurrentCustomerInfo", R"({"callId":0})"},
    {"getTesselActions", R"({"callID":4294967296})", true, kKeptFlag, "GetTesselActions",
     R"({"callId":0})"},
    {"getCurrentCustomerInfo", R"({"callID":7,"params":"x"})", false, kKeptFlag,
     "GetCurrentCustomerInfo", R"({"callId":7})", kHostRefuses},
    {"openNewConversation", R"({"params":{"orderSn":"o-1"}})", false, kNothing,
     "OpenNewConversation", R"({"mallId":""})", kHostRefuses},
    // Unread urgent messages: a whole number, zero or more.
    {"unReadMsgCount", R"({"params":{"unreadUrgentMsgCount":3.0}})", true, kNothing,
     "UpdateUnreadMessageCount", R"({"unreadUrgentMsgCount":3})", kFromWorker},
    {"unReadMsgCount", R"({"params":{"unreadUrgentMsgCount":"3"}})", false, kInvalidParamNow,
     nullptr, nullptr},
    // The blacklist takes the page's buyer, else the current conversation's.
    {"AddUserBlackList", R"({"params":{"currentUid":""}})", false, kFlagAndInvalidParam, nullptr,
     nullptr, kNoUserCenter},
    {"AddUserBlackList", R"({"params":{"currentUid":"b-2"}})", true, kKeptFlag,
     "AddUserToBlackList", R"({"uid":"b-2"})", kNoUserCenter},
    // The help-link dialog: an order, for the account in front of the merchant.
    {"HelpLinkTipsShow", R"({"params":{"from":"order_list"}})", false, kFlagAndInvalidParam,
     nullptr, nullptr},
    {"HelpLinkTipsShow", R"({"params":{"orderSequenceNo":"o-1"}})", false,
     KEPT_AND("Not current account"), nullptr, nullptr, kNoUserCenter},
    // Small amounts: goods to pay for, and only paying, collecting or the rules.
    {"littleMoney", R"({"params":{"orderGoodsList":[]}})", false, kFlagAndInvalidParam, nullptr,
     nullptr, kSwitchOn},
    {"littleMoney", R"({"params":{"operateName":"refund","orderGoodsList":[1]}})", false,
     kFlagAndInvalidParam, nullptr, nullptr, kSwitchOn},
    // Web links open in the system's browser, whatever the host; nothing else does.
    {"openWebUseBrowser", R"({"params":{"targetUrl":"HTTPS://shop.example/\u8ba2\u5355"}})", true,
     kNothing, "ShellOpen", R"({"target":"HTTPS://shop.example/\u8ba2\u5355"})",
     kFromWorker | kNoHost},
    {"openWebUseBrowser", R"({"params":{"targetUrl":"http://shop.example/"}})", false, kNothing,
     "ShellOpen", nullptr, kHostRefuses},
    {"openWebUseBrowser", R"({"params":{"targetUrl":"calc.exe"}})", false, kInvalidParamNow,
     nullptr, nullptr},
    {"openWebUseBrowser", R"({"params":{"targetUrl":"https://"}})", false, kInvalidParamNow,
     nullptr, nullptr},
    {"openWebUseBrowser", R"({"params":{"targetUrl":"openexternalclient://x?a=1"}})", false,
     kNothing, nullptr, nullptr, kNoUserCenter},
    {"openWebUseBrowser", R"({"params":{"targetUrl":"openexternalclient://x?a=1"}})", false,
     kNothing, nullptr, nullptr, kNoLinkPrefix},
    // Downloads: what, for whom, and only for the page's own mall or account.
    {"downloadFile",
     R"({"params":{"action":"download","user":"mall-1","role":"mall","node":{"download_url":"u"}}})",
     false, kKeptFlag, "DownloadFile", R"({"fileName":""})", kHostRefuses},
    {"downloadFile",
     R"({"params":{"action":"download","user":"cs-1","role":"boss","node":{"download_url":"u"}}})",
     false, KEPT_AND("invalid_param"), nullptr, nullptr},
    {"downloadFile", R"({"params":{)" DOWNLOAD R"(,"node":{"download_url":"u"}}})", false,
     KEPT_AND("invalid_param"), nullptr, nullptr, kNoUserCenter},
    {"downloadFile",
     R"({"params":{"action":"upload","user":"cs-1","role":"cs","node":{"download_url":"u"}}})",
     false, KEPT_AND("invalid_param"), nullptr, nullptr},
    {"downloadFile", R"({"params":{)" DOWNLOAD R"(,"node":"u"}})", false, KEPT_AND("invalid_data"),
     nullptr, nullptr},
    // Page reports.
    {"httpError", R"({"params":{"response":null}})", false, kFlagAndInvalidParam, nullptr, nullptr},
    {"updateKeysSetOfWindows", R"({"params":{"robot_learn_guide":"yes"}})", false,
     kFlagAndInvalidParam, nullptr, nullptr},
    {"workOrderReminder", R"({"params":{"count":3,"ids":["w-1"]}})", false, kKeptFlag,
     "RemindWorkOrder", R"({"params":{"count":3,"ids":["w-1"]}})", kHostRefuses},
    // Toast kinds outside 1..3 become 1; durations outside 1..3000 ms become 1500.
    {"showToast", R"({"params":{"type":3,"duration":1,"content":"ok"}})", true, "{}", "ShowToast",
     R"({"kind":3,"durationMs":1,"text":"ok","length":2})"},
    {"showToast", R"({"params":{"type":4,"duration":3001}})", true, "{}", "ShowToast",
     R"({"kind":1,"durationMs":1500})"},
    {"showToast", R"({"params":{"type":-2147483648,"duration":-5}})", true, "{}", "ShowToast",
     R"({"kind":1,"durationMs":1500})"},
    {"showToast", R"({"params":{"type":"2","content":"\u4f60\u597d"}})", true, "{}", "ShowToast",
     R"({"kind":1,"durationMs":1500,"text":"\u4f60\u597d","length":6})", kFromWorker},
    // The main frame's tip always lasts 1500 ms.
    {"MainFrameShowTip", R"({"params":{"toastType":4}})", true, R"({"NoNeedUnifyCallBack":true})",
     "ShowToast", R"({"kind":1,"durationMs":1500,"text":""})"},
    {"MainFrameShowTip", R"({})", false,
     R"({"NoNeedUnifyCallBack":true,"message":"Invalid params."})", nullptr, nullptr},
    // A tip without a string title is titled "提示"; it answers later.
    {"showCommonTip", R"({"params":{"title":7}})", true, R"({"AsynExec":true})", "ShowCommonTip",
     R"({"title":"\u63d0\u793a","content":"","leftButtonText":"","rightButtonText":""})"},
    // A window needs all four keys, whatever their values.
    {"openWindow", R"({"params":{"title":null,"url":"u","width":"w","height":null}})", true,
     R"({"NoNeedUnifyCallBack":true})", "OpenWindow",
     R"({"params":{"title":null,"url":"u","width":"w","height":null}})"},
    // The easy window: behind its switch, and refused unless its record binds.
    {"showEasyWnd", R"({"params":{)" EASY_WND "}}", false, R"({"message":"Not enabled"})", nullptr,
     nullptr},
    {"showEasyWnd", R"({"params":{)" EASY_WND R"(,"scene":""}})", false,
     R"({"message":"Invalid Param."})", nullptr, nullptr, kSwitchOn},
    {"showEasyWnd", R"({"params":{)" EASY_WND R"(,"frequency":{"interval":"3"}}})", false,
     R"({"message":"Invalid Param."})", nullptr, nullptr, kSwitchOn},
    // Local files: object params, and a "filePath" besides the URL.
    {"selectFile", R"({"params":"*.xlsx"})", false, R"({"message":"Invalid params."})", nullptr,
     nullptr},
    {"downloadRemoteFile", R"({"params":{"url":"https://x/r"}})", false,
     R"({"message":"Invalid param."})", nullptr, nullptr},
    // Navigation: a page name, and besides it all of "params" as JSON text.
    {"pageChange", R"({"params":{"page":"order"}})", false, R"({"message":"pagechange failed"})",
     "PageChange", nullptr, kHostRefuses},
    {"pageChange", R"({"params":null})", false, R"({"message":"Invalid params."})", nullptr,
     nullptr},
    // The body is not checked; no "message".
    {"sessionExpired", R"({"params":[]})", false, "{}", "SessionExpired", nullptr, kHostRefuses},
    // Shell links need no host; the shell's 33 is success, its 32 failure.
    {"windowsDownLoad", R"({"params":{"url":"https://dl/\u5b89\u88c5.exe"}})", true,
     R"({"message":"download ok"})", "ShellOpen", R"({"target":"https://dl/\u5b89\u88c5.exe"})",
     kNoHost},
    // A present "jump" goes to the shell even when empty or not a string.
    {"oneClickUpdate", R"({"params":{"jump":5}})", false, R"({"message":"update failed"})",
     "ShellOpen", R"({"target":""})", kHostRefuses},
    {"oneClickUpdate", R"({"params":{"url":"https://up/new"}})", false,
     R"({"message":"update failed"})", nullptr, nullptr},
    // Shielding needs object params.
    {"updateShielding", R"({"params":7})", false, kFlagAndInvalidParams, nullptr, nullptr},
};

// Test each row: what reaches the host, its result, and each documented failure text.
TEST(NativeCases, CallsAnswerAndReachTheHostAsListed) {
    for (const NativeCase& c : kCases) ExpectNativeCase(c);
}

// Test that the two tips answer the right page after the request is gone, from another thread.
TEST(NativeTips, CompletionsOutliveTheRequest) {
    for (const char* method : {"showCommonTip", "showEasyWnd"}) {
        for (const bool isWorker : {false, true}) {
            SCOPED_TRACE(std::string(method) + (isWorker ? " worker" : " render"));
            RecordingHost host;
            ScopedActionInterface installed(&host);
            auto call = std::make_unique<mox_h5_module_data>(
                NativeCaseCall({method, "{\"params\":{" EASY_WND "}}", true, "", nullptr, nullptr,
                                kSwitchOn | (isWorker ? kFromWorker : 0u)}));
            call->mallcsid = std::string(64, 'm');  // heap-held text, freed with the request
            Json::Value answer;
            ASSERT_TRUE(RunCall("JSCallNative", *call, answer));
            call.reset();

            std::thread later([&host] {
                Json::Value choice;
                choice["data"]["button"] = "right";
                EXPECT_EQ(host.CompleteAll(true, choice), 1u);
            });
            later.join();
            const auto sent = host.CallsOf(isWorker ? "WorkerJsCallback" : "RenderJsCallback");
            ASSERT_EQ(sent.size(), 1u);
            EXPECT_EQ(sent[0].args["mallcsid"], std::string(64, 'm'));
            EXPECT_EQ(sent[0].args["webindex"], 7);
            EXPECT_EQ(sent[0].args[isWorker ? "callbackid" : "callId"], "cb-1");
            EXPECT_EQ(
                ParseJson(sent[0].args["data"].asString()),
                ParseJson(R"({"success":true,"message":"success","data":{"button":"right"}})"));
        }
    }
}

// Test that the request trace is written at info with the whole payload, under the worker's file
// name and the handler's name.
TEST(NativeTips, TraceNamesTheWorkerAndTheHandler) {
    RecordingHost host;
    ScopedActionInterface installed(&host);
    ScopedLogCapture log;
    Json::Value answer;
    RunCall("JSCallNative", MakeCall("showToast", ParseJson(R"({"content":"hi"})")), answer);
    const auto trace = log->Matching("[MoxH5] Web req ShowToast content: {");
    ASSERT_EQ(trace.size(), 1u);
    EXPECT_EQ(trace[0].priority, LOG_PRIORITY_INFO);
    EXPECT_EQ(trace[0].file, "H5NativeWorker.cpp");
    EXPECT_EQ(trace[0].function, "H5NativeWorker::showToast");
    EXPECT_NE(trace[0].text.find(R"("content":"hi")"), std::string::npos) << trace[0].text;
}

}  // namespace
}  // namespace moxh5::test
