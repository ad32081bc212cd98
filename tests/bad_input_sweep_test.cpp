// Every method of every module against payloads a page should never send:
// no crash, no exception, no leak (under the sanitizer presets), and a
// failure text only ever with a false result.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "modules/native/H5NativeWorker.h"
#include "moxh5/platform.h"
#include "tests/fakes/bridge_fixture.h"
#include "tests/fakes/capture_sinks.h"

namespace moxh5::test {
namespace {

struct ModuleMethods {
    const char* module;
    std::vector<const char*> methods;
};

const std::vector<ModuleMethods>& AllMethods() {
    static const std::vector<ModuleMethods> all = {
        {"JSCallBasic", {"canIUse", "setLog"}},
        {"JSDevice",
         {"getSystemInfo", "startMonitorScreenCapture", "stopMonitorScreenCapture",
          "onScreenCapture"}},
        {"JSNetwork", {"request", "httpRequest"}},
        {"JSPhoto", {"watch", "store", "watchCommon", "batchDownload"}},
        {"MMSSocket", {"send"}},
        {"JSStorage", {"setPasteboard", "setAllPasteboard", "getClipboardData"}},
    };
    return all;
}

// The native module's names, from its own table.
std::vector<const char*> NativeMethods() {
    std::vector<const char*> names;
    for (const H5NativeWorker::MethodRow& row : H5NativeWorker::kMethodRows)
        names.push_back(row.name);
    return names;
}

// The keys the modules read from "params", and nested objects they read from.
const char* const kKeys[] = {"name",
                             "content",
                             "logLevel",
                             "type",
                             "url",
                             "cookie",
                             "headers",
                             "msg_id",
                             "urlArr",
                             "index",
                             "cmd",
                             "uid",
                             "request_id",
                             "data",
                             "successMsg",
                             "errorMsg",
                             "title",
                             "duration",
                             "toastType",
                             "toastMsg",
                             "leftButtonText",
                             "rightButtonText",
                             "width",
                             "height",
                             "scene",
                             "frequency",
                             "left",
                             "right",
                             "replyMessage",
                             "goodsInfo",
                             "page",
                             "jump",
                             "filePath",
                             "pluginID",
                             "callID",
                             "filter",
                             "signName",
                             "signValue",
                             "fileDataName",
                             "tempFilePath",
                             "pageName",
                             "currentUid",
                             "orderSn",
                             "mallId",
                             "operateName",
                             "orderGoodsList",
                             "targetUrl",
                             "targetUrlType",
                             "unreadUrgentMsgCount",
                             "from",
                             "orderSequenceNo",
                             "goodsUrl",
                             "user",
                             "role",
                             "download_url",
                             "file_name",
                             "response",
                             "robot_learn_guide",
                             "msg",
                             "csid",
                             "mallid"};

// Paths and links that name nothing on this machine.
const std::string kNowhere = "moxh5-sweep-\xE4\xB8\x8D\xE5\xAD\x98\xE5\x9C\xA8-\xFF";

uintptr_t RefuseToOpen(const std::wstring&) { return 2; }
int RefuseToRemove(const std::wstring&) { return -1; }

class BadInputSweep : public ::testing::Test {
protected:
    void SetUp() override {
        // Pages' garbage must not open, or delete, anything real.
        platform::SetShellOpenHook(&RefuseToOpen);
        platform::SetRemoveFileHook(&RefuseToRemove);
        host.SetCurrentUid("", "buyer-1");
    }
    void TearDown() override {
        platform::SetShellOpenHook(nullptr);
        platform::SetRemoveFileHook(nullptr);
    }

