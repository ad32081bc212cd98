// Every method of every module against payloads a page should never send:
// no crash, no exception, no leak (under the sanitizer presets), and a
// failure text only ever with a false result.
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "AsciiCase.h"
#include "modules/native/H5NativeWorker.h"
#include "moxh5/platform.h"
#include "payload_limits.h"
#include "tests/fakes/bridge_fixture.h"
#include "tests/fakes/capture_sinks.h"

namespace moxh5::test {
namespace {

// Module name first, then its methods; the native module's come from its table.
const char* const kModules[] = {
    "JSCallBasic canIUse setLog",
    "JSDevice getSystemInfo startMonitorScreenCapture stopMonitorScreenCapture onScreenCapture",
    "JSNetwork request httpRequest",
    "JSPhoto watch store watchCommon batchDownload",
    "MMSSocket send",
    "JSStorage setPasteboard setAllPasteboard getClipboardData",
};

// The keys the modules read from "params", and nested objects they read from.
const char kKeys[] =
    "name content logLevel type url cookie headers msg_id urlArr index cmd uid request_id data "
    "successMsg errorMsg title duration toastType toastMsg leftButtonText rightButtonText width "
    "height scene frequency left right replyMessage goodsInfo page jump filePath pluginID callID "
    "filter signName signValue fileDataName tempFilePath pageName currentUid orderSn mallId "
    "operateName orderGoodsList targetUrl targetUrlType unreadUrgentMsgCount from orderSequenceNo "
    "goodsUrl user role download_url file_name response robot_learn_guide msg csid mallid";

std::vector<std::string> Words(const std::string& text) {
    std::istringstream in(text);
    std::vector<std::string> words;
    for (std::string word; in >> word;) words.push_back(word);
    return words;
}

// Paths and links that name nothing on this machine.
const std::string kNowhere = "moxh5-sweep-\xE4\xB8\x8D\xE5\xAD\x98\xE5\x9C\xA8-\xFF";

Json::Value Payload(const Json::Value& params) {
    Json::Value payload;
    payload["params"] = params;
    return payload;
}

// Params with every key set to `value`.
Json::Value EveryKey(const Json::Value& value) {
    Json::Value params(Json::objectValue);
    for (const std::string& key : Words(kKeys)) params[key] = value;
    return Payload(params);
}

// Whether a line logged during a call names the function that wrote it: the method's handler
// (or the one it shares) or dispatch under its worker's name, or a helper calls go through.
bool NamesTheHandler(const std::string& function, const std::string& module,
                     const Json::Value& method) {
    static const std::set<std::string> kHelpers = {"WorkbenchReport::Report",
                                                   "MoxModuleManager::Exist", "H5HttpRequest",
                                                   "setPasteBoard", "getMsgid"};
    static const std::map<std::string, std::string> kShared = {
        {"FeedBackCommon", "feedBack"},
        {"httpRequest", "request"},
        {"sendRichContent", "sendRich_GoodsListContent"},
        {"sendGoodsListRichContent", "sendRich_GoodsListContent"}};
    static const std::map<std::string, std::string> kWorkers = {
        {"JSCallBasic", "H5BasicWorker"},  {"JSDevice", "H5DeviceWorker"},
        {"JSNetwork", "H5NetworkWorker"},  {"JSPhoto", "H5PhotoWorker"},
        {"MMSSocket", "H5SocketWorker"},   {"JSStorage", "H5StorageWorker"},
        {"JSCallNative", "H5NativeWorker"}};
    const std::string prefix = kWorkers.at(module) + "::";
    if (function.rfind(prefix, 0) != 0) return kHelpers.count(function) != 0;
    const std::string name = function.substr(prefix.size());
    std::string called = method.isString() ? method.asString() : "";
    if (kShared.count(called)) called = kShared.at(called);
    return name == "Execute" || EqualsIgnoringAsciiCase(name, called) ||
           name == called + "_render" || name == called + "_worker";
}

class BadInputSweep : public ::testing::Test {
protected:
    void SetUp() override {
        // Pages' garbage must not open, or delete, anything real.
        platform::SetShellOpenHook([](const std::wstring&) -> uintptr_t { return 2; });
        platform::SetRemoveFileHook([](const std::wstring&) { return -1; });
        host.SetCurrentUid("", "buyer-1");
    }
    void TearDown() override {
        platform::SetShellOpenHook(nullptr);
        platform::SetRemoveFileHook(nullptr);
        EXPECT_FALSE(errors->Contains("[MoxH5] exception in"));
    }

