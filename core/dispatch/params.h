// Reading a call's "params".
#pragma once

#include <json/value.h>

#include <string>
#include <tuple>

#include "payload_limits.h"
#include "moxh5/records.h"

namespace moxh5::detail {

// The "params" member of a call's payload, read in place; null when the
// payload is not an object or has no "params".
const Json::Value* FindCallParams(const Json::Value& payload);

// The member `name` of `object`, read in place; null when `object` is not an
// object or has no such member.
const Json::Value* FindMember(const Json::Value& object, const char* name);

// The same as an owned copy: false when the payload is not an object, has no
// "params", or the copy throws (allocation failure); `params` is then null.
bool CopyCallParams(const Json::Value& payload, Json::Value& params) noexcept;

// The payload that MoxModuleManager::Execute has checked and is dispatching
// on this thread, with where its "method" and "params" are (noted by the
// check's walk). While the scope lasts, FindCallParams and the method read
// answer for that very payload without a search, and Exist does not check it
// again. Scopes nest (a handler may call Execute).
class DispatchedPayload {
public:
    DispatchedPayload(const Json::Value& payload, const PayloadMembers& members) noexcept;
    ~DispatchedPayload();
    DispatchedPayload(const DispatchedPayload&) = delete;
    DispatchedPayload& operator=(const DispatchedPayload&) = delete;

    // The members noted for `payload` if it is the payload dispatched on this
    // thread; null for any other value.
    static const PayloadMembers* MembersOf(const Json::Value& payload) noexcept;

private:
    const Json::Value* m_payload;
    PayloadMembers m_members;
    const DispatchedPayload* m_outer;
};

// MoxModuleManager::Execute for a payload known to keep within the payload
// bounds, whose "method" and "params" are already noted (the C interface's
// reader proves both for a short request text): the same call without the
// walk over the payload.
std::tuple<bool, bool> ExecuteWithinLimits(const std::string& module,
                                           const mox_h5_module_data& data,
                                           const PayloadMembers& members,
                                           Json::Value& answer) noexcept;

}  // namespace moxh5::detail
