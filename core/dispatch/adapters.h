// The four free functions through which the manager reaches a module. All
// seven modules share them; MOX_DEFINE_MODULE_ADAPTERS writes one set.
#pragma once

#include <exception>
#include <memory>
#include <string>

#include "diagnostics.h"
#include "core/dispatch/dispatch.h"
#include "moxh5/module_worker.h"

namespace moxh5::detail {

template <typename Worker>
std::shared_ptr<IModuleWorker> CreateWorker(const CallSite& site) {
    try {
        return std::make_shared<Worker>();
    } catch (const std::exception&) {
        WriteLogLine(LOG_PRIORITY_ERROR, site.file, site.line, site.function, "[MoxH5] %s failed",
                     site.function);
        return nullptr;
    }
}

inline bool ExecuteOnWorker(IModuleWorker* worker, const mox_module_data* data, Json::Value& answer,
                            const CallSite& site) {
    if (worker && data) return worker->Execute(data, answer);
    LogFalseIn(site);
    return false;
}

inline bool ExistOnWorker(IModuleWorker* worker, const std::string& method, const CallSite& site) {
    if (worker) return worker->Exist(method);
    LogFalseIn(site);
    return false;
}

}  // namespace moxh5::detail

#define MOX_DEFINE_MODULE_ADAPTERS(Module, WorkerClass, moduleName)                                \
    std::string h5_##Module##_name() { return moduleName; }                                        \
    std::shared_ptr<IModuleWorker> h5_##Module##_create() {                                        \
        return ::moxh5::detail::CreateWorker<WorkerClass>(MOX_CALL_SITE("h5_" #Module "_create")); \
    }                                                                                              \
    bool h5_##Module##_execute(std::shared_ptr<IModuleWorker> worker, const mox_module_data* data, \
                               Json::Value& answer) {                                              \
        return ::moxh5::detail::ExecuteOnWorker(worker.get(), data, answer,                        \
                                                MOX_CALL_SITE("h5_" #Module "_execute"));          \
    }                                                                                              \
    bool h5_##Module##_exist(std::shared_ptr<IModuleWorker> worker, const std::string& method) {   \
        return ::moxh5::detail::ExistOnWorker(worker.get(), method,                                \
                                              MOX_CALL_SITE("h5_" #Module "_exist"));              \
    }                                                                                              \
    mox_source_info_t h5_##Module##_source_info() {                                                \
        mox_source_info_t info;                                                                    \
        info.name = moduleName;                                                                    \
        info.name_fn = &h5_##Module##_name;                                                        \
        info.create_fn = &h5_##Module##_create;                                                    \
        info.execute_fn = &h5_##Module##_execute;                                                  \
        info.exist_fn = &h5_##Module##_exist;                                                      \
        return info;                                                                               \
    }
