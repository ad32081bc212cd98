// Worker of the module "MMSSocket": messages and commands over the host's
// message connection.
//   "send" - params "cmd" "send_message" (exact): a chat message to params
//            "uid" (required), sent with the whole params; any other "cmd":
//            the whole payload goes to the host as a command keyed by params
//            "request_id" (a 64-bit integer, 0 when absent).
// Answers go through the unified callback.
#pragma once

#include <cstdint>
#include <string>

#include "core/dispatch/dispatch.h"
#include "moxh5/module_worker.h"

class H5SocketWorker : public IModuleWorker {
public:
    // The module name pages call.
    static constexpr char kModuleName[] = "MMSSocket";

    H5SocketWorker();
    bool Execute(const mox_module_data* data, Json::Value& answer) override;
    bool Exist(const std::string& method) override;
    // The whole method map, read-only: every name this worker answers to.
    const moxh5::detail::PlainMethodMap& Methods() const { return m_methods; }

    static bool send(const mox_h5_module_data* data, Json::Value& answer);

private:
    moxh5::detail::PlainMethodMap m_methods;
};

// Params "uid" of a call's payload. False, after a warning with the payload,
// when it is missing or not a string.
bool getMsgUid(const Json::Value& payload, std::string& uid);
// Params "request_id" of a call's payload; 0 when absent.
int64_t getRequestID(const Json::Value& payload);
