// Tests of the module "JSPhoto" through the process-wide manager.
#include <gtest/gtest.h>

#include "modules/photo/H5PhotoWorker.h"
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

// Test each method's host call, and which render answers the unified callback may send.
TEST_F(PhotoModule, MethodsHandTheHostWhatItNeeds) {
    const char* const picture = R"({"url":"https://img/1.png","msg_id":"m-7"})";
    const struct {
        const char* method;
        const char* params;
        bool isWorker;
        const char* op;
        const char* args;  // the host call's arguments checked
        const char* answer;
    } cases[] = {
        {"watch", picture, false, "ViewPicture",
         R"({"url":"https://img/1.png","uid":"buyer-5","msgId":"m-7"})", "{}"},
        {"batchDownload", picture, false, "BatchDownloadPictures",
         R"({"url":"https://img/1.png","uid":"buyer-5","msgId":"m-7"})",
         R"({"NoNeedUnifyCallBack":true})"},
        {"batchDownload", picture, true, "BatchDownloadPictures", R"({"uid":"buyer-5"})", "{}"},
        {"store", R"({"url":""})", true, "StorePicture", R"({"url":"","workerid":"worker-9"})",
         "{}"},
        {"watchCommon", R"({"urlArr":[{"url":"a"},"b",{"src":"c"},{"url":"d"}],"index":9})", true,
         "ViewPictureList", R"({"startIndex":9,"urls":["a","d"]})", "{}"},
        {"watchCommon", R"({"urlArr":["a"]})", false, "ViewPictureList",
         R"({"startIndex":0,"urls":[]})", R"({"NoNeedUnifyCallBack":true})"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Run(c.method, c.params, c.isWorker), std::make_tuple(true, true)) << c.method;
        EXPECT_EQ(answer, ParseJson(c.answer)) << c.method;
        const auto calls = host.CallsOf(c.op);
        ASSERT_EQ(calls.size(), 1u) << c.method;
        const Json::Value expected = ParseJson(c.args);
        for (const std::string& name : expected.getMemberNames()) {
            EXPECT_EQ(calls[0].args[name], expected[name]) << c.method << " " << name;
        }
    }
    host.SetResult("StorePicture", false);
    EXPECT_EQ(Run("store", R"({"url":"u"})"), std::make_tuple(true, false));
}

// Test what stops a call before the host acts, and with which trace and message.
TEST_F(PhotoModule, RefusalsComeBeforeTheHostActs) {
    const struct {
        const char* method;
        const char* params;
        bool urlTraced;
        const char* message;
    } cases[] = {
        {"watch", R"({"msg_id":"m"})", false, nullptr},
        {"watch", R"({"url":"u","msg_id":3})", true, nullptr},
        {"batchDownload", R"({"url":"u"})", true, nullptr},
        {"store", R"({"url":5})", false, nullptr},
        {"watchCommon", R"({"urlArr":{"url":"a"}})", false, nullptr},
        {"watchCommon", R"(["urlArr"])", false, nullptr},
        {"Watch", "{}", false, "Invalid method."},
    };
    for (const auto& c : cases) {
        ScopedLogCapture log;
        EXPECT_EQ(Run(c.method, c.params), std::make_tuple(true, false)) << c.params;
        EXPECT_EQ(log->Contains("[MoxH5] JS watch pic url:u."), c.urlTraced) << c.params;
        EXPECT_EQ(answer["message"], c.message ? Json::Value(c.message) : Json::Value());
        EXPECT_TRUE(host.Calls().empty()) << c.params;
    }
    ScopedActionInterface none(nullptr);
    EXPECT_EQ(Run("store", R"({"url":"u"})"), std::make_tuple(true, false));
    EXPECT_EQ(answer["message"], "Native impl instance is null.");

    ScopedUserCenter noUserCenter(nullptr);
    ScopedActionInterface back(&host);
    ScopedLogCapture log;
    EXPECT_EQ(Run("watch", R"({"url":"u","msg_id":"m"})"), std::make_tuple(true, false));
    EXPECT_EQ(log->Matching("UserCenter is null, {").size(), 1u);
    EXPECT_TRUE(host.Calls().empty());
}

// Test the message-id reader on payloads of every shape.
TEST(PhotoMessageId, ReadsParamsMessageIdOnly) {
    const std::pair<const char*, const char*> cases[] = {
        {R"({"params":{"msg_id":"m-1"}})", "m-1"}, {R"({"params":{"msg_id":""}})", ""},
        {R"({"params":{"msg_id":12}})", nullptr},  {R"({"msg_id":"m-1"})", nullptr},
        {R"({"params":"m-1"})", nullptr},          {R"(["params"])", nullptr},
    };
    for (const auto& [payload, id] : cases) {
        std::string read = "old";
        EXPECT_EQ(getMsgid(ParseJson(payload), read), id != nullptr) << payload;
        EXPECT_EQ(read, id ? id : "old") << payload;
    }
}

}  // namespace
}  // namespace moxh5::test
