#include "modules/photo/H5PhotoWorker.h"

H5PhotoWorker::H5PhotoWorker() = default;

bool H5PhotoWorker::Execute(const mox_module_data* data, Json::Value& answer) {
    return moxh5::detail::DispatchPlain(m_methods, data, answer,
                                        MOX_CALL_SITE("H5PhotoWorker::Execute"),
                                        {/*logUnknownMethod=*/true, /*silenceRenderAnswers=*/true});
}

bool H5PhotoWorker::Exist(const std::string& method) {
    return moxh5::detail::MapsMethod(m_methods, method);
}
