// Tests of the native toasts, tips, windows and easy windows.
#include <gtest/gtest.h>

#include <memory>
#include <thread>

#include "modules/native/H5NativeWorker.h"
#include "tests/fakes/bridge_fixture.h"
#include "tests/fakes/capture_sinks.h"

namespace moxh5::test {
namespace {

// "提示", the title of a tip whose page gives none.
const char kDefaultTitle[] = "\xE6\x8F\x90\xE7\xA4\xBA";

// A native call with the easy-window switch answered `switchOn`.
mox_h5_module_data CallWithSwitch(const std::string& method, const Json::Value& params,
                                  bool switchOn, bool isWorker = false) {
    mox_h5_module_data call = MakeCall(method, params, isWorker);
    call.configCallback = [switchOn](const std::string& key, const std::string&,
                                     const MoxConfigValue&) {
        return switchOn && key == "func_enable_h5_easy_wnd_327";
    };
    return call;
}

const char kEasyWnd[] = R"({"title":"\u65b0\u6d88\u606f","content":"c","scene":"order",
    "frequency":{"interval":3,"dimensions":"user"},"left":{"text":"No"},
    "right":{"text":"Yes","action":"open"},"extra":[1,2]})";

// Test the clamping of toast kinds and durations, and the text passed as bytes.
TEST(NativeTips, ShowToastClampsKindAndDuration) {
    const struct {
        const char* params;
        int kind;
        int durationMs;
        const char* text;
    } cases[] = {
        {R"({"type":3,"duration":1,"content":"ok"})", 3, 1, "ok"},
        {R"({"type":1,"duration":3000})", 1, 3000, ""},
        {R"({"type":0,"duration":0})", 1, 1500, ""},
        {R"({"type":4,"duration":3001})", 1, 1500, ""},
        {R"({"type":-1,"duration":-5})", 1, 1500, ""},
        {R"({"type":-2147483648,"duration":-2147483648})", 1, 1500, ""},
        {R"({"type":"2","content":"\u4f60\u597d"})", 1, 1500, "\xE4\xBD\xA0\xE5\xA5\xBD"},
        {R"({})", 1, 1500, ""},
    };
    for (const auto& c : cases) {
        RecordingHost host;
        ScopedActionInterface installed(&host);
        Json::Value answer;
        EXPECT_TRUE(RunCall("JSCallNative", MakeCall("showToast", ParseJson(c.params)), answer));
        EXPECT_EQ(answer, ParseJson("{}")) << "no flag, no message: " << c.params;
        const auto toasts = host.CallsOf("ShowToast");
        ASSERT_EQ(toasts.size(), 1u) << c.params;
        EXPECT_EQ(toasts[0].args["kind"], c.kind) << c.params;
        EXPECT_EQ(toasts[0].args["durationMs"], c.durationMs) << c.params;
        EXPECT_EQ(toasts[0].args["text"], c.text) << c.params;
        EXPECT_EQ(toasts[0].args["length"], std::string(c.text).size()) << c.params;
    }
}

// Test that the main frame's tip clamps its kind and always lasts 1500 ms.
TEST(NativeTips, MainFrameTipAlwaysLasts1500Ms) {
    const struct {
        const char* params;
        int kind;
        const char* text;
    } cases[] = {
        {R"({"toastType":2,"toastMsg":"saved","duration":2000})", 2, "saved"},
        {R"({"toastType":3})", 3, ""},
        {R"({"toastType":4,"toastMsg":"x"})", 1, "x"},
        {R"({"toastType":0})", 1, ""},
    };
    for (const auto& c : cases) {
        RecordingHost host;
        ScopedActionInterface installed(&host);
        Json::Value answer;
        EXPECT_TRUE(
            RunCall("JSCallNative", MakeCall("MainFrameShowTip", ParseJson(c.params)), answer));
        EXPECT_EQ(answer, ParseJson(R"({"NoNeedUnifyCallBack":true})")) << c.params;
        const auto toasts = host.CallsOf("ShowToast");
        ASSERT_EQ(toasts.size(), 1u) << c.params;
        EXPECT_EQ(toasts[0].args["kind"], c.kind) << c.params;
        EXPECT_EQ(toasts[0].args["durationMs"], 1500) << c.params;
        EXPECT_EQ(toasts[0].args["text"], c.text) << c.params;
    }
}

