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

// Test the system answer: the system's bitness, "windows", three 16-bit version numbers
// (flag bits dropped) and the primary screen's size.
TEST(DeviceModule, SystemInfoDescribesTheMachine) {
    Json::Value answer(Json::objectValue);
    EXPECT_EQ(RunDevice(MakeCall("getSystemInfo", Json::Value()), answer),
              std::make_tuple(true, true));
    const Json::Value& data = answer["data"];
    EXPECT_EQ(data["os"], "windows");
    // The system's bitness, not the program's: a 32-bit build on 64-bit
    // Windows says 64.
    if (const std::optional<int> bits = SystemBitness()) {
        EXPECT_EQ(data["bit"], *bits);
    } else {
        EXPECT_TRUE(data["bit"] == 32 || data["bit"] == 64);
    }
    const std::string version = data["osVersion"].asString();
    std::smatch parts;
    ASSERT_TRUE(std::regex_match(version, parts, std::regex(R"((\d+)\.(\d+)\.(\d+))"))) << version;
    for (size_t i = 1; i <= 3; ++i) EXPECT_LE(std::stoul(parts[i]), 0xFFFFu) << version;
    EXPECT_NE(version, "0.0.0");
    const bool reported = ScreenSizeIsReported();
    EXPECT_EQ(data["screen"]["width"].asInt() > 0, reported);
    EXPECT_EQ(data["screen"]["height"].asInt() > 0, reported);
}

// Test that one process-wide watch gates the screenshot toast for every page, and the
// refusals while it is on: no toast without the watch, a host or object params.
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
        {"onScreenCapture", "{}", false, false, false, false, "Native impl instance is null."},
        {"stopMonitorScreenCapture", "null", true, false, true, false, nullptr},
        {"onScreenCapture", "{}", false, true, false, false, nullptr},
    };
    for (const auto& s : steps) {
        host.ClearCalls();
        ScopedActionInterface installed(s.installHost ? &host : nullptr);
        Json::Value answer(Json::objectValue);
        EXPECT_EQ(RunDevice(MakeCall(s.method, ParseJson(s.params), s.isWorker), answer),
                  std::make_tuple(true, s.handled))
            << s.method << " " << s.params;
        EXPECT_EQ(answer["message"], s.message ? Json::Value(s.message) : Json::Value());
        // The toast's text and kind are in the device transcript.
        EXPECT_EQ(host.CountOf("ShowToast"), s.toast ? 1u : 0u) << s.method << " " << s.params;
    }
    EXPECT_FALSE(g_screenCaptureMonitoring);
}

}  // namespace
}  // namespace moxh5::test
