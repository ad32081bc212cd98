#include "core/dispatch/params.h"

#include <cstring>

#include "answer.h"

namespace moxh5::detail {
namespace {

// Read on every dispatch: on ELF systems in the initial-exec model, a plain
// load instead of a call to find the thread's block.
#if defined(__ELF__) && (defined(__GNUC__) || defined(__clang__))
#define MOX_FAST_TLS __attribute__((tls_model("initial-exec")))
#else
#define MOX_FAST_TLS
#endif
thread_local const DispatchedPayload* t_dispatched MOX_FAST_TLS = nullptr;

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