// Test the opening checks' texts for each method; the host is never reached.
TEST(NativeTips, OpeningChecksAnswerWithTheirOwnTexts) {
    const struct {
        const char* method;
        bool unified;
    } methods[] = {{"showToast", true},
                   {"MainFrameShowTip", false},
                   {"showCommonTip", true},
                   {"openWindow", false},
                   {"showEasyWnd", true}};
    RecordingHost host;
    for (const auto& m : methods) {
        SCOPED_TRACE(m.method);
        ScopedLogCapture log;
        Json::Value flag;
        if (!m.unified) flag["NoNeedUnifyCallBack"] = true;

        mox_h5_module_data call = CallWithSwitch(m.method, ParseJson(kEasyWnd), true);
        {
            ScopedActionInterface none(nullptr);
            Json::Value answer;
            EXPECT_FALSE(RunCall("JSCallNative", call, answer));
            Json::Value expected = flag;
            expected["message"] = "Native impl instance is null.";
            EXPECT_EQ(answer, expected);
            EXPECT_TRUE(log->Contains("[MoxH5] Callback is nullptr"));
        }
        ScopedActionInterface installed(&host);
        for (const char* payload : {R"({"method":"m","params":"text"})", R"({"method":"m"})"}) {
            call.payload = ParseJson(payload);
            call.payload["method"] = m.method;
            Json::Value answer;
            EXPECT_FALSE(RunCall("JSCallNative", call, answer)) << payload;
            Json::Value expected = flag;
            expected["message"] = "Invalid params.";
            EXPECT_EQ(answer, expected) << payload;
            EXPECT_TRUE(log->Contains("[MoxH5] Invalid params {")) << payload;
        }
        const auto invalid = log->Matching("[MoxH5] Invalid params");
        ASSERT_FALSE(invalid.empty());
        EXPECT_EQ(invalid[0].file, "H5NativeWorker.cpp")
            << "the worker's file, wherever the handler lives";
        EXPECT_EQ(
            invalid[0].function,
            std::string("H5NativeWorker::") +
                (m.method == std::string("MainFrameShowTip") ? "mainFrameShowTip" : m.method));
    }
    EXPECT_TRUE(host.Calls().empty());
}

// Test that a handler called without a request logs and leaves the answer alone.
TEST(NativeTips, NullRequestIsLoggedAndRefused) {
    ScopedLogCapture log;
    const struct {
        H5NativeWorker::Handler handler;
        const char* function;
    } handlers[] = {{&H5NativeWorker::showToast, "H5NativeWorker::showToast"},
                    {&H5NativeWorker::mainFrameShowTip, "H5NativeWorker::mainFrameShowTip"},
                    {&H5NativeWorker::showCommonTip, "H5NativeWorker::showCommonTip"},
                    {&H5NativeWorker::openWindow, "H5NativeWorker::openWindow"},
                    {&H5NativeWorker::showEasyWnd, "H5NativeWorker::showEasyWnd"}};
    for (const auto& h : handlers) {
        Json::Value answer(Json::objectValue);
        EXPECT_FALSE(h.handler(nullptr, answer)) << h.function;
        EXPECT_EQ(answer, Json::Value(Json::objectValue)) << h.function;
        EXPECT_TRUE(log->Contains(std::string("[MoxH5] false in ") + h.function)) << h.function;
    }
}

// Test the common tip's texts, default title, trace line and asynchronous answer.
TEST(NativeTips, CommonTipPassesTextsAndAnswersLater) {
    const struct {
        const char* params;
        const char* title;
    } cases[] = {
        {R"({"title":"Delete?","content":"c","leftButtonText":"No","rightButtonText":"Yes"})",
         "Delete?"},
        {R"({"title":"","content":"c","leftButtonText":"No","rightButtonText":"Yes"})",
         kDefaultTitle},
        {R"({"title":7,"content":"c","leftButtonText":"No","rightButtonText":"Yes"})",
         kDefaultTitle},
    };
    for (const auto& c : cases) {
        for (const bool isWorker : {false, true}) {
            RecordingHost host;
            ScopedActionInterface installed(&host);
            ScopedLogCapture log;
            Json::Value answer;
            EXPECT_TRUE(RunCall("JSCallNative",
                                MakeCall("showCommonTip", ParseJson(c.params), isWorker), answer));
            EXPECT_EQ(answer, ParseJson(R"({"AsynExec":true})")) << c.params;
            const auto tips = host.CallsOf("ShowCommonTip");
            ASSERT_EQ(tips.size(), 1u);
            EXPECT_EQ(
                tips[0].args,
                ParseJson(std::string(R"({"isWorker":)") + (isWorker ? "true" : "false") +
                          R"(,"title":")" + c.title +
                          R"(","content":"c","leftButtonText":"No","rightButtonText":"Yes"})"));
            EXPECT_TRUE(log->Contains("[MoxH5] Web req ShowCommonTip content: {"));
        }
    }
    RecordingHost host;
    ScopedActionInterface installed(&host);
    Json::Value answer;
    EXPECT_TRUE(RunCall("JSCallNative", MakeCall("showCommonTip"), answer));
    EXPECT_EQ(host.CallsOf("ShowCommonTip")[0].args["content"], "") << "no other defaults";
}

