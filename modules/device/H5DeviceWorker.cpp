#include "modules/device/H5DeviceWorker.h"

H5DeviceWorker::H5DeviceWorker() = default;

bool H5DeviceWorker::Execute(const mox_module_data* data, Json::Value& answer) {
    return moxh5::detail::DispatchPlain(m_methods, data, answer,
                                        MOX_CALL_SITE("H5DeviceWorker::Execute"),
                                        {/*logUnknownMethod=*/false});
}

bool H5DeviceWorker::Exist(const std::string& method) {
    return moxh5::detail::MapsMethod(m_methods, method);
}
