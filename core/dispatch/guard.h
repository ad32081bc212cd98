// The checks that handlers repeat, each a small early exit that writes its
// own log line and answer text. A handler reads as a list of them:
//
//   if (!RequireRequest(data, site)) return false;
//   IH5ActionImplCallBack* host = RequireActionInterface(answer, site);
//   if (!host) return false;
//   const Json::Value* params = RequireObjectParams(*data, answer, site);
//   if (!params) return false;
//
// RequireCall runs those three in that order, for handlers whose opening is
// exactly that.
#pragma once

#include <json/value.h>

#include "core/dispatch/dispatch.h"
#include "moxh5/host_interfaces.h"
#include "moxh5/records.h"

namespace moxh5::detail {

// A non-null request; otherwise "[MoxH5] false in <function> <line>".
bool RequireRequest(const mox_h5_module_data* data, const CallSite& site);

// The installed action interface; otherwise null after "[MoxH5] Callback is
// nullptr" and "message": "Native impl instance is null.".
IH5ActionImplCallBack* RequireActionInterface(Json::Value& answer, const CallSite& site);

// RequireRequest then RequireActionInterface: the opening of most handlers.
// Returns the action interface, or null.
IH5ActionImplCallBack* RequireRequestAndHost(const mox_h5_module_data* data, Json::Value& answer,
                                             const CallSite& site);

// The payload's "params" when the payload is an object whose "params" is an
// object; otherwise null after "[MoxH5] Invalid params <payload text>" and
// "message": "Invalid params.". Read in place, not copied.
const Json::Value* RequireObjectParams(const mox_h5_module_data& data, Json::Value& answer,
                                       const CallSite& site);

// The three checks above in order. Returns the params, or null.
struct CheckedCall {
    IH5ActionImplCallBack* host = nullptr;
    const Json::Value* params = nullptr;
    explicit operator bool() const { return host && params; }
};
CheckedCall RequireCall(const mox_h5_module_data* data, Json::Value& answer, const CallSite& site);

// A copy of `source` that never throws: when the copy fails (allocation), logs
// "refine_json_wrong, caller: <caller>" under the caller's `site`, sends report
// 70332 and gives null.
Json::Value GuardedCopy(const Json::Value& source, const char* caller,
                        const CallSite& site) noexcept;
// The same with the copy step given, so that tests can make it fail.
Json::Value GuardedCopyUsing(const Json::Value& source, const char* caller, const CallSite& site,
                             Json::Value (*copy)(const Json::Value&)) noexcept;

// Lets the unified callback answer this call: removes the
// "NoNeedUnifyCallBack" a dispatch set (the photo worker's render answers).
void UseUnifiedCallback(Json::Value& answer);

// Whether the call's configuration callback turns the switch `key` on; the
// default passed is false. No callback means off.
bool FeatureEnabled(const mox_h5_module_data& data, const char* key);

}  // namespace moxh5::detail
