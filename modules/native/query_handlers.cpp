// Queries for data only the host holds: the current mall, the internal tool's
// action list, the customer of the current conversation.
//
// The handler does not wait for the data. It hands the host the request, the
// page's web index and the page's own "callID" (an integer at the top level of
// the call, not inside "params"), and the host later answers the page itself
// under that id. So the answers keep "NoNeedUnifyCallBack". Render pages only.
#include "core/dispatch/guard.h"
#include "modules/native/H5NativeWorker.h"
#include "modules/native/native_log.h"
#include "mox_json.h"

namespace {

using HostQuery = bool (IH5ActionImplCallBack::*)(const mox_h5_module_data* request, int webindex,
                                                  int callId);

// The shape the three queries share. `jsName` names the call in the report of
// a failed copy. A missing or non-integer "callID" reads as 0 and the host is
// asked all the same.
bool AskHost(const mox_h5_module_data* data, Json::Value& answer,
             const moxh5::detail::CallSite& site, const char* jsName, HostQuery query) {
    IH5ActionImplCallBack* host = moxh5::detail::RequireRequestAndHost(data, answer, site);
    if (!host) return false;
    const int callId = mox_json::GetJsonValueToInt(
        moxh5::detail::GuardedCopy(data->payload, jsName, site), "callID", site.function);
    return (host->*query)(data, data->webindex, callId);
}

}  // namespace

bool H5NativeWorker::getMallInfo(const mox_h5_module_data* data, Json::Value& answer) {
    return AskHost(data, answer, NATIVE_SITE("H5NativeWorker::getMallInfo"), "getMallInfo",
                   &IH5ActionImplCallBack::GetMallInfo);
}

bool H5NativeWorker::getTesselActions(const mox_h5_module_data* data, Json::Value& answer) {
    return AskHost(data, answer, NATIVE_SITE("H5NativeWorker::getTesselActions"),
                   "getTesselActions", &IH5ActionImplCallBack::GetTesselActions);
}

bool H5NativeWorker::getCurrentCustomerInfo(const mox_h5_module_data* data, Json::Value& answer) {
    return AskHost(data, answer, NATIVE_SITE("H5NativeWorker::getCurrentCustomerInfo"),
                   "getCurrentCustomerInfo", &IH5ActionImplCallBack::GetCurrentCustomerInfo);
}
