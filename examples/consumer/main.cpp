// The smallest host: start the manager without any host interface, ask which
// modules exist and call one method that needs no host.
#include <moxh5/module_manager.h>
#include <moxh5/version.h>

#include <cstdio>
#include <string>

namespace {

mox_h5_module_data PageCall(const char* method, const Json::Value& params) {
    mox_h5_module_data call;
    call.mallcsid = "consumer";
    call.payload["method"] = method;
    call.payload["params"] = params;
    return call;
}

}  // namespace

int main() {
    MoxModuleManager* manager = CSingleton<MoxModuleManager>::GetInstance();
    manager->Init(nullptr, nullptr, MoxConfigCallback());
    manager->Create();

    Json::Value name(Json::objectValue);
    name["name"] = "JSCallNative.getWorkbenchVersion";
    const bool exists = manager->Exist(PageCall("canIUse", name));

    Json::Value answer(Json::objectValue);
    const auto [registered, handled] = manager->Execute(
        "JSCallNative", PageCall("getWorkbenchVersion", Json::Value(Json::objectValue)), answer);
    const std::string version = answer["data"]["WorkbenchVersion"].asString();

    std::printf("exists %d, registered %d, handled %d, library %s, headers %s\n", exists,
                registered, handled, version.c_str(), MOXH5_VERSION_STRING);
    return exists && registered && handled && version == MOXH5_VERSION_STRING ? 0 : 1;
}
