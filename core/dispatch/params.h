// Reading a call's "params".
#pragma once

#include <json/value.h>

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

}  // namespace moxh5::detail
