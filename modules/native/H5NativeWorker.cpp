#include "modules/native/H5NativeWorker.h"

H5NativeWorker::H5NativeWorker() = default;

bool H5NativeWorker::Execute(const mox_module_data* data, Json::Value& answer) {
    return moxh5::detail::DispatchByContext(m_methods, data, answer,
                                            MOX_CALL_SITE("H5NativeWorker::Execute"));
}

bool H5NativeWorker::Exist(const std::string& method) {
    return moxh5::detail::MapsMethod(m_methods, method);
}
