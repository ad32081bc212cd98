#include "core/detail/params.h"

#include "core/detail/answer.h"

namespace moxh5::detail {

const Json::Value* FindCallParams(const Json::Value& payload) {
    if (!payload.isObject()) return nullptr;
    const char* name = key::kParams;
    return payload.find(name, name + sizeof(key::kParams) - 1);
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
