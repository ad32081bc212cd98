// The library as a host uses it: linked as a shared library (moxh5.dll under
// Wine, libmoxh5.so on Linux) and driven only through its exported surface.
// Proves that the host reaches the one manager inside the library.
#include <gtest/gtest.h>

#include "moxh5/module_manager.h"
#include "moxh5/version.h"
#include "platform_version_probe.h"
#include "tests/fakes/bridge_fixture.h"
#include "tests/fakes/capture_sinks.h"

namespace moxh5::test {
namespace {

// Test the start-up sequence and the serving calls from outside the library.
TEST(HostBoundary, HostDrivesTheManagerInsideTheLibrary) {
    RecordingHost host;
    ScopedLogCapture log;
    MoxModuleManager* manager = CSingleton<MoxModuleManager>::GetInstance();
    ASSERT_EQ(manager, MoxModuleManager::GetInstance());
    manager->Init(&host, nullptr, MoxConfigCallback());
    manager->SetCallback(&host);
    EXPECT_TRUE(manager->Create());
    EXPECT_EQ(manager->GetCallback(), &host);
    EXPECT_EQ(manager->GetUserCenter(), &host);

    EXPECT_TRUE(manager->Exist(MakeCall("canIUse", ParseJson(R"({"name":"JSCallBasic.setLog"})"))));
    EXPECT_FALSE(manager->Exist(MakeCall("canIUse", ParseJson(R"({"name":"JSNothing"})"))));

    Json::Value answer(Json::objectValue);
    const mox_h5_module_data setLog =
        MakeCall("setLog", ParseJson(R"({"content":"from the page","logLevel":"error"})"));
    EXPECT_EQ(manager->Execute("JSCallBasic", setLog, answer), std::make_tuple(true, true));
    // The library's line reached the sink this program installed: one log
    // library serves host and library.
    EXPECT_TRUE(log->Contains("[MoxH5] from the page"));

    Json::Value untouched;
    untouched["keep"] = true;
    EXPECT_EQ(manager->Execute("JSNothing", setLog, untouched), std::make_tuple(false, false));
    EXPECT_EQ(untouched, ParseJson(R"({"keep":true})"));

    EXPECT_TRUE(
        callBackToWebPage(true, true, 2, "mall|cs", "cb-3", "w", ParseJson(R"({"data":7})")));
    const auto calls = host.CallsOf("WorkerJsCallback");
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(ParseJson(calls[0].args["data"].asString()),
              ParseJson(R"({"success":true,"message":"success","data":7})"));
    manager->SetCallback(nullptr);
}

// Test that the library file carries the project's version.
TEST(HostBoundary, LibraryFileCarriesTheProjectVersion) {
    EXPECT_STREQ(MOXH5_VERSION_STRING, "3.4.8.3");
    const std::string fileVersion = ReadLibraryFileVersion();
    if (fileVersion.empty()) GTEST_SKIP() << "this platform keeps no version resource in the file";
    EXPECT_EQ(fileVersion, MOXH5_VERSION_STRING);
}

}  // namespace
}  // namespace moxh5::test
