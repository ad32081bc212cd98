// Tests of the module "JSPhoto" through the process-wide manager.
#include <gtest/gtest.h>

#include <string>

#include "tests/fakes/bridge_fixture.h"
#include "tests/fakes/capture_sinks.h"

namespace moxh5::test {
namespace {

// Calls run with a host that is also the user centre, whose session
// "mall-1|cs-1" shows the buyer "buyer-5".
class PhotoModule : public ::testing::Test {
protected:
    PhotoModule() { host.SetCurrentUid("mall-1|cs-1", "buyer-5"); }
    std::tuple<bool, bool> Run(const char* method, const char* params, bool isWorker = false) {
        host.ClearCalls();
        answer = Json::Value(Json::objectValue);
        return ReadySingleton().Execute("JSPhoto", MakeCall(method, ParseJson(params), isWorker),
                                        answer);
    }
    RecordingHost host;
    ScopedActionInterface installed{&host};
    ScopedUserCenter userCenter{&host};
    Json::Value answer;
};

// Test each method, working and refused, from both kinds of page: a refusal comes before the
// host acts and carries no message; a render page's answer of every method but "watch" carries
// "NoNeedUnifyCallBack" (the host's viewer answers the page) whether the call worked or not, a
// worker page's never does, nor does "watch"'s.
TEST_F(PhotoModule, RefusalsComeBeforeTheHostActsAndRenderAnswersStayQuiet) {
    const struct {
        const char* method;
        const char* params;
        const char* hostOp;  // null: refused
    } cases[] = {
        {"watch", R"({"url":"u","msg_id":"m"})", "ViewPicture"},
        {"watch", R"({"msg_id":"m"})", nullptr},
        {"watch", R"({"url":"u","msg_id":3})", nullptr},
        {"store", R"({"url":"u"})", "StorePicture"},
        {"store", R"({"url":5})", nullptr},
        {"watchCommon", R"({"urlArr":[{"url":"a"}],"index":0})", "ViewPictureList"},
        {"watchCommon", R"({"urlArr":{"url":"a"}})", nullptr},
        {"batchDownload", R"({"url":"u","msg_id":"m"})", "BatchDownloadPictures"},
        {"batchDownload", R"({"url":"u"})", nullptr},
    };
    ScopedLogCapture log;
    for (const auto& c : cases) {
        for (const bool isWorker : {false, true}) {
            SCOPED_TRACE(std::string(c.method) + " " + c.params + (isWorker ? " worker" : " render"));
            EXPECT_EQ(Run(c.method, c.params, isWorker), std::make_tuple(true, c.hostOp != nullptr));
            EXPECT_EQ(host.CountOf(c.hostOp ? c.hostOp : "GetCurrentUid"), c.hostOp ? 1u : 0u);
            EXPECT_TRUE(c.hostOp || host.Calls().empty());
            EXPECT_FALSE(answer.isMember("message"));
            const bool quiet = !isWorker && std::string(c.method) != "watch";
            EXPECT_EQ(answer.get("NoNeedUnifyCallBack", false), Json::Value(quiet));
        }
    }
    ScopedUserCenter noUserCenter(nullptr);
    EXPECT_EQ(Run("watch", R"({"url":"u","msg_id":"m"})"), std::make_tuple(true, false));
    EXPECT_TRUE(host.Calls().empty());
}

}  // namespace
}  // namespace moxh5::test
