#include "core/dispatch/params.h"

#include <cstring>

#include "core/dispatch/answer.h"

namespace moxh5::detail {

const Json::Value* FindCallParams(const Json::Value& payload) {
    return FindMember(payload, key::kParams);
}

const Json::Value* FindMember(const Json::Value& object, const char* name) {
    // Json::Value::find asserts on arrays and scalars, so the type comes first.
    if (!object.isObject()) return nullptr;
    return object.find(name, name + std::strlen(name));
}

bool CopyCallParams(const Json::Value& payload, Json::Value& params) noexcept {
    params = Json::Value();
    const Json::Value* found = FindCallParams(payload);
    if (!found) return false;
    try {
        params = *found;
        return true;
    } catch (...) {
        params = Json::Value();
        return false;
    }
}

}  // namespace moxh5::detail
