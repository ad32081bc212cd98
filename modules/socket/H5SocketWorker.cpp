#include "modules/socket/H5SocketWorker.h"

H5SocketWorker::H5SocketWorker() = default;

bool H5SocketWorker::Execute(const mox_module_data* data, Json::Value& answer) {
    return moxh5::detail::DispatchPlain(m_methods, data, answer,
                                        MOX_CALL_SITE("H5SocketWorker::Execute"),
                                        {/*logUnknownMethod=*/true});
}

bool H5SocketWorker::Exist(const std::string& method) {
    return moxh5::detail::MapsMethod(m_methods, method);
}
