// Checks that several native handlers share beyond the common guard: a
// required text key, and the user centre with the page's session.
#pragma once

#include <json/value.h>

#include <string>

#include "core/dispatch/dispatch.h"
#include "moxh5/host_interfaces.h"
#include "moxh5/records.h"

namespace moxh5::native {

// The string member `name` of `params` in `out`. When it is missing, not a
// string or empty: "message": "Invalid param." and false.
bool RequireText(const Json::Value& params, const char* name, Json::Value& answer,
                 const char* function, std::string& out);

// The installed user centre; otherwise null after the line
// "UserCenter is null, <function>".
IUserCenter* RequireUserCenter(const moxh5::detail::CallSite& site);

// Whether the page's session is the one that is current in the host (false,
// after RequireUserCenter's line, when there is no user centre).
bool IsCurrentSession(const mox_h5_module_data& data, const moxh5::detail::CallSite& site);

}  // namespace moxh5::native
