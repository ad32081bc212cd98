// Worker of the module "JSPhoto": pictures shown, stored and downloaded by the
// host.
//   "watch"         - params "url", "msg_id": the host's viewer, for the
//                     current buyer of the session
//   "store"         - params "url": the host saves the picture
//   "watchCommon"   - params "urlArr" (objects with "url"), "index": the host's
//                     viewer over a list, starting at "index"
//   "batchDownload" - params "url", "msg_id": the host downloads the pictures
// Render-page answers start with "NoNeedUnifyCallBack": true (the host's
// viewer answers them); "watch" removes it and always answers through the
// unified callback.
#pragma once

#include <string>

#include "core/dispatch/dispatch.h"
#include "moxh5/module_worker.h"

class H5PhotoWorker : public IModuleWorker {
public:
    // The module name pages call.
    static constexpr char kModuleName[] = "JSPhoto";

    H5PhotoWorker();
    bool Execute(const mox_module_data* data, Json::Value& answer) override;
    bool Exist(const std::string& method) override;
    // The whole method map, read-only: every name this worker answers to.
    const moxh5::detail::PlainMethodMap& Methods() const { return m_methods; }

    static bool watch(const mox_h5_module_data* data, Json::Value& answer);
    static bool store(const mox_h5_module_data* data, Json::Value& answer);
    static bool watchCommon(const mox_h5_module_data* data, Json::Value& answer);
    static bool batchDownload(const mox_h5_module_data* data, Json::Value& answer);

private:
    moxh5::detail::PlainMethodMap m_methods;
};

// Reads params "msg_id" (a string) of a call's payload. False when the payload
// is not an object holding "params" or the id is missing.
bool getMsgid(const Json::Value& payload, std::string& msg_id);
