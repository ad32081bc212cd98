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

// Test what stops a call before the host acts, and with which trace and message.
TEST_F(PhotoModule, RefusalsComeBeforeTheHostActs) {
    const struct {
        const char* method;
        const char* params;
        bool urlTraced;
    } cases[] = {
        {"watch", R"({"msg_id":"m"})", false},
        {"watch", R"({"url":"u","msg_id":3})", true},
        {"batchDownload", R"({"url":"u"})", true},
        {"store", R"({"url":5})", false},
        {"watchCommon", R"({"urlArr":{"url":"a"}})", false},
    };
    for (const auto& c : cases) {
        ScopedLogCapture log;
        EXPECT_EQ(Run(c.method, c.params), std::make_tuple(true, false)) << c.params;
        EXPECT_EQ(log->Contains("[MoxH5] JS watch pic url:u."), c.urlTraced) << c.params;
        EXPECT_FALSE(answer.isMember("message")) << c.params;
        EXPECT_TRUE(host.Calls().empty()) << c.params;
    }
    ScopedUserCenter noUserCenter(nullptr);
    ScopedLogCapture log;
    EXPECT_EQ(Run("watch", R"({"url":"u","msg_id":"m"})"), std::make_tuple(true, false));
    EXPECT_EQ(log->Matching("UserCenter is null, {").size(), 1u);
    EXPECT_TRUE(host.Calls().empty());
}

// Test which answers stay quiet: a render page's answer of every method but "watch" carries
// "NoNeedUnifyCallBack" (the host's viewer answers the page), whether the call worked or was
// refused; a worker page's never does, nor does "watch"'s.
TEST_F(PhotoModule, RenderAnswersButWatchsAreLeftToTheHost) {
    const struct {
        const char* method;
        const char* params;
    } cases[] = {
        {"watch", R"({"url":"u","msg_id":"m"})"},
        {"watch", R"({"msg_id":"m"})"},
        {"store", R"({"url":"u"})"},
        {"store", R"({})"},
        {"watchCommon", R"({"urlArr":[{"url":"a"}],"index":0})"},
        {"watchCommon", R"({"urlArr":5})"},
        {"batchDownload", R"({"url":"u","msg_id":"m"})"},
        {"batchDownload", R"({"url":"u"})"},
    };
    ScopedLogCapture log;
    for (const auto& c : cases) {
        for (const bool isWorker : {false, true}) {
            Run(c.method, c.params, isWorker);
            const bool quiet = !isWorker && std::string(c.method) != "watch";
            EXPECT_EQ(answer.isMember("NoNeedUnifyCallBack"), quiet)
                << c.method << " " << c.params << (isWorker ? " worker" : " render");
            if (quiet) {
                EXPECT_EQ(answer["NoNeedUnifyCallBack"], true) << c.method;
            }
        }
    }
}

}  // namespace
}  // namespace moxh5::test
