// Worker of the module "JSDevice": what a page may know about the machine, and
// the screen-capture watch.
//   "getSystemInfo"             - {"data": {"bit", "os": "windows",
//                                 "osVersion": "major.minor.build",
//                                 "screen": {"width", "height"}}}
//   "startMonitorScreenCapture" - turns the watch on for every page
//   "stopMonitorScreenCapture"  - turns it off for every page
//   "onScreenCapture"           - while the watch is on, confirms a page's
//                                 screenshot report with a toast
// Answers go through the unified callback.
#pragma once

#include <atomic>

#include "core/dispatch/dispatch.h"
#include "moxh5/module_worker.h"

// The screen-capture watch: one flag for the whole process, shared by all
// pages, off when the library loads. Relaxed: it orders nothing else, it only
// must not tear.
extern std::atomic<bool> g_screenCaptureMonitoring;

class H5DeviceWorker : public IModuleWorker {
public:
    // The module name pages call.
    static constexpr char kModuleName[] = "JSDevice";

    H5DeviceWorker();
    bool Execute(const mox_module_data* data, Json::Value& answer) override;
    bool Exist(const std::string& method) override;
    // The whole method map, read-only: every name this worker answers to.
    const moxh5::detail::PlainMethodMap& Methods() const { return m_methods; }

    static bool getSystemInfo(const mox_h5_module_data* data, Json::Value& answer);
    static bool startMonitorScreenCapture(const mox_h5_module_data* data, Json::Value& answer);
    static bool stopMonitorScreenCapture(const mox_h5_module_data* data, Json::Value& answer);
    static bool onScreenCapture(const mox_h5_module_data* data, Json::Value& answer);

private:
    moxh5::detail::PlainMethodMap m_methods;
};
