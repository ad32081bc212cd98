#include "modules/socket/H5SocketWorker.h"

#include "diagnostics.h"
#include "core/dispatch/guard.h"
#include "core/dispatch/params.h"
#include "mox_json.h"

namespace {

namespace detail = moxh5::detail;

constexpr char kSendFunction[] = "H5SocketWorker::send";

// The params object of a payload, or an empty object for the getters to miss.
const Json::Value& ParamsOf(const Json::Value& payload) {
    // Never destroyed: calls may still run on host threads while the library
    // unloads (docs/architecture.md, "Statics").
    static const Json::Value& none = *new Json::Value(Json::objectValue);
    const Json::Value* params = detail::FindCallParams(payload);
    return params ? *params : none;
}

}  // namespace

bool getMsgUid(const Json::Value& payload, std::string& uid) {
    constexpr char kFunction[] = "getMsgUid";
    if (mox_json::GetJsonValueToString(ParamsOf(payload), "uid", uid, kFunction, true, false)) {
        return true;
    }
    MOX_LOG_JSON(LOG_PRIORITY_WARNING, kFunction, "[MoxH5] Invalid param. Msg:%s", payload);
    return false;
}

int64_t getRequestID(const Json::Value& payload) {
    return mox_json::GetJsonValueToInt64(ParamsOf(payload), "request_id", "getRequestID");
}

H5SocketWorker::H5SocketWorker() { m_methods.emplace("send", &H5SocketWorker::send); }

bool H5SocketWorker::Execute(const mox_module_data* data, Json::Value& answer) {
    return detail::DispatchPlain(kModuleName, m_methods, data, answer,
                                 MOX_CALL_SITE("H5SocketWorker::Execute"),
                                 {/*logUnknownMethod=*/true});
}

bool H5SocketWorker::Exist(const std::string& method) {
    return detail::MapsMethod(m_methods, method);
}

bool H5SocketWorker::send(const mox_h5_module_data* data, Json::Value& answer) {
    const detail::CallSite site = MOX_CALL_SITE(kSendFunction);
    if (!detail::RequireRequest(data, site)) return false;
    MOX_TRACE_JSON(kSendFunction, "[MoxH5] Web req SendMessage content: %s", data->payload);
    IH5ActionImplCallBack* host = detail::RequireActionInterface(answer, site);
    if (!host) return false;
    const Json::Value* params = detail::RequireObjectParams(*data, answer, site);
    if (!params) return false;

    // The command name is the host's business; only a chat message is told apart.
    const std::string cmd = mox_json::GetJsonValueToString(*params, "cmd", kSendFunction);
    if (cmd == "send_message") {
        std::string uid;
        if (!getMsgUid(data->payload, uid)) return false;
        return host->SendSocketMessage(data, uid, *params);
    }
    return host->SendSocketCommand(data, data->payload, getRequestID(data->payload));
}
