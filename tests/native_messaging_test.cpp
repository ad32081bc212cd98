// Tests of the native pass-through actions for messages, quick replies,
// reports and goods sharing.
#include <gtest/gtest.h>

#include "tests/fakes/bridge_fixture.h"
#include "tests/fakes/capture_sinks.h"

namespace moxh5::test {
namespace {

// The ten pass-through methods: what each hands the host, given
// params {"replyMessage": {"content": "hi"}, "k": 1} and the workerid "w-3".
const struct PassThrough {
    const char* method;
    const char* op;
    const char* args;  // the recorded arguments, less "request"
    bool needsParams;
} kPassThrough[] = {
    {"UpdateQuickReply", "UpdateQuickReply", "{}", false},
    {"ExportQuickReply", "ExportQuickReply", R"({"workerid":"w-3"})", false},
    {"ImportQuickReply", "ImportQuickReply", "{}", false},
    {"DownQuickReplyModule", "DownQuickReplyModule", R"({"workerid":"w-3"})", false},
    {"BusinessReport", "BusinessReport", "{}", false},
    {"sendVideoShow", "SendVideoShow", "{}", false},
    {"sendAddressMsg", "SendAddressMsg", R"({"params":{"replyMessage":{"content":"hi"},"k":1}})",
     true},
    {"sendFaseReply", "SendFaseReply", R"({"reply":"hi"})", true},
    {"sendRichContent", "SendRichContent", R"({"params":{"replyMessage":{"content":"hi"},"k":1}})",
     true},
    {"sendGoodsListRichContent", "SendRichContent",
     R"({"params":{"replyMessage":{"content":"hi"},"k":1}})", true},
};

mox_h5_module_data PassThroughCall(const char* method) {
    mox_h5_module_data call =
        MakeCall(method, ParseJson(R"({"replyMessage":{"content":"hi"},"k":1})"));
    call.workerid = "w-3";
    return call;
}

// Test what each method hands the host, and that the host's result is the answer.
TEST(NativeMessaging, EachMethodPassesItsPieceToTheHost) {
    for (const PassThrough& p : kPassThrough) {
        for (const bool hostAccepts : {true, false}) {
            SCOPED_TRACE(p.method);
            RecordingHost host;
            host.SetResult(p.op, hostAccepts);
            ScopedActionInterface installed(&host);
            const mox_h5_module_data call = PassThroughCall(p.method);
            Json::Value answer;
            EXPECT_EQ(RunCall("JSCallNative", call, answer), hostAccepts);
            EXPECT_EQ(answer, ParseJson(R"({"NoNeedUnifyCallBack":true})"));
            const auto calls = host.Calls();
            ASSERT_EQ(calls.size(), 1u);
            EXPECT_EQ(calls[0].op, p.op);
            Json::Value args =
                calls[0].args.isNull() ? Json::Value(Json::objectValue) : calls[0].args;
            if (args.isMember("request")) {
                EXPECT_EQ(args["request"], DescribeRequest(&call));
                args.removeMember("request");
            }
            EXPECT_EQ(args, ParseJson(p.args));
        }
    }
}

// Test that without an action interface every method says so, before looking at its params.
TEST(NativeMessaging, MissingActionInterfaceIsReportedFirst) {
    ScopedActionInterface none(nullptr);
    ScopedLogCapture log;
    for (const PassThrough& p : kPassThrough) {
        mox_h5_module_data call = MakeCall(p.method, Json::Value("not an object"));
        Json::Value answer;
        EXPECT_FALSE(RunCall("JSCallNative", call, answer)) << p.method;
        EXPECT_EQ(answer, ParseJson(R"({"NoNeedUnifyCallBack":true,
                                       "message":"Native impl instance is null."})"))
            << p.method;
    }
    EXPECT_EQ(log->Matching("[MoxH5] Callback is nullptr").size(), std::size(kPassThrough));
}

// Test that the methods sending params refuse params that are not an object; the others need none.
TEST(NativeMessaging, OnlyTheSendingMethodsCheckTheirParams) {
    for (const char* payload :
         {R"({"params":"text"})", R"({"params":[1]})", R"({"params":null})", R"({})", "[]"}) {
        for (const PassThrough& p : kPassThrough) {
            SCOPED_TRACE(std::string(p.method) + " " + payload);
            RecordingHost host;
            ScopedActionInterface installed(&host);
            ScopedLogCapture log;
            mox_h5_module_data call = MakeCall(p.method);
            call.payload = ParseJson(payload);
            if (call.payload.isObject()) call.payload["method"] = p.method;
            Json::Value answer;
            const bool handled = RunCall("JSCallNative", call, answer);
            if (!call.payload.isObject()) {
                EXPECT_FALSE(handled) << "no method to dispatch";
                continue;
            }
            EXPECT_EQ(handled, !p.needsParams);
            EXPECT_EQ(host.CountOf(p.op), p.needsParams ? 0u : 1u);
            EXPECT_EQ(answer.isMember("message"), p.needsParams);
            if (p.needsParams) {
                EXPECT_EQ(answer["message"], "Invalid params.");
                EXPECT_TRUE(log->Contains("[MoxH5] Invalid params {"));
            }
        }
    }
}

// Test the quick reply's text: read from "replyMessage"."content", empty when missing or mistyped.
TEST(NativeMessaging, FastReplyReadsTheReplysContent) {
    const struct {
        const char* params;
        const char* reply;
    } cases[] = {
        {R"({"replyMessage":{"content":"\u60a8\u597d"}})", "\xE6\x82\xA8\xE5\xA5\xBD"},
        {R"({"replyMessage":{"content":""}})", ""},
        {R"({"replyMessage":{"content":5}})", ""},
        {R"({"replyMessage":"hi"})", ""},
        {R"({"content":"hi"})", ""},
        {R"({})", ""},
    };
    for (const auto& c : cases) {
        RecordingHost host;
        ScopedActionInterface installed(&host);
        Json::Value answer;
        EXPECT_TRUE(
            RunCall("JSCallNative", MakeCall("sendFaseReply", ParseJson(c.params)), answer));
        const auto replies = host.CallsOf("SendFaseReply");
        ASSERT_EQ(replies.size(), 1u) << c.params;
        EXPECT_EQ(replies[0].args["reply"], c.reply) << c.params;
    }
}

// Test the shared goods: the name in the platform's wide encoding, the link as UTF-8 text.
TEST(NativeMessaging, ShareGoodsPassesLinkAndWideName) {
    const struct {
        const char* goodsInfo;
        const char* url;
        const char* name;
        size_t nameChars;  // characters, each one UTF-16 unit
    } cases[] = {
        {R"({"goods_name":"\u8336\u676f Cup","share_url":"https://s.example/g?id=1&x=\u00e9"})",
         "https://s.example/g?id=1&x=\xC3\xA9", "\xE8\x8C\xB6\xE6\x9D\xAF Cup", 6},
        {R"({})", "", "", 0},
        {R"({"goods_name":1,"share_url":true})", "", "", 0},
        {R"("not an object")", "", "", 0},
    };
    for (const auto& c : cases) {
        RecordingHost host;
        ScopedActionInterface installed(&host);
        Json::Value params;
        params["goodsInfo"] = ParseJson(c.goodsInfo);
        Json::Value answer;
        EXPECT_TRUE(RunCall("JSCallNative", MakeCall("shareGoods", params), answer)) << c.goodsInfo;
        EXPECT_EQ(answer, ParseJson(R"({"NoNeedUnifyCallBack":true})"));
        const auto shares = host.CallsOf("ShareGoods");
        ASSERT_EQ(shares.size(), 1u) << c.goodsInfo;
        EXPECT_EQ(shares[0].args["shareUrl"], c.url) << c.goodsInfo;
        EXPECT_EQ(shares[0].args["goodsName"], c.name) << c.goodsInfo;
        EXPECT_EQ(shares[0].args["goodsNameUnits"], c.nameChars) << c.goodsInfo;
    }
    // Outside the basic plane a character takes two units in UTF-16, one in UTF-32.
    RecordingHost host;
    ScopedActionInterface installed(&host);
    Json::Value answer;
    RunCall("JSCallNative",
            MakeCall("shareGoods", ParseJson(R"({"goodsInfo":{"goods_name":"\ud83c\udf75"}})")),
            answer);
    EXPECT_EQ(host.CallsOf("ShareGoods")[0].args["goodsName"], "\xF0\x9F\x8D\xB5");
    EXPECT_EQ(host.CallsOf("ShareGoods")[0].args["goodsNameUnits"], sizeof(wchar_t) == 2 ? 2u : 1u);
}

// Test that sharing without "goodsInfo" is refused quietly, and the host's refusal is passed on.
TEST(NativeMessaging, ShareGoodsWithoutGoodsIsRefusedQuietly) {
    RecordingHost host;
    ScopedActionInterface installed(&host);
    ScopedLogCapture log;
    ScopedReportCapture reports;
    Json::Value answer;
    EXPECT_FALSE(
        RunCall("JSCallNative", MakeCall("shareGoods", ParseJson(R"({"goods":{}})")), answer));
    EXPECT_EQ(answer, ParseJson(R"({"NoNeedUnifyCallBack":true})"));
    EXPECT_TRUE(host.Calls().empty());
    EXPECT_TRUE(log->Records().empty());

    host.SetResult("ShareGoods", false);
    EXPECT_FALSE(
        RunCall("JSCallNative", MakeCall("shareGoods", ParseJson(R"({"goodsInfo":{}})")), answer));
    EXPECT_EQ(host.CountOf("ShareGoods"), 1u);
}

}  // namespace
}  // namespace moxh5::test
