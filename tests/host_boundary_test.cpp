// The library as a host uses it: linked as a shared library (moxh5.dll under
// Wine, libmoxh5.so on Linux) and driven only through its exported surface.
// Proves that the host reaches the one manager inside the library.
#include <gtest/gtest.h>

#include "moxh5/module_manager.h"
#include "moxh5/version.h"
#include "platform_version_probe.h"
#include "tests/fakes/bridge_fixture.h"
#include "tests/fakes/capture_sinks.h"

namespace {

// Code of a host that brings the library's namespace in and calls the page
// functions unqualified: the header's global names and the namespaced ones
// must be one function each, or these calls would be ambiguous.
MoxPageIdentity IdentityUnqualified(const mox_h5_module_data& request) {
    using namespace moxh5;
    return PageIdentityOf(request);
}

bool AnswerUnqualified(const MoxPageIdentity& page, const Json::Value& answer) {
    using namespace moxh5;
    return AnswerPage(page, true, answer);
}

}  // namespace

namespace moxh5::test {
namespace {

// Test that the global page names of the header are the namespaced functions
// and answer a page through the library.
TEST(HostBoundary, GlobalPageNamesAreTheNamespacedFunctions) {
    EXPECT_EQ(&::AnswerPage, &moxh5::AnswerPage);
    EXPECT_EQ(&::PageIdentityOf, &moxh5::PageIdentityOf);
    RecordingHost host;
    ScopedActionInterface installed(&host);
    const MoxPageIdentity page =
        IdentityUnqualified(MakeCall("setLog", ParseJson("{}"), false, "cb-u"));
    EXPECT_TRUE(AnswerUnqualified(page, ParseJson(R"({"data":1})")));
    const auto calls = host.CallsOf("RenderJsCallback");
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].args["callId"], "cb-u");
}

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
