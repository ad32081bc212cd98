#include "modules/basic/H5BasicWorker.h"

#include <string_view>

#include "answer.h"
#include "diagnostics.h"
#include "core/policy/page_policy.h"
#include "core/dispatch/params.h"
#include "mox_json.h"
#include "moxh5/module_manager.h"

namespace {

constexpr char kSetLogFunction[] = "H5BasicWorker::setLog";

// The priority a "logLevel" word selects, or 0 for an unknown word. A page
// writes at notice at most: the more urgent levels belong to the host and the
// library, and a page must not raise alarms in their name. The unrestricted
// page policy keeps the word's own priority, as earlier versions did.
int PriorityOfLevel(std::string_view word, bool clamped) {
    constexpr struct {
        std::string_view word;
        int priority;
    } kLevels[] = {
        {"debug", LOG_PRIORITY_DEBUG},   {"info", LOG_PRIORITY_INFO},
        {"notice", LOG_PRIORITY_NOTICE}, {"warning", LOG_PRIORITY_WARNING},
        {"error", LOG_PRIORITY_ERROR},   {"critical", LOG_PRIORITY_CRITICAL},
        {"alert", LOG_PRIORITY_ALERT},
    };
    for (const auto& level : kLevels) {
        if (level.word != word) continue;
        return clamped && level.priority < LOG_PRIORITY_NOTICE ? LOG_PRIORITY_NOTICE
                                                               : level.priority;
    }
    return 0;
}

}  // namespace

H5BasicWorker::H5BasicWorker() {
    m_methods.emplace("canIUse", &H5BasicWorker::canIUse);
    m_methods.emplace("setLog", &H5BasicWorker::setLog);
}

bool H5BasicWorker::Execute(const mox_module_data* data, Json::Value& answer) {
    return moxh5::detail::DispatchPlain(kModuleName, m_methods, data, answer,
                                        MOX_CALL_SITE("H5BasicWorker::Execute"),
                                        {/*logUnknownMethod=*/false});
}

bool H5BasicWorker::Exist(const std::string& method) {
    return moxh5::detail::MapsMethod(m_methods, method);
}

bool H5BasicWorker::canIUse(const mox_h5_module_data* data, Json::Value&) {
    return data && MoxModuleManager::GetInstance()->Exist(*data);
}

bool H5BasicWorker::setLog(const mox_h5_module_data* data, Json::Value& answer) {
    namespace key = moxh5::key;
    namespace text = moxh5::text;
    if (!data) {
        MOX_LOG_FALSE_IN(kSetLogFunction);
        return false;
    }
    MOX_TRACE_JSON(kSetLogFunction, "[MoxH5] Web req SetLog content: %s", data->payload);

    const Json::Value* params = moxh5::detail::FindCallParams(data->payload);
    if (!params || !params->isObject()) {
        MOX_LOG_JSON(LOG_PRIORITY_ERROR, kSetLogFunction, "[MoxH5] Invalid params %s",
                     data->payload);
        answer[key::kMessage] = text::kInvalidParams;
        return false;
    }
    const std::string content = mox_json::GetJsonValueToString(*params, "content", kSetLogFunction);
    const std::string level = mox_json::GetJsonValueToString(*params, "logLevel", kSetLogFunction);
    const int priority = PriorityOfLevel(level, !moxh5::detail::PolicyUnrestricted());
    if (content.empty() || priority == 0) {
        answer[key::kMessage] = text::kInvalidParam;
        return false;
    }
    MOX_LOG(priority, kSetLogFunction, "[MoxH5] %s", content.c_str());
    return true;
}
