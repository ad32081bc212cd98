// libFuzzer target: the C interface's JSON reader on any bytes. Whatever it
// accepts, the writer's text of it must read back to an equal value.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "json_text.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    Json::Value value;
    if (!moxh5::detail::ParseJson(text, value)) return 0;
    Json::Value again;
    if (!moxh5::detail::ParseJson(moxh5::detail::CompactJson(value), again) || !(again == value)) {
        std::abort();
    }
    return 0;
}
