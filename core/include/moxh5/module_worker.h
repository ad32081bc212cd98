// The worker base: one worker per module turns a script call into one handler
// call.
#pragma once

#include <json/value.h>

#include <string>

#include "moxh5/records.h"

class IModuleWorker {
public:
    virtual ~IModuleWorker() = default;

    // Handles one call: finds the handler named by payload "method" and runs
    // it, or answers {"message": "Invalid method.", "support": false}.
    // Returns the handler's result, false when no handler ran.
    virtual bool Execute(const mox_module_data* data, Json::Value& answer) = 0;

    // Whether the worker maps `method` (exact, case-sensitive).
    virtual bool Exist(const std::string& method) = 0;
};
