// A host built against the earlier header, which declared AnswerPage and
// PageIdentityOf in the global namespace: its binary imports the library's
// functions under those global symbols. This file is compiled the same way
// (the header's using-declarations left out, the functions declared as the
// earlier header did) and linked to the shared library, so it calls exactly
// those exports.
#define MOXH5_NO_GLOBAL_PAGE_NAMES

#include <gtest/gtest.h>

#include "moxh5/page_callback.h"
#include "tests/fakes/bridge_fixture.h"

MOXH5_API MoxPageIdentity PageIdentityOf(const mox_h5_module_data& request);
MOXH5_API bool AnswerPage(const MoxPageIdentity& page, bool success,
                          const Json::Value& answer) noexcept;

namespace moxh5::test {
namespace {

// Test that the earlier global symbols still serve a host: the identity of a
// request, and work handed with an identity answered once through it.
TEST(EarlierPageNames, HostsBuiltAgainstTheGlobalNamesStillAnswerPages) {
    RecordingHost host;
    ScopedActionInterface installed(&host);
    mox_h5_module_data call = MakeCall("selectFile", ParseJson("{}"), true, "cb-e");
    call.webindex = 4;
    call.workerid = "w-e";

    const MoxPageIdentity own = ::PageIdentityOf(call);
    EXPECT_TRUE(own.isWorker);
    EXPECT_EQ(own.webindex, 4);
    EXPECT_EQ(own.callbackid, "cb-e");
    EXPECT_EQ(own.workerid, "w-e");
    EXPECT_EQ(own.ticket, 0u);

    Json::Value answer;
    ASSERT_TRUE(RunCall("JSCallNative", call, answer));
    const std::vector<PendingPageWork> pending = host.TakePending();
    ASSERT_EQ(pending.size(), 1u);
    EXPECT_NE(pending[0].page.ticket, 0u);
    EXPECT_TRUE(::AnswerPage(pending[0].page, true, ParseJson(R"({"data":"chosen"})")));
    EXPECT_FALSE(::AnswerPage(pending[0].page, true, ParseJson(R"({"data":"again"})")));

    const auto answers = host.CallsOf("WorkerJsCallback");
    ASSERT_EQ(answers.size(), 1u);
    EXPECT_EQ(ParseJson(answers[0].args["data"].asString()),
              ParseJson(R"({"success":true,"message":"success","data":"chosen"})"));
}

}  // namespace
}  // namespace moxh5::test
