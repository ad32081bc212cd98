#include "core/detail/params.h"

#include <cstring>

#include "core/detail/answer.h"

namespace moxh5::detail {
namespace {

thread_local const DispatchedPayload* t_dispatched = nullptr;

}  // namespace

DispatchedPayload::DispatchedPayload(const Json::Value& payload,
                                     const PayloadMembers& members) noexcept
    : m_payload(&payload), m_members(members), m_outer(t_dispatched) {
    t_dispatched = this;
}

DispatchedPayload::~DispatchedPayload() { t_dispatched = m_outer; }

const PayloadMembers* DispatchedPayload::MembersOf(const Json::Value& payload) noexcept {
    const DispatchedPayload* dispatched = t_dispatched;
    return dispatched && dispatched->m_payload == &payload ? &dispatched->m_members : nullptr;
}

const Json::Value* FindCallParams(const Json::Value& payload) {
    if (const PayloadMembers* members = DispatchedPayload::MembersOf(payload)) {
        return members->params;
    }
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
