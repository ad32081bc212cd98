#include "modules/network/H5NetworkWorker.h"

H5NetworkWorker::H5NetworkWorker() = default;

bool H5NetworkWorker::Execute(const mox_module_data* data, Json::Value& answer) {
    return moxh5::detail::DispatchPlain(m_methods, data, answer,
                                        MOX_CALL_SITE("H5NetworkWorker::Execute"),
                                        {/*logUnknownMethod=*/true});
}

bool H5NetworkWorker::Exist(const std::string& method) {
    return moxh5::detail::MapsMethod(m_methods, method);
}