// Test that the tip's completion answers the right page after the request is gone, from another
// thread.
TEST(NativeTips, CommonTipCompletionOutlivesTheRequest) {
    for (const bool isWorker : {false, true}) {
        RecordingHost host;
        ScopedActionInterface installed(&host);
        auto call = std::make_unique<mox_h5_module_data>(
            MakeCall("showCommonTip", Json::objectValue, isWorker, "cb-tip"));
        call->mallcsid = std::string(64, 'm');  // too long for any small-string buffer
        Json::Value answer;
        EXPECT_TRUE(RunCall("JSCallNative", *call, answer));
        call.reset();

        std::thread later([&host] {
            Json::Value choice;
            choice["data"]["button"] = "right";
            EXPECT_EQ(host.CompleteAll(true, choice), 1u);
        });
        later.join();
        const auto delivered = host.CallsOf(isWorker ? "WorkerJsCallback" : "RenderJsCallback");
        ASSERT_EQ(delivered.size(), 1u);
        EXPECT_EQ(delivered[0].args["mallcsid"], std::string(64, 'm'));
        EXPECT_EQ(delivered[0].args["webindex"], 7);
        EXPECT_EQ(delivered[0].args[isWorker ? "callbackid" : "callId"], "cb-tip");
        EXPECT_EQ(ParseJson(delivered[0].args["data"].asString()),
                  ParseJson(R"({"success":true,"message":"success","data":{"button":"right"}})"));
    }
}

