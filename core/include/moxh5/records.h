// Records that cross the boundary between the host and MOXH5.
#pragma once

#include <json/value.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <variant>

class IModuleWorker;

// Value handed to the configuration callback: the default of the switch asked
// for. The callback may write nothing back; only its result counts.
using MoxConfigValue = std::variant<long, double, bool, std::string>;

// The host's configuration callable. Asked for a feature switch by `key`;
// `second` is the mallcsid of the session the call belongs to (empty when the
// question is not about one session); `value` carries the default. The switch
// is on only when the callable returns true. An empty callable means every
// switch is off.
using MoxConfigCallback = std::function<bool(const std::string& key, const std::string& second,
                                             const MoxConfigValue& value)>;

// One script call from a page.
//
// The host fills it, keeps it alive for the length of the Execute or Exist call
// and owns `workerid`'s text. Handlers that answer later copy what they need.
struct mox_h5_module_data {
    // Identity of the merchant's customer-service session that owns the page.
    std::string mallcsid;
    // The call: {"method": "<name>", "params": {...}}.
    Json::Value payload;
    // True for a worker page (background script context), false for a render
    // (visible) page.
    bool isWorker = false;
    // Index of the web view that made the call.
    int32_t webindex = 0;
    // The page's callback id; empty when the page wants no answer.
    std::string callbackid;
    // NUL-terminated UTF-8 id of the worker page; meaningful only when
    // isWorker. May be null.
    const char* workerid = nullptr;
    // Copy of the configuration callback given to MoxModuleManager::Init; may
    // be empty.
    MoxConfigCallback configCallback;
};

// The same call as the manager hands it to a module; one layout with
// mox_h5_module_data, so either may be passed where the other is declared.
using mox_module_data = mox_h5_module_data;

// A module's registration record.
struct mox_source_info_t {
    // module name, as pages spell it ("JSCallBasic")
    std::string name;
    // always 0; copied, never read
    uint32_t reserved = 0;
    std::string (*name_fn)() = nullptr;
    std::shared_ptr<IModuleWorker> (*create_fn)() = nullptr;
    bool (*execute_fn)(std::shared_ptr<IModuleWorker> worker, const mox_module_data* data,
                       Json::Value& answer) = nullptr;
    bool (*exist_fn)(std::shared_ptr<IModuleWorker> worker, const std::string& method) = nullptr;
};
