// Page life cycle and the message list: a worker page announces that it has
// loaded; a page asks the host to refresh the message list, select a
// logistics order or locate a message.
//
// Thin pass-through: the host's result is the handler's result, and the host
// answers the page itself, so the answers keep "NoNeedUnifyCallBack".
#include "answer.h"
#include "core/dispatch/guard.h"
#include "core/dispatch/params.h"
#include "modules/native/H5NativeWorker.h"
#include "modules/native/native_log.h"
#include "mox_json.h"

using moxh5::detail::GuardedCopy;
using moxh5::detail::RequireObjectParams;
using moxh5::detail::RequireRequestAndHost;

// Worker pages only.
bool H5NativeWorker::workerOnLoad(const mox_h5_module_data* data, Json::Value& answer) {
    constexpr char kFunction[] = "H5NativeWorker::workerOnLoad";
    IH5ActionImplCallBack* host = RequireRequestAndHost(data, answer, NATIVE_SITE(kFunction));
    if (!host) return false;
    NATIVE_TRACE_JSON(kFunction, "[MoxH5] WorkerLoaded content: %s", data->payload);
    const Json::Value* params = RequireObjectParams(*data, answer, NATIVE_SITE(kFunction));
    if (!params) return false;
    const std::string pageName = mox_json::GetJsonValueToString(
        GuardedCopy(*params, "workerOnLoad", NATIVE_SITE(kFunction)), "pageName", kFunction);
    return host->WorkerOnLoad(data, pageName, 0);
}

// Nothing is read or checked: the host takes the whole call.
bool H5NativeWorker::updateMsg(const mox_h5_module_data* data, Json::Value& answer) {
    IH5ActionImplCallBack* host =
        RequireRequestAndHost(data, answer, NATIVE_SITE("H5NativeWorker::updateMsg"));
    return host && host->UpdateMsg(data->payload, data);
}

// The host answers the page under its top-level "callID" (0 when absent).
bool H5NativeWorker::logisticOrderSelect(const mox_h5_module_data* data, Json::Value& answer) {
    constexpr char kFunction[] = "H5NativeWorker::logisticOrderSelect";
    IH5ActionImplCallBack* host = RequireRequestAndHost(data, answer, NATIVE_SITE(kFunction));
    if (!host) return false;
    const int callId = mox_json::GetJsonValueToInt(
        GuardedCopy(data->payload, "logisticOrderSelect", NATIVE_SITE(kFunction)), "callID",
        kFunction);
    return host->LogisticOrderSelect(data->payload, data, data->webindex, callId);
}

// A "params" that is missing or not an object is refused as "Invalid param."
// (singular), without a log line.
bool H5NativeWorker::locateMessage(const mox_h5_module_data* data, Json::Value& answer) {
    IH5ActionImplCallBack* host =
        RequireRequestAndHost(data, answer, NATIVE_SITE("H5NativeWorker::locateMessage"));
    if (!host) return false;
    const Json::Value* params = moxh5::detail::FindCallParams(data->payload);
    if (!params || !params->isObject()) {
        answer[moxh5::key::kMessage] = moxh5::text::kInvalidParam;
        return false;
    }
    return host->LocateMessage(data, *params);
}
