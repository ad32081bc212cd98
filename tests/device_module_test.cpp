// Tests of the module "JSDevice" through the process-wide manager.
#include <gtest/gtest.h>

#include <regex>

#include "modules/device/H5DeviceWorker.h"
#include "system_probe.h"
#include "tests/fakes/bridge_fixture.h"

namespace moxh5::test {
namespace {

std::tuple<bool, bool> RunDevice(const mox_h5_module_data& call, Json::Value& answer) {
    return ReadySingleton().Execute("JSDevice", call, answer);
}

// Test the system answer: bitness, "windows", three 16-bit version numbers
// (flag bits dropped) and the primary screen's size.
TEST(DeviceModule, SystemInfoDescribesTheMachine) {
    Json::Value answer(Json::objectValue);
    EXPECT_EQ(RunDevice(MakeCall("getSystemInfo", Json::Value()), answer),
              std::make_tuple(true, true));
    const Json::Value& data = answer["data"];
    EXPECT_EQ(data["os"], "windows");
    // A 64-bit program runs on a 64-bit system; a 32-bit one may run on either.
    EXPECT_TRUE(data["bit"] == 64 || (sizeof(void*) == 4 && data["bit"] == 32));
    const std::string version = data["osVersion"].asString();
    std::smatch parts;
    ASSERT_TRUE(std::regex_match(version, parts, std::regex(R"((\d+)\.(\d+)\.(\d+))"))) << version;
    for (size_t i = 1; i <= 3; ++i) EXPECT_LE(std::stoul(parts[i]), 0xFFFFu) << version;
    EXPECT_NE(version, "0.0.0");
    const bool reported = ScreenSizeIsReported();
    EXPECT_EQ(data["screen"]["width"].asInt() > 0, reported);
    EXPECT_EQ(data["screen"]["height"].asInt() > 0, reported);
}

// Test that one process-wide watch gates the screenshot toast for every page,
// and the refusals while it is on.
TEST(DeviceModule, ScreenshotToastFollowsTheProcessWideWatch) {
    RecordingHost host;
    const struct {
        const char* method;
        const char* params;
        bool isWorker, installHost, handled, toast;
        const char* message;
    } steps[] = {
        {"onScreenCapture", "{}", false, true, false, false, nullptr},  // watch not started
        {"startMonitorScreenCapture", "null", true, false, true, false, nullptr},
        {"onScreenCapture", "{}", false, true, true, true, nullptr},
        {"onScreenCapture", R"({"any":[1]})", true, true, true, true, nullptr},
        {"onScreenCapture", R"("shot")", false, true, false, false, "Invalid params."},
        {"onScreenCapture", "[{}]", false, true, false, false, "Invalid params."},
        {"onScreenCapture", "{}", false, false, false, false, "Native impl instance is null."},
        {"stopMonitorScreenCapture", "null", true, false, true, false, nullptr},
        {"stopMonitorScreenCapture", "null", false, false, true, false, nullptr},
        {"onScreenCapture", "{}", false, true, false, false, nullptr},
        {"GetSystemInfo", "{}", false, true, false, false, "Invalid method."},
    };
    for (const auto& s : steps) {
        host.ClearCalls();
        ScopedActionInterface installed(s.installHost ? &host : nullptr);
        Json::Value answer(Json::objectValue);
        EXPECT_EQ(RunDevice(MakeCall(s.method, ParseJson(s.params), s.isWorker), answer),
                  std::make_tuple(true, s.handled))
            << s.method << " " << s.params;
        EXPECT_EQ(answer["message"], s.message ? Json::Value(s.message) : Json::Value());
        const auto toasts = host.CallsOf("ShowToast");
        ASSERT_EQ(toasts.size(), s.toast ? 1u : 0u) << s.method << " " << s.params;
        if (!s.toast) continue;
        EXPECT_EQ(toasts[0].args["kind"], 1);
        EXPECT_EQ(toasts[0].args["text"],
                  "\xE6\x94\xB6\xE5\x88\xB0\xE7\x94\xA8\xE6\x88\xB7\xE6"
                  "\x88\xAA\xE5\x9B\xBE");  // 收到用户截图
        EXPECT_EQ(toasts[0].args["length"].asUInt64(), 18u);
        EXPECT_EQ(toasts[0].args["durationMs"], 1500);
    }
    EXPECT_FALSE(g_screenCaptureMonitoring);
}

}  // namespace
}  // namespace moxh5::test
