#include "tests/fakes/bridge_fixture.h"

#include <gtest/gtest.h>
#include <json/reader.h>
#include <json/writer.h>

#include <memory>

namespace moxh5::test {

MoxModuleManager& ReadySingleton() {
    static MoxModuleManager* manager = [] {
        MoxModuleManager* m = MoxModuleManager::GetInstance();
        m->Init(nullptr, nullptr, MoxConfigCallback());
        // The module tests show each method's own behaviour; the page
        // policy's refusals have a test of their own (ScopedPagePolicy).
        m->SetPagePolicy(MoxPagePolicy::Unrestricted());
        m->Create();
        return m;
    }();
    return *manager;
}

mox_h5_module_data MakeCall(const std::string& method, const Json::Value& params, bool isWorker,
                            const std::string& callbackid) {
    mox_h5_module_data call;
    call.mallcsid = "mall-1|cs-1";
    call.payload["method"] = method;
    call.payload["params"] = params;
    call.isWorker = isWorker;
    call.webindex = 7;
    call.callbackid = callbackid;
    call.workerid = isWorker ? "worker-9" : nullptr;
    return call;
}

bool RunCall(const std::string& module, const mox_h5_module_data& call, Json::Value& answer) {
    const auto [registered, handled] = ReadySingleton().Execute(module, call, answer);
    return registered && handled;
}

Json::Value ParseJson(const std::string& text) {
    Json::CharReaderBuilder builder;
    std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value value;
    std::string errors;
    EXPECT_TRUE(reader->parse(text.data(), text.data() + text.size(), &value, &errors))
        << errors << " in " << text;
    return value;
}

std::string Compact(const Json::Value& value) {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return Json::writeString(builder, value);
}

}  // namespace moxh5::test
