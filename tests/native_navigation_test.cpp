// Tests of the native navigation calls: the host's views and pages, the
// expired session, and the two links opened in the shell (observed through
// the shell seam; one missing file is opened for real).
#include <gtest/gtest.h>

#include "modules/native/H5NativeWorker.h"
#include "tests/fakes/native_case.h"
#include "tests/fakes/platform_fakes.h"

namespace moxh5::test {
namespace {

// A call, what the shell answers, and what it was asked to open (null: the
// shell is not asked).
struct NavigationCase {
    NativeCase call;
    uintptr_t shellResult;
    const char* opened;
};

const NavigationCase kCases[] = {
    // The host gets the whole "params" as JSON text.
    {{"openWaitHandleOrder", R"({"params":{"tab":1}})", true, R"({"message":"open ok"})",
      "OpenWaitHandleOrder", R"({"paramsJson":"{\n\t\"tab\" : 1\n}"})"},
     0,
     nullptr},
    {{"openGoodsManage", R"({"params":{}})", false, R"({"message":"open failed"})",
      "OpenGoodsManage", R"({"paramsJson":"{}"})", kHostRefuses | kFromWorker},
     0,
     nullptr},
    {{"openGoodsManage", R"({"params":{}})", false,
      R"({"message":"Native impl instance is null."})", nullptr, nullptr, kNoHost},
     0,
     nullptr},
    {{"openWaitHandleOrder", R"({"params":"tab"})", false, R"({"message":"Invalid params."})",
      nullptr, nullptr},
     0,
     nullptr},
    // A page name, and besides it all of "params".
    {{"pageChange", R"({"params":{"page":"order","id":3}})", true, R"({"message":"pagechange ok"})",
      "PageChange",
      R"({"page":"order","paramsJson":"{\n\t\"id\" : 3,\n\t\"page\" : \"order\"\n}"})",
      kFromWorker},
     0,
     nullptr},
    {{"pageChange", R"({"params":{"page":"order"}})", false, R"({"message":"pagechange failed"})",
      "PageChange", R"({"page":"order"})", kHostRefuses},
     0,
     nullptr},
    {{"pageChange", R"({"params":{"page":""}})", false, R"({"message":"Invalid param."})", nullptr,
      nullptr},
     0,
     nullptr},
    {{"pageChange", R"({"params":{"page":7}})", false, R"({"message":"Invalid param."})", nullptr,
      nullptr},
     0,
     nullptr},
    {{"pageChange", R"({"params":null})", false, R"({"message":"Invalid params."})", nullptr,
      nullptr},
     0,
     nullptr},
    // The body is not checked; no "message".
    {{"sessionExpired", R"({"why":"token"})", true, "{}", "SessionExpired", nullptr}, 0, nullptr},
    {{"sessionExpired", R"({"params":[]})", false, "{}", "SessionExpired", nullptr,
      kHostRefuses | kFromWorker},
     0,
     nullptr},
    {{"sessionExpired", R"({})", false, R"({"message":"Native impl instance is null."})", nullptr,
      nullptr, kNoHost},
     0,
     nullptr},
    // Shell links need no host; success is a shell code above 32.
    {{"windowsDownLoad", R"({"params":{"url":"https://dl.example/\u5b89\u88c5.exe"}})", true,
      R"({"message":"download ok"})", nullptr, nullptr, kNoHost},
     33,
     "https://dl.example/\xE5\xAE\x89\xE8\xA3\x85.exe"},
    {{"windowsDownLoad", R"({"params":{"url":"https://dl.example/a"}})", false,
      R"({"message":"download failed"})", nullptr, nullptr, kFromWorker},
     32,
     "https://dl.example/a"},
    {{"windowsDownLoad", R"({"params":{"url":""}})", false, R"({"message":"download failed"})",
      nullptr, nullptr},
     42,
     nullptr},
    {{"windowsDownLoad", R"({"params":{"url":["https://dl.example/a"]}})", false,
      R"({"message":"download failed"})", nullptr, nullptr},
     42,
     nullptr},
    {{"windowsDownLoad", R"({"url":"https://dl.example/a"})", false,
      R"({"message":"Invalid params."})", nullptr, nullptr},
     42,
     nullptr},
    {{"oneClickUpdate", R"({"params":{"jump":"https://up.example/new"}})", true,
      R"({"message":"update ok"})", nullptr, nullptr, kNoHost | kFromWorker},
     42,
     "https://up.example/new"},
    // A present "jump" goes to the shell even when empty or not a string.
    {{"oneClickUpdate", R"({"params":{"jump":""}})", false, R"({"message":"update failed"})",
      nullptr, nullptr},
     2,
     ""},
    {{"oneClickUpdate", R"({"params":{"jump":5}})", false, R"({"message":"update failed"})",
      nullptr, nullptr},
     2,
     ""},
    {{"oneClickUpdate", R"({"params":{"url":"https://up.example/new"}})", false,
      R"({"message":"update failed"})", nullptr, nullptr},
     42,
     nullptr},
    {{"oneClickUpdate", R"({"params":"jump"})", false, R"({"message":"Invalid params."})", nullptr,
      nullptr},
     42,
     nullptr},
};

// Test each row: host texts, failure texts, and what reaches the shell.
TEST(NativeNavigation, CallsAnswerAndReachTheHostOrShellAsListed) {
    for (const NavigationCase& c : kCases) {
        ScopedShellRecorder shell(c.shellResult);
        ExpectNativeCase(c.call);
        if (c.opened) {
            EXPECT_EQ(shell.Targets(), std::vector<std::string>{c.opened}) << c.call.payload;
        } else {
            EXPECT_TRUE(shell.Targets().empty()) << c.call.payload;
        }
    }
}

// Test that the real shell fails to open a file that is not there (and starts nothing).
TEST(NativeNavigation, MissingDownloadFailsInTheRealShell) {
    ScopedTempDir dir;
    Json::Value params;
    params["url"] = dir.Utf8("\xE4\xB8\x8D\xE5\xAD\x98\xE5\x9C\xA8.exe");  // 不存在.exe
    Json::Value answer;
    EXPECT_FALSE(RunCall("JSCallNative", MakeCall("windowsDownLoad", params), answer));
    EXPECT_EQ(Compact(answer), R"({"message":"download failed"})");
}

// Test the opening of all six: no request, then a null body, traced as empty text.
TEST(NativeNavigation, NullRequestsAndBodiesAreRefusedOrTraced) {
    using Handler = bool (*)(const mox_h5_module_data*, Json::Value&);
    const std::pair<const char*, Handler> handlers[] = {
        {"openWaitHandleOrder", &H5NativeWorker::openWaitHandleOrder},
        {"openGoodsManage", &H5NativeWorker::openGoodsManage},
        {"pageChange", &H5NativeWorker::pageChange},
        {"sessionExpired", &H5NativeWorker::sessionExpired},
        {"windowsDownLoad", &H5NativeWorker::windowsDownLoad},
        {"oneClickUpdate", &H5NativeWorker::oneClickUpdate},
    };
    RecordingHost host;
    ScopedActionInterface installed(&host);
    ScopedShellRecorder shell;
    for (const auto& [name, handler] : handlers) {
        SCOPED_TRACE(name);
        ScopedLogCapture log;
        Json::Value answer = ParseJson(kKeptFlag);
        EXPECT_FALSE(handler(nullptr, answer));
        EXPECT_EQ(Compact(answer), "{}") << "the flag goes first";
        EXPECT_TRUE(log->Contains(std::string("[MoxH5] false in H5NativeWorker::") + name));

        mox_h5_module_data nullBody = MakeCall(name);
        nullBody.payload = Json::Value();
        handler(&nullBody, answer);
        const auto traced = log->Matching("[MoxH5] Web req ");
        ASSERT_EQ(traced.size(), 1u);
        EXPECT_EQ(traced[0].priority, 600);
        const std::string& text = traced[0].text;
        EXPECT_EQ(text.substr(text.size() - 10), " content: ") << text;
    }
    EXPECT_EQ(host.CountOf("SessionExpired"), 1u) << "the null body still reaches the host";
    EXPECT_TRUE(shell.Targets().empty());
}

}  // namespace
}  // namespace moxh5::test
