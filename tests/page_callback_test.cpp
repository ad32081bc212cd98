// Tests of the unified callback: routing, silencing flags and the envelope.
#include "moxh5/page_callback.h"

#include <gtest/gtest.h>

#include <new>

#include "core/delivery/page_delivery.h"
#include "core/policy/page_policy.h"
#include "moxh5/action_defaults.h"
#include "tests/fakes/bridge_fixture.h"
#include "tests/fakes/capture_sinks.h"

namespace moxh5::test {
namespace {

class PageCallbackTest : public ::testing::Test {
protected:
    RecordingHost host;
    ScopedActionInterface installed{&host};

    // Delivers `answer` and returns the envelope the host received, or null
    // when no page callback was made.
    Json::Value Deliver(bool isWorker, bool success, const Json::Value& answer,
                        const std::string& callbackid = "cb-7") {
        host.ClearCalls();
        callBackToWebPage(isWorker, success, 3, "mall|cs", callbackid, "w-1", answer);
        const auto calls = host.CallsOf(isWorker ? "WorkerJsCallback" : "RenderJsCallback");
        EXPECT_LE(calls.size(), 1u);
        EXPECT_EQ(host.Calls().size(), calls.size()) << "only the page's own kind is called";
        return calls.empty() ? Json::Value() : ParseJson(calls[0].args["data"].asString());
    }
};

// Test the envelope: "success" always overwritten, "message" and "data" only when absent.
TEST_F(PageCallbackTest, EnvelopeOverwritesSuccessAndFillsOnlyMissingMembers) {
    const struct {
        bool success;
        const char* answer;
        const char* envelope;
    } cases[] = {
        {true, R"({"data":{"k":1}})", R"({"success":true,"message":"success","data":{"k":1}})"},
        {false, R"({"success":true,"message":"mine"})",
         R"({"success":false,"message":"mine","data":null})"},
        {false, "null", R"({"success":false,"message":"failed","data":null})"},
        {true, R"({"data":null,"extra":[1,2],"NoNeedUnifyCallBack":false,"AsynExec":false})",
         R"({"success":true,"message":"success","data":null,"extra":[1,2],"NoNeedUnifyCallBack":false,"AsynExec":false})"},
        {true, R"({"message":""})", R"({"success":true,"message":"","data":null})"},
    };
    for (const auto& c : cases) {
        for (bool isWorker : {false, true}) {
            EXPECT_EQ(Deliver(isWorker, c.success, ParseJson(c.answer)), ParseJson(c.envelope))
                << c.answer << " worker=" << isWorker;
        }
    }
}

// Test which flags silence which page kind.
TEST_F(PageCallbackTest, NoNeedUnifyCallBackSilencesRenderPagesOnlyAndAsynExecBoth) {
    const struct {
        const char* answer;
        bool renderCalled;
        bool workerCalled;
    } cases[] = {
        {R"({"NoNeedUnifyCallBack":true})", false, true},
        {R"({"AsynExec":true})", false, false},
        {R"({"NoNeedUnifyCallBack":"true"})", true, true},  // only a boolean true counts
        {R"({"AsynExec":1})", true, true},
        {"[1]", false, false},  // no envelope for what is not an object
    };
    for (const auto& c : cases) {
        EXPECT_EQ(!Deliver(false, true, ParseJson(c.answer)).isNull(), c.renderCalled) << c.answer;
        EXPECT_EQ(!Deliver(true, true, ParseJson(c.answer)).isNull(), c.workerCalled) << c.answer;
    }
}

// Test that the library's internal render and worker paths answer through the
// interface they are given, not the installed one, with the same envelope.
TEST_F(PageCallbackTest, InternalPathsAnswerThroughTheGivenInterface) {
    RecordingHost other;
    detail::doCallBackToRender(&other, true, 3, "mall|cs", "cb-r", ParseJson(R"({"data":1})"));
    detail::doCallBackToWorker(&other, false, 3, "mall|cs", "cb-w", "w-1", Json::Value());
    EXPECT_TRUE(host.Calls().empty());
    const auto render = other.CallsOf("RenderJsCallback");
    const auto worker = other.CallsOf("WorkerJsCallback");
    ASSERT_EQ(render.size(), 1u);
    ASSERT_EQ(worker.size(), 1u);
    EXPECT_EQ(render[0].args["callId"], "cb-r");
    EXPECT_EQ(ParseJson(render[0].args["data"].asString()),
              ParseJson(R"({"success":true,"message":"success","data":1})"));
    EXPECT_EQ(worker[0].args["callbackid"], "cb-w");
    EXPECT_EQ(ParseJson(worker[0].args["data"].asString()),
              ParseJson(R"({"success":false,"message":"failed","data":null})"));
}

// Test that an empty callback id, or no action interface, makes no callback and says why.
TEST_F(PageCallbackTest, NoCallbackWithoutCallbackIdOrActionInterface) {
    ScopedLogCapture log;
    EXPECT_FALSE(callBackToWebPage(true, true, 3, "m", "", "w", Json::Value()));
    EXPECT_TRUE(host.Calls().empty());
    EXPECT_EQ(log->Matching("[MoxH5] Callbackid is empty, no need callback.").size(), 1u);
    ScopedActionInterface none(nullptr);
    EXPECT_FALSE(callBackToWebPage(false, true, 1, "m", "cb", "", Json::Value()));
    const auto lines = log->Matching("check failed");
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].text, "MoxModuleManager::GetInstance()->GetCallback() check failed");
    EXPECT_EQ(lines[0].priority, LOG_PRIORITY_ERROR);
}

// A host that runs out of memory while it answers pages.
class ThrowingHost : public H5ActionDefaults {
public:
    void RenderJsCallback(const std::string&, int, const std::string&,
                          const std::string&) override {
        throw std::bad_alloc();
    }
    void WorkerJsCallback(const std::string&, int, const std::string&,
                          const std::string&) override {
        throw 7;
    }
};

// Test that an exception thrown inside delivery is logged and stays in the library.
TEST(PageCallbackEscapes, NothingThrownDuringDeliveryReachesTheHost) {
    ThrowingHost host;
    ScopedActionInterface installed(&host);
    ScopedLogCapture log;
    const Json::Value files = ParseJson(R"({"data":{"path":"/tmp/x"}})");
    EXPECT_FALSE(callBackToWebPage(true, true, 3, "m", "cb-throw", "w", Json::Value()));
    EXPECT_FALSE(callBackToWebPage(false, true, 4, "m", "cb-throw", "", files));
    const auto lines = log->Matching("[MoxH5] exception in callBackToWebPage: ");
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].text, "[MoxH5] exception in callBackToWebPage: unknown exception");
    EXPECT_EQ(lines[1].text, "[MoxH5] exception in callBackToWebPage: std::bad_alloc");
    EXPECT_EQ(lines[1].priority, LOG_PRIORITY_ERROR);
}

}  // namespace
}  // namespace moxh5::test
