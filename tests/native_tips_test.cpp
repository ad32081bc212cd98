// Tests of the native toasts, tips, windows and easy windows.
#include <gtest/gtest.h>

#include <memory>
#include <thread>

#include "modules/native/H5NativeWorker.h"
#include "tests/fakes/native_case.h"

namespace moxh5::test {
namespace {

#define EASY_WND                                                                               \
    R"("title":"\u65b0\u6d88\u606f","content":"c","scene":"order","frequency":{"interval":3,)" \
    R"("dimensions":"user"},"left":{"text":"No"},"right":{"text":"Yes","action":"open"})"
#define TIP R"("content":"c","leftButtonText":"No","rightButtonText":"Yes")"

const NativeCase kCases[] = {
    // Toast kinds outside 1..3 become 1; durations outside 1..3000 ms become 1500.
    {"showToast", R"({"params":{"type":3,"duration":1,"content":"ok"}})", true, "{}", "ShowToast",
     R"({"kind":3,"durationMs":1,"text":"ok","length":2})"},
    {"showToast", R"({"params":{"type":1,"duration":3000}})", true, "{}", "ShowToast",
     R"({"kind":1,"durationMs":3000,"text":"","length":0})"},
    {"showToast", R"({"params":{"type":4,"duration":3001}})", true, "{}", "ShowToast",
     R"({"kind":1,"durationMs":1500})"},
    {"showToast", R"({"params":{"type":-2147483648,"duration":-5}})", true, "{}", "ShowToast",
     R"({"kind":1,"durationMs":1500})"},
    {"showToast", R"({"params":{"type":"2","content":"\u4f60\u597d"}})", true, "{}", "ShowToast",
     R"({"kind":1,"durationMs":1500,"text":"\u4f60\u597d","length":6})", kFromWorker},
    {"showToast", R"({"params":{}})", false, R"({"message":"Native impl instance is null."})",
     nullptr, nullptr, kNoHost},
    {"showToast", R"({"params":"x"})", false, R"({"message":"Invalid params."})", nullptr, nullptr},
    // The main frame's tip always lasts 1500 ms.
    {"MainFrameShowTip", R"({"params":{"toastType":2,"toastMsg":"saved","duration":2000}})", true,
     R"({"NoNeedUnifyCallBack":true})", "ShowToast",
     R"({"kind":2,"durationMs":1500,"text":"saved"})"},
    {"MainFrameShowTip", R"({"params":{"toastType":4}})", true, R"({"NoNeedUnifyCallBack":true})",
     "ShowToast", R"({"kind":1,"durationMs":1500,"text":""})"},
    {"MainFrameShowTip", R"({})", false,
     R"({"NoNeedUnifyCallBack":true,"message":"Invalid params."})", nullptr, nullptr},
    // A tip without a title is titled "提示"; it answers later.
    {"showCommonTip", R"({"params":{"title":"Delete?",)" TIP "}}", true, R"({"AsynExec":true})",
     "ShowCommonTip", R"({"isWorker":false,"title":"Delete?",)" TIP "}"},
    {"showCommonTip", R"({"params":{"title":"",)" TIP "}}", true, R"({"AsynExec":true})",
     "ShowCommonTip", R"({"isWorker":true,"title":"\u63d0\u793a",)" TIP "}", kFromWorker},
    {"showCommonTip", R"({"params":{"title":7}})", true, R"({"AsynExec":true})", "ShowCommonTip",
     R"({"title":"\u63d0\u793a","content":"","leftButtonText":"","rightButtonText":""})"},
    {"showCommonTip", R"({"params":{}})", false, R"({"message":"Native impl instance is null."})",
     nullptr, nullptr, kNoHost},
    // A window needs all four keys, whatever their values.
    {"openWindow", R"({"params":{"title":null,"url":"u","width":"w","height":null}})", true,
     R"({"NoNeedUnifyCallBack":true})", "OpenWindow",
     R"({"params":{"title":null,"url":"u","width":"w","height":null}})"},
    {"openWindow", R"({"params":{"title":"t","url":"u","width":1,"height":2}})", false,
     R"({"NoNeedUnifyCallBack":true})", "OpenWindow", nullptr, kHostRefuses},
    {"openWindow", R"({"params":{"title":"t","url":"u","width":1}})", false,
     R"({"NoNeedUnifyCallBack":true,"message":"Invalid param."})", nullptr, nullptr},
    // The easy window: behind its switch, bound into its record, answered later.
    {"showEasyWnd", R"({"params":{)" EASY_WND R"(,"extra":[1]}})", true, R"({"AsynExec":true})",
     "ShowEasyWnd",
     R"({"isWorker":true,"webindex":7,"callbackid":"cb-1","param":{)" EASY_WND
     R"(,"left":{"text":"No","action":""}}})",
     kFromWorker | kSwitchOn},
    {"showEasyWnd", R"({"params":{)" EASY_WND "}}", false, R"({"message":"Not enabled"})", nullptr,
     nullptr},
    {"showEasyWnd", R"({"params":{)" EASY_WND R"(,"scene":""}})", false,
     R"({"message":"Invalid Param."})", nullptr, nullptr, kSwitchOn},
    {"showEasyWnd", R"({"params":{)" EASY_WND R"(,"frequency":{"interval":"3"}}})", false,
     R"({"message":"Invalid Param."})", nullptr, nullptr, kSwitchOn},
    {"showEasyWnd", R"({"params":{)" EASY_WND "}}", false,
     R"({"message":"Native impl instance is null."})", nullptr, nullptr, kSwitchOn | kNoHost},
    {"showEasyWnd", R"({"params":[]})", false, R"({"message":"Invalid params."})", nullptr, nullptr,
     kSwitchOn},
};

// Test each row: clamps, defaults, switch, binding and the distinct failure texts.
TEST(NativeTips, CallsAnswerAndReachTheHostAsListed) {
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

// Test the log lines: under the worker's file name, the binder's reason, the refused params text.
TEST(NativeTips, LogLinesNameTheWorkerAndTheFault) {
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

    RunCall("JSCallNative",
            NativeCaseCall({"showEasyWnd", R"({"params":{"title":"t","content":"c","scene":5}})",
                            false, "", nullptr, nullptr, kSwitchOn}),
            answer);
    EXPECT_TRUE(log->Contains("[MoxH5] Web req showEasyWnd content: {"));
    EXPECT_TRUE(
        log->Contains("AJson to object failed, caller: showEasyWnd, error: not a valid "
                      "string!, error at line :"));
    const auto refused = log->Matching("parse EasyWndParam failed, {");
    ASSERT_EQ(refused.size(), 1u);
    EXPECT_NE(refused[0].text.find("\"scene\" : 5"), std::string::npos) << refused[0].text;

    for (const H5NativeWorker::Handler handler :
         {&H5NativeWorker::showToast, &H5NativeWorker::mainFrameShowTip,
          &H5NativeWorker::showCommonTip, &H5NativeWorker::openWindow,
          &H5NativeWorker::showEasyWnd}) {
        Json::Value untouched(Json::objectValue);
        EXPECT_FALSE(handler(nullptr, untouched));
        EXPECT_EQ(untouched, Json::Value(Json::objectValue));
    }
    EXPECT_EQ(log->Matching("[MoxH5] false in H5NativeWorker::").size(), 5u);
}

}  // namespace
}  // namespace moxh5::test