// Test that a window needs all four keys present, whatever their values.
TEST(NativeTips, OpenWindowNeedsAllFourKeys) {
    RecordingHost host;
    ScopedActionInterface installed(&host);
    ScopedLogCapture log;
    ScopedReportCapture reports;  // keeps usage reports out of the log
    const Json::Value complete =
        ParseJson(R"({"title":null,"url":"https://a.example/x","width":"wide","height":null})");
    Json::Value answer;
    EXPECT_TRUE(RunCall("JSCallNative", MakeCall("openWindow", complete), answer));
    ASSERT_EQ(host.CountOf("OpenWindow"), 1u);
    EXPECT_EQ(host.CallsOf("OpenWindow")[0].args["params"], complete);
    EXPECT_EQ(host.CallsOf("OpenWindow")[0].args["request"]["callbackid"], "cb-1");

    host.SetResult("OpenWindow", false);
    answer = Json::Value();
    EXPECT_FALSE(RunCall("JSCallNative", MakeCall("openWindow", complete), answer));
    EXPECT_EQ(answer, ParseJson(R"({"NoNeedUnifyCallBack":true})")) << "the host's refusal";

    host.ClearCalls();
    log->Clear();
    for (const char* key : {"title", "url", "width", "height"}) {
        Json::Value partial = complete;
        partial.removeMember(key);
        answer = Json::Value();
        EXPECT_FALSE(RunCall("JSCallNative", MakeCall("openWindow", partial), answer)) << key;
        EXPECT_EQ(answer, ParseJson(R"({"NoNeedUnifyCallBack":true,"message":"Invalid param."})"))
            << key;
    }
    EXPECT_TRUE(host.Calls().empty());
    EXPECT_TRUE(log->Records().empty()) << "refused without a log line";
}

// Test that the easy window stays off unless the switch is on, before anything else is looked at.
TEST(NativeTips, EasyWindowNeedsItsSwitch) {
    RecordingHost host;
    ScopedActionInterface installed(&host);
    ScopedLogCapture log;
    mox_h5_module_data off = CallWithSwitch("showEasyWnd", ParseJson(kEasyWnd), false, true);
    mox_h5_module_data none = MakeCall("showEasyWnd", ParseJson(kEasyWnd));
    mox_h5_module_data offBadParams = CallWithSwitch("showEasyWnd", Json::Value("x"), false);
    for (const mox_h5_module_data* call : {&off, &none, &offBadParams}) {
        Json::Value answer;
        EXPECT_FALSE(RunCall("JSCallNative", *call, answer));
        EXPECT_EQ(answer, ParseJson(R"({"message":"Not enabled"})"));
    }
    EXPECT_TRUE(host.Calls().empty());
    EXPECT_FALSE(log->Contains("showEasyWnd content"));
}

// Test that the bound window reaches the host whole, and the page is answered later.
TEST(NativeTips, EasyWindowBindsItsRecordAndAnswersLater) {
    RecordingHost host;
    ScopedActionInterface installed(&host);
    ScopedLogCapture log;
    auto call = std::make_unique<mox_h5_module_data>(
        CallWithSwitch("showEasyWnd", ParseJson(kEasyWnd), true, true));
    Json::Value answer;
    EXPECT_TRUE(RunCall("JSCallNative", *call, answer));
    EXPECT_EQ(answer, ParseJson(R"({"AsynExec":true})"));
    EXPECT_TRUE(log->Contains("[MoxH5] Web req showEasyWnd content: {"));
    const auto shown = host.CallsOf("ShowEasyWnd");
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_EQ(shown[0].args["isWorker"], true);
    EXPECT_EQ(shown[0].args["webindex"], 7);
    EXPECT_EQ(shown[0].args["callbackid"], "cb-1");
    EXPECT_EQ(shown[0].args["param"],
              ParseJson(R"({"title":"\u65b0\u6d88\u606f","content":"c","scene":"order",
                            "frequency":{"interval":3,"dimensions":"user"},
                            "left":{"text":"No","action":""},
                            "right":{"text":"Yes","action":"open"}})"));

    call.reset();
    std::thread later([&host] { EXPECT_EQ(host.CompleteAll(false, Json::Value()), 1u); });
    later.join();
    const auto delivered = host.CallsOf("WorkerJsCallback");
    ASSERT_EQ(delivered.size(), 1u);
    EXPECT_EQ(delivered[0].args["callbackid"], "cb-1");
    EXPECT_EQ(ParseJson(delivered[0].args["data"].asString()),
              ParseJson(R"({"success":false,"message":"failed","data":null})"));
}

// Test that an easy window that cannot be bound, or lacks a required text, is refused.
TEST(NativeTips, EasyWindowRefusesUnboundOrIncompleteRecords) {
    const struct {
        const char* change;  // merged into a valid window
        const char* binderLine;
    } cases[] = {
        {R"({"scene":""})", nullptr},
        {R"({"title":""})", nullptr},
        {R"({"content":""})", nullptr},
        {R"({"scene":null})", nullptr},
        {R"({"frequency":{"interval":"3"}})",
         "AJson to object failed, caller: showEasyWnd, error: not a valid number!, error at line "
         ":"},
        {R"({"left":"No"})",
         "AJson to object failed, caller: showEasyWnd, error: read object must "
         "start with {!, error at line :"},
        {R"({"title":["a"]})",
         "AJson to object failed, caller: showEasyWnd, error: not a valid string!, error at line "
         ":"},
    };
    for (const auto& c : cases) {
        RecordingHost host;
        ScopedActionInterface installed(&host);
        ScopedLogCapture log;
        Json::Value params = ParseJson(kEasyWnd);
        const Json::Value change = ParseJson(c.change);
        for (const std::string& name : change.getMemberNames()) params[name] = change[name];
        Json::Value answer;
        EXPECT_FALSE(RunCall("JSCallNative", CallWithSwitch("showEasyWnd", params, true), answer))
            << c.change;
        EXPECT_EQ(answer, ParseJson(R"({"message":"Invalid Param."})")) << c.change;
        const auto failed = log->Matching("parse EasyWndParam failed, {");
        ASSERT_EQ(failed.size(), 1u) << c.change;
        EXPECT_EQ(failed[0].priority, LOG_PRIORITY_ERROR);
        EXPECT_NE(failed[0].text.find("\"right\""), std::string::npos) << "the params text";
        EXPECT_EQ(log->Contains("AJson to object failed"), c.binderLine != nullptr) << c.change;
        if (c.binderLine) {
            EXPECT_TRUE(log->Contains(c.binderLine)) << c.change;
        }
        EXPECT_TRUE(host.Calls().empty()) << c.change;
    }
}

}  // namespace
}  // namespace moxh5::test
