// Tests of the native pass-through actions for messages, quick replies,
// reports and goods sharing.
#include <gtest/gtest.h>

#include "tests/fakes/native_case.h"

namespace moxh5::test {
namespace {

#define PARAMS R"({"replyMessage":{"content":"hi"},"k":1})"

const NativeCase kCases[] = {
    // Each hands the host the request, or its piece of it; the host's result is the call's.
    {"UpdateQuickReply", "{\"params\":" PARAMS "}", true, kKeptFlag, "UpdateQuickReply", "{}"},
    {"ExportQuickReply", "{}", true, kKeptFlag, "ExportQuickReply", R"({"workerid":"w-3"})",
     kWithWorkerId},
    {"ImportQuickReply", "{}", false, kKeptFlag, "ImportQuickReply", "{}", kHostRefuses},
    {"DownQuickReplyModule", "{}", true, kKeptFlag, "DownQuickReplyModule", R"({"workerid":"w-3"})",
     kWithWorkerId},
    {"BusinessReport", R"({"params":"x"})", true, kKeptFlag, "BusinessReport", "{}"},
    {"sendVideoShow", "{}", true, kKeptFlag, "SendVideoShow", nullptr},
    {"sendAddressMsg", "{\"params\":" PARAMS "}", true, kKeptFlag, "SendAddressMsg",
     "{\"params\":" PARAMS "}"},
    {"sendRichContent", "{\"params\":" PARAMS "}", true, kKeptFlag, "SendRichContent",
     "{\"params\":" PARAMS "}"},
    {"sendGoodsListRichContent", "{\"params\":" PARAMS "}", false, kKeptFlag, "SendRichContent",
     "{\"params\":" PARAMS "}", kHostRefuses},
    {"sendFaseReply", "{\"params\":" PARAMS "}", true, kKeptFlag, "SendFaseReply",
     R"({"reply":"hi"})"},
    {"sendFaseReply", R"({"params":{"replyMessage":{"content":"\u60a8\u597d"}}})", true, kKeptFlag,
     "SendFaseReply", R"({"reply":"\u60a8\u597d"})"},
    {"sendFaseReply", R"({"params":{"replyMessage":{"content":5}}})", true, kKeptFlag,
     "SendFaseReply", R"({"reply":""})"},
    {"sendFaseReply", R"({"params":{}})", true, kKeptFlag, "SendFaseReply", R"({"reply":""})"},
    // Only the three sending methods need object params.
    {"sendAddressMsg", R"({"params":"x"})", false, kFlagAndInvalidParams, nullptr, nullptr},
    {"sendRichContent", R"({"params":[1]})", false, kFlagAndInvalidParams, nullptr, nullptr},
    {"sendFaseReply", R"({"params":null})", false, kFlagAndInvalidParams, nullptr, nullptr},
    {"sendGoodsListRichContent", "{}", false, kFlagAndInvalidParams, nullptr, nullptr},
    // The action interface is checked before the params.
    {"sendAddressMsg", R"({"params":"x"})", false, kFlagAndNoHost, nullptr, nullptr, kNoHost},
    {"sendVideoShow", "{}", false, kFlagAndNoHost, nullptr, nullptr, kNoHost},
    {"DownQuickReplyModule", "{}", false, kFlagAndNoHost, nullptr, nullptr, kNoHost},
    // Goods: the link as UTF-8, the name in the platform's wide encoding.
    {"shareGoods",
     R"({"params":{"goodsInfo":{"goods_name":"\u8336\u676f Cup","share_url":"https://s.example/g?x=\u00e9"}}})",
     true, kKeptFlag, "ShareGoods",
     R"({"shareUrl":"https://s.example/g?x=\u00e9","goodsName":"\u8336\u676f Cup","goodsNameUnits":6})"},
    {"shareGoods", R"({"params":{"goodsInfo":{}}})", true, kKeptFlag, "ShareGoods",
     R"({"shareUrl":"","goodsName":""})"},
    {"shareGoods", R"({"params":{"goodsInfo":{"goods_name":1,"share_url":true}}})", false,
     kKeptFlag, "ShareGoods", R"({"shareUrl":"","goodsName":""})", kHostRefuses},
    {"shareGoods", R"({"params":{"goods":{}}})", false, kKeptFlag, nullptr, nullptr},
    {"shareGoods", R"({"params":"x"})", false, kFlagAndInvalidParams, nullptr, nullptr},
    {"shareGoods", R"({"params":{"goodsInfo":{}}})", false, kFlagAndNoHost, nullptr, nullptr,
     kNoHost},
};

// Test each row: what reaches the host, the host's result, and the distinct failure texts.
TEST(NativeMessaging, CallsAnswerAndReachTheHostAsListed) {
    for (const NativeCase& c : kCases) ExpectNativeCase(c);
}

// Test that a name outside the basic plane takes two UTF-16 units on Windows, one UTF-32 unit
// elsewhere.
TEST(NativeMessaging, GoodsNameKeepsCharactersOutsideTheBasicPlane) {
    ExpectNativeCase({"shareGoods", R"({"params":{"goodsInfo":{"goods_name":"\ud83c\udf75"}}})",
                      true, kKeptFlag, "ShareGoods",
                      sizeof(wchar_t) == 2 ? R"({"goodsName":"\ud83c\udf75","goodsNameUnits":2})"
                                           : R"({"goodsName":"\ud83c\udf75","goodsNameUnits":1})"});
}

// Test that sharing without goods is refused without a log line.
TEST(NativeMessaging, SharingWithoutGoodsIsQuiet) {
    RecordingHost host;
    ScopedActionInterface installed(&host);
    ScopedLogCapture log;
    ScopedReportCapture reports;
    Json::Value answer;
    EXPECT_FALSE(RunCall("JSCallNative", MakeCall("shareGoods"), answer));
    EXPECT_TRUE(log->Records().empty());
}

}  // namespace
}  // namespace moxh5::test