    // Runs one payload against every method, both page kinds, and checks the
    // outcome's shape. Returns how many calls were made.
    int Sweep(const Json::Value& payloadTemplate, const std::string& what) {
        int calls = 0;
        std::vector<ModuleMethods> modules = AllMethods();
        modules.push_back({"JSCallNative", NativeMethods()});
        for (const ModuleMethods& module : modules) {
            for (const char* method : module.methods) {
                for (bool isWorker : {false, true}) {
                    mox_h5_module_data call = MakeCall(method, Json::Value(), isWorker);
                    call.payload = payloadTemplate;
                    if (call.payload.isObject() && !call.payload.isMember("method")) {
                        call.payload["method"] = method;
                    }
                    CheckOne(module.module, method, call, what);
                    ++calls;
                }
            }
        }
        host.CompleteAll(false, Json::Value("not an object"));
        host.Reset();
        host.SetCurrentUid("", "buyer-1");
        return calls;
    }

    void CheckOne(const char* module, const char* method, const mox_h5_module_data& call,
                  const std::string& what) {
        static const std::set<std::string> failureTexts = {"Invalid method.", "Invalid params.",
                                                           "Invalid param.", "Invalid Param.",
                                                           "Native impl instance is null."};
        Json::Value answer(Json::objectValue);
        const auto [registered, handled] = ReadySingleton().Execute(module, call, answer);
        ASSERT_TRUE(registered);
        ASSERT_TRUE(answer.isObject()) << module << " " << what;
        const Json::Value& message = answer["message"];
        if (message.isString() && failureTexts.count(message.asString())) {
            EXPECT_FALSE(handled) << module << "." << method << " " << what << " answered "
                                  << message.asString() << " with success";
        }
        callBackToWebPage(call.isWorker, handled, call.webindex, call.mallcsid, call.callbackid,
                          "worker-9", answer);
        ReadySingleton().Exist(call);
    }

    RecordingHost host;
    ScopedActionInterface installed{&host};
    ScopedLogCapture errors{LOG_PRIORITY_ERROR};
};

Json::Value Payload(const Json::Value& params) {
    Json::Value payload;
    payload["params"] = params;
    return payload;
}

// Test payloads that are not objects, and "params" of every JSON type.
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
    EXPECT_FALSE(errors->Contains("[MoxH5] exception in"));
}

// Test every key with values of the wrong type, empty, and invalid UTF-8.
TEST_F(BadInputSweep, KeysOfWrongTypeEmptyOrInvalidText) {
    const Json::Value values[] = {Json::Value(),
                                  Json::Value(-2147483647 - 1),
                                  Json::Value(1e300),
                                  Json::Value(true),
                                  Json::Value(""),
                                  Json::Value(Json::arrayValue),
                                  ParseJson(R"({"a":[1,{"b":null}]})"),
                                  Json::Value(kNowhere),
                                  Json::Value("\xC3\x28\xA0\xA1\xF0\x28\x8C\x28")};
    for (const Json::Value& value : values) {
        Json::Value params(Json::objectValue);
        for (const char* key : kKeys) params[key] = value;
        Sweep(Payload(params), "every key " + value.toStyledString());
    }
    EXPECT_FALSE(errors->Contains("[MoxH5] exception in"));
}

// Test megabyte texts in the keys that carry text.
TEST_F(BadInputSweep, MegabyteTexts) {
    const std::string big = kNowhere + std::string(2 * 1024 * 1024, 'x');
    for (const char* key : {"content", "url", "data", "title", "name", "cmd", "page", "jump",
                            "filePath", "targetUrl", "toastMsg", "msg_id"}) {
        Json::Value params(Json::objectValue);
        params[key] = big;
        Sweep(Payload(params), std::string("megabyte ") + key);
    }
    EXPECT_FALSE(errors->Contains("[MoxH5] exception in"));
}

// Test deeply nested values in params and in every key.
TEST_F(BadInputSweep, DeeplyNestedValues) {
    Json::Value deep = ParseJson("[]");
    for (int depth = 0; depth < 400; ++depth) {
        Json::Value outer(Json::objectValue);
        outer["a"] = deep;
        deep = outer;
    }
    Sweep(Payload(deep), "deep params");
    Json::Value params(Json::objectValue);
    for (const char* key : kKeys) params[key] = deep;
    Sweep(Payload(params), "deep keys");
    EXPECT_FALSE(errors->Contains("[MoxH5] exception in"));
}

}  // namespace
}  // namespace moxh5::test
