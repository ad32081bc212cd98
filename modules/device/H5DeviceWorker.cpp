#include "modules/device/H5DeviceWorker.h"

#include <fmt/format.h>

#include "answer.h"
#include "diagnostics.h"
#include "core/dispatch/guard.h"
#include "moxh5/platform.h"

std::atomic<bool> g_screenCaptureMonitoring{false};

namespace {

namespace detail = moxh5::detail;
namespace platform = moxh5::platform;

constexpr char kOnScreenCaptureFunction[] = "H5DeviceWorker::onScreenCapture";
constexpr char kScreenshotToast[] =
    "\xE6\x94\xB6\xE5\x88\xB0\xE7\x94\xA8\xE6\x88\xB7\xE6\x88\xAA"
    "\xE5\x9B\xBE";  // 收到用户截图
constexpr int kToastDurationMs = 1500;

}  // namespace

H5DeviceWorker::H5DeviceWorker() {
    m_methods.emplace("getSystemInfo", &H5DeviceWorker::getSystemInfo);
    m_methods.emplace("startMonitorScreenCapture", &H5DeviceWorker::startMonitorScreenCapture);
    m_methods.emplace("stopMonitorScreenCapture", &H5DeviceWorker::stopMonitorScreenCapture);
    m_methods.emplace("onScreenCapture", &H5DeviceWorker::onScreenCapture);
}

bool H5DeviceWorker::Execute(const mox_module_data* data, Json::Value& answer) {
    return detail::DispatchPlain(kModuleName, m_methods, data, answer,
                                 MOX_CALL_SITE("H5DeviceWorker::Execute"),
                                 {/*logUnknownMethod=*/false});
}

bool H5DeviceWorker::Exist(const std::string& method) {
    return detail::MapsMethod(m_methods, method);
}

bool H5DeviceWorker::getSystemInfo(const mox_h5_module_data*, Json::Value& answer) {
    Json::Value info(Json::objectValue);
    info["bit"] = platform::OsBitness();
    info["os"] = "windows";
    // Read anew on every call; a system without the entry point reports 0.0.0.
    uint32_t major = 0, minor = 0, build = 0;
    platform::GetNtVersionNumbers(major, minor, build);
    info["osVersion"] = fmt::format("{}.{}.{}", major, minor, build);
    const platform::ScreenSize screen = platform::PrimaryScreenSize();
    Json::Value size(Json::objectValue);
    size["width"] = screen.width;
    size["height"] = screen.height;
    info["screen"] = std::move(size);
    answer[moxh5::key::kData] = std::move(info);
    return true;
}

bool H5DeviceWorker::startMonitorScreenCapture(const mox_h5_module_data*, Json::Value&) {
    g_screenCaptureMonitoring.store(true, std::memory_order_relaxed);
    return true;
}

bool H5DeviceWorker::stopMonitorScreenCapture(const mox_h5_module_data*, Json::Value&) {
    g_screenCaptureMonitoring.store(false, std::memory_order_relaxed);
    return true;
}

bool H5DeviceWorker::onScreenCapture(const mox_h5_module_data* data, Json::Value& answer) {
    if (!g_screenCaptureMonitoring.load(std::memory_order_relaxed)) {
        MOX_LOG_FALSE_IN(kOnScreenCaptureFunction);
        return false;
    }
    const detail::CallSite site = MOX_CALL_SITE(kOnScreenCaptureFunction);
    if (!detail::RequireRequest(data, site)) return false;
    // Only the presence of an object "params" matters; its contents are not read.
    if (!detail::RequireObjectParams(*data, answer, site)) return false;
    IH5ActionImplCallBack* host = detail::RequireActionInterface(answer, site);
    if (!host) return false;
    host->ShowToast(MOX_TOAST_SUCCESS, kScreenshotToast, sizeof(kScreenshotToast) - 1,
                    kToastDurationMs);
    return true;
}