    // Runs one payload against every method, from both page kinds, and checks
    // the outcome's shape; then the host finishes what it accepted, badly.
    void Sweep(const Json::Value& payloadTemplate, const std::string& what) {
        std::vector<std::vector<std::string>> modules;
        for (const char* line : kModules) modules.push_back(Words(line));
        modules.push_back({"JSCallNative"});
        for (const H5NativeWorker::MethodRow& row : H5NativeWorker::kMethodRows)
            modules.back().push_back(row.name);
        for (const std::vector<std::string>& module : modules) {
            for (size_t m = 1; m < module.size(); ++m) {
                for (bool isWorker : {false, true}) {
                    mox_h5_module_data call = MakeCall(module[m], Json::Value(), isWorker);
                    call.payload = payloadTemplate;
                    if (call.payload.isObject() && !call.payload.isMember("method")) {
                        call.payload["method"] = module[m];
                    }
                    CheckOne(module[0], call, module[m] + " " + what);
                }
            }
        }
        host.CompleteAll(false, Json::Value("not an object"));
        host.Reset();
        host.SetCurrentUid("", "buyer-1");
    }

    void CheckOne(const std::string& module, const mox_h5_module_data& call,
                  const std::string& what) {
        static const std::set<std::string> failureTexts = {"Invalid method.", "Invalid params.",
                                                           "Invalid param.", "Invalid Param.",
                                                           "Native impl instance is null."};
        Json::Value answer(Json::objectValue);
        ScopedLogCapture lines(LOG_PRIORITY_DEBUG);
        const auto [registered, handled] = ReadySingleton().Execute(module, call, answer);
        const Json::Value method = call.payload.isObject() ? call.payload["method"] : Json::Value();
        for (const MoxLogRecord& line : lines->Records()) {
            EXPECT_TRUE(NamesTheHandler(line.function, module, method))
                << line.function << " in " << module << " " << what;
            EXPECT_EQ(line.text.find("[MoxH5] exception in"), std::string::npos) << line.text;
        }
        ASSERT_TRUE(registered);
        ASSERT_TRUE(answer.isObject()) << module << " " << what;
        const Json::Value& message = answer["message"];
        if (message.isString() && failureTexts.count(message.asString())) {
            EXPECT_FALSE(handled) << module << "." << what << " answered " << message.asString()
                                  << " with success";
        }
        callBackToWebPage(call.isWorker, handled, call.webindex, call.mallcsid, call.callbackid,
                          "worker-9", answer);
        ReadySingleton().Exist(call);
    }

    RecordingHost host;
    ScopedActionInterface installed{&host};
    ScopedLogCapture errors{LOG_PRIORITY_ERROR};
};

// Test payloads that are not objects, "params" of every JSON type, and a method that is no text.
TEST_F(BadInputSweep, MalformedPayloadsAndParams) {
    for (const char* text : {"null", "1", "\"text\"", "[1,2]", "true"}) {
        Sweep(ParseJson(text), std::string("payload ") + text);
    }
    for (const char* text : {"null", "0", "-1", "1.5", "true", "\"s\"", "[]", "[1,\"a\"]", "{}"}) {
        Sweep(Payload(ParseJson(text)), std::string("params ") + text);
    }
    Json::Value methodNotString = Payload(Json::objectValue);
    methodNotString["method"] = 7;
    Sweep(methodNotString, "method 7");
}

// Test every key with values of the wrong type, empty or invalid UTF-8, and megabyte texts in the
// keys that carry text. (Payloads nested past the bound reach no method at all:
// HostilePage.DeepOrHugePayloadsReachNoModule.)
TEST_F(BadInputSweep, KeysOfWrongTypeEmptyInvalidOrHuge) {
    const Json::Value values[] = {Json::Value(),
                                  Json::Value(-2147483647 - 1),
                                  Json::Value(1e300),
                                  Json::Value(true),
                                  Json::Value(""),
                                  Json::Value(Json::arrayValue),
                                  Json::Value(kNowhere),
                                  ParseJson(R"({"a":[1,{"b":null}]})"),
                                  Json::Value("\xC3\x28\xA0\xA1\xF0\x28\x8C\x28")};
    for (const Json::Value& value : values) Sweep(EveryKey(value), "every key " + Compact(value));
    const std::string big = kNowhere + std::string(2 * 1024 * 1024, 'x');
    for (const char* key : {"content", "url", "data", "title", "name", "cmd", "page", "jump",
                            "filePath", "targetUrl", "toastMsg", "msg_id"}) {
        Json::Value params(Json::objectValue);
        params[key] = big;
        Sweep(Payload(params), std::string("megabyte ") + key);
    }
}

// Test the value bound of a payload on both sides: every container and element counts as a
// value. (The nesting bound: HostilePage.DeepOrHugePayloadsReachNoModule.)
TEST(PayloadLimits, ValueBoundHoldsOnBothSides) {
    const auto values = [](size_t count) {  // the array and count - 1 null elements
        Json::Value array(Json::arrayValue);
        array.resize(static_cast<Json::ArrayIndex>(count - 1));
        return array;
    };
    EXPECT_TRUE(detail::PayloadWithinLimits(values(detail::kMaxPayloadValues)));
    EXPECT_FALSE(detail::PayloadWithinLimits(values(detail::kMaxPayloadValues + 1)));
}

}  // namespace
}  // namespace moxh5::test
