// Shared helpers for tests that drive the bridge.
#pragma once

#include <json/value.h>

#include <string>

#include "moxh5/module_manager.h"
#include "tools/recording_host/recording_host.h"

namespace moxh5::test {

// A manager of its own, with an empty registry, for tests that must not touch
// the process-wide one.
class TestManager : public MoxModuleManager {};

// Installs `host` as the singleton's action interface for the lifetime of the
// object and restores the previous one after.
class ScopedActionInterface {
public:
    explicit ScopedActionInterface(IH5ActionImplCallBack* host)
        : m_previous(MoxModuleManager::GetInstance()->GetCallback()) {
        MoxModuleManager::GetInstance()->SetCallback(host);
    }
    ~ScopedActionInterface() { MoxModuleManager::GetInstance()->SetCallback(m_previous); }
    ScopedActionInterface(const ScopedActionInterface&) = delete;
    ScopedActionInterface& operator=(const ScopedActionInterface&) = delete;

private:
    IH5ActionImplCallBack* m_previous;
};

// The process-wide manager after Init and Create, done once per test program
// (Init registers the modules again each time it runs), with the page policy
// unrestricted.
MoxModuleManager& ReadySingleton();

// Installs `users` as the user centre of ReadySingleton() for the lifetime of
// the object and restores the previous one after. (It readies the singleton
// first: Init, which sets the user centre, runs only once.)
class ScopedUserCenter {
public:
    explicit ScopedUserCenter(IUserCenter* users) : m_previous(ReadySingleton().GetUserCenter()) {
        ReadySingleton().SetUserCenter(users);
    }
    ~ScopedUserCenter() { ReadySingleton().SetUserCenter(m_previous); }
    ScopedUserCenter(const ScopedUserCenter&) = delete;
    ScopedUserCenter& operator=(const ScopedUserCenter&) = delete;

private:
    IUserCenter* m_previous;
};

// Puts `policy` in force for the lifetime of the object (the safe default
// unless given); the fixture's unrestricted policy after.
struct ScopedPagePolicy {
    explicit ScopedPagePolicy(MoxPagePolicy policy = {}) {
        ReadySingleton().SetPagePolicy(std::move(policy));
    }
    ~ScopedPagePolicy() { ReadySingleton().SetPagePolicy(MoxPagePolicy::Unrestricted()); }
    ScopedPagePolicy(const ScopedPagePolicy&) = delete;
    ScopedPagePolicy& operator=(const ScopedPagePolicy&) = delete;
};

// A script call: payload {"method": method, "params": params}.
mox_h5_module_data MakeCall(const std::string& method,
                            const Json::Value& params = Json::objectValue, bool isWorker = false,
                            const std::string& callbackid = "cb-1");

// Runs `call` on the module `module` of ReadySingleton(); the call's result
// (false also when the module is not registered).
bool RunCall(const std::string& module, const mox_h5_module_data& call, Json::Value& answer);

// Parses JSON text; fails the calling test on malformed text.
Json::Value ParseJson(const std::string& text);

// One-line JSON text: readable in failures, and blind to the difference
// between signed and unsigned numbers of the same value.
std::string Compact(const Json::Value& value);

}  // namespace moxh5::test
