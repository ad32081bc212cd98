#include "modules/native/handler_checks.h"

#include "answer.h"
#include "diagnostics.h"
#include "mox_json.h"
#include "moxh5/module_manager.h"

namespace moxh5::native {

bool RequireText(const Json::Value& params, const char* name, Json::Value& answer,
                 const char* function, std::string& out) {
    out = mox_json::GetJsonValueToString(params, name, function);
    if (!out.empty()) return true;
    answer[key::kMessage] = text::kInvalidParam;
    return false;
}

IUserCenter* RequireUserCenter(const moxh5::detail::CallSite& site) {
    IUserCenter* users = MoxModuleManager::GetInstance()->GetUserCenter();
    if (!users) {
        moxh5::detail::WriteLogLine(LOG_PRIORITY_ERROR, site.file, site.line, site.function,
                                    "UserCenter is null, %s", site.function);
    }
    return users;
}

bool IsCurrentSession(const mox_h5_module_data& data, const moxh5::detail::CallSite& site) {
    IUserCenter* users = RequireUserCenter(site);
    return users && users->GetCurrentMallCsId() == data.mallcsid;
}

}  // namespace moxh5::native
