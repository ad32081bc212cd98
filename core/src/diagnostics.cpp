#include "core/detail/diagnostics.h"

#include <json/writer.h>

namespace moxh5::detail {

std::string JsonText(const Json::Value& value) {
    // Built once; writing through a const factory is safe from many threads.
    static const Json::StreamWriterBuilder builder;
    return Json::writeString(builder, value);
}

}  // namespace moxh5::detail
