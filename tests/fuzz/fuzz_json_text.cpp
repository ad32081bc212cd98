// libFuzzer target: the library's JSON reader on any bytes. Whatever it
// accepts, the compact text of it must read back to an equal value and the
// indented text must be jsoncpp's; and the request reader must agree with it:
// on a JSON object it refuses only a member of the wrong type, and reads the
// same payload.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include <json/writer.h>

#include "json_text.h"

namespace {

void Check(bool holds) {
    if (!holds) std::abort();
}

bool ReadsBack(const std::string& text, const Json::Value& value) {
    Json::Value again;
    return moxh5::detail::ParseJson(text, again) && again == value;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    Json::Value value;
    const bool parsed = moxh5::detail::ParseJson(text, value);
    moxh5::detail::RequestRecord call;
    const bool read = moxh5::detail::ReadRequestText(text, call);
    moxh5::detail::RequestRecord page;
    Check(moxh5::detail::ReadRequestText(text, page, /*withPayload=*/false) == read);
    if (!parsed) return 0;
    Check(ReadsBack(moxh5::detail::CompactJson(value), value));
    Check(moxh5::detail::StyledJson(value) ==
          Json::writeString(Json::StreamWriterBuilder(), value));
    if (!value.isObject()) {
        Check(!read);
    } else if (read) {
        Check(call.data.payload == value.get("payload", Json::Value()));
    } else {
        Check(!call.problem.empty());
    }
    return 0;
}
