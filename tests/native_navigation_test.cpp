// Tests of the native navigation calls: the host's views and pages, the
// expired session, and the two links opened in the shell (observed through
// the shell seam; one missing file is opened for real).
#include <gtest/gtest.h>

#include "tests/fakes/native_case.h"
#include "tests/fakes/platform_fakes.h"

namespace moxh5::test {
namespace {

const NativeCase kHostCases[] = {
    // The host gets the whole "params" as JSON text.
    {"openWaitHandleOrder", R"({"params":{"tab":1}})", true, R"({"message":"open ok"})",
     "OpenWaitHandleOrder", R"({"paramsJson":"{\n\t\"tab\" : 1\n}"})"},
    {"openGoodsManage", R"({"params":{}})", false, R"({"message":"open failed"})",
     "OpenGoodsManage", R"({"paramsJson":"{}"})", kHostRefuses | kFromWorker},
    // A page name, and besides it all of "params".
    {"pageChange", R"({"params":{"page":"order","id":3}})", true, R"({"message":"pagechange ok"})",
     "PageChange", R"({"page":"order","paramsJson":"{\n\t\"id\" : 3,\n\t\"page\" : \"order\"\n}"})",
     kFromWorker},
    {"pageChange", R"({"params":{"page":"order"}})", false, R"({"message":"pagechange failed"})",
     "PageChange", nullptr, kHostRefuses},
    {"pageChange", R"({"params":null})", false, R"({"message":"Invalid params."})", nullptr,
     nullptr},
    // The body is not checked; no "message".
    {"sessionExpired", R"({"params":[]})", false, "{}", "SessionExpired", nullptr, kHostRefuses},
    {"sessionExpired", "{}", false, R"({"message":"Native impl instance is null."})", nullptr,
     nullptr, kNoHost},
};

// Test each row: the host's texts and the failure texts.
TEST(NativeNavigation, HostCallsAnswerAsListed) {
    for (const NativeCase& c : kHostCases) ExpectNativeCase(c);
}

// Shell links need no host; success is a shell code above 32. `opened`: the
// target the shell was asked to open (null: not asked).
const struct {
    NativeCase call;
    uintptr_t shellCode;
    const char* opened;
} kShellCases[] = {
    {{"windowsDownLoad", R"({"params":{"url":"https://dl/\u5b89\u88c5.exe"}})", true,
      R"({"message":"download ok"})", nullptr, nullptr, kNoHost},
     33,
     "https://dl/\xE5\xAE\x89\xE8\xA3\x85.exe"},
    {{"windowsDownLoad", R"({"params":{"url":"https://dl/a"}})", false,
      R"({"message":"download failed"})", nullptr, nullptr, kFromWorker},
     32,
     "https://dl/a"},
    {{"windowsDownLoad", R"({"params":{"url":["https://dl/a"]}})", false,
      R"({"message":"download failed"})", nullptr, nullptr},
     42,
     nullptr},
    {{"windowsDownLoad", R"({"url":"https://dl/a"})", false, R"({"message":"Invalid params."})",
      nullptr, nullptr},
     42,
     nullptr},
    {{"oneClickUpdate", R"({"params":{"jump":"https://up/new"}})", true,
      R"({"message":"update ok"})", nullptr, nullptr, kNoHost | kFromWorker},
     42,
     "https://up/new"},
    // A present "jump" goes to the shell even when empty or not a string.
    {{"oneClickUpdate", R"({"params":{"jump":5}})", false, R"({"message":"update failed"})",
      nullptr, nullptr},
     2,
     ""},
    {{"oneClickUpdate", R"({"params":{"url":"https://up/new"}})", false,
      R"({"message":"update failed"})", nullptr, nullptr},
     42,
     nullptr},
};

// Test each row: the answer, and what reached the shell.
TEST(NativeNavigation, ShellLinksAnswerAsListed) {
    for (const auto& c : kShellCases) {
        ScopedShellRecorder shell(c.shellCode);
        ExpectNativeCase(c.call);
        EXPECT_EQ(shell.targets,
                  c.opened ? std::vector<std::string>{c.opened} : std::vector<std::string>{})
            << c.call.payload;
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

}  // namespace
}  // namespace moxh5::test
