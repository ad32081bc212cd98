// The dev host's JSON text: one compact writer (UTF-8 kept as is) and one
// strict reader, shared by the HTTP routes and the page socket.
#pragma once

#include <json/reader.h>
#include <json/writer.h>

#include <memory>
#include <string>

namespace moxh5::devhost {

inline std::string Compact(const Json::Value& value) {
    static const Json::StreamWriterBuilder builder = [] {
        Json::StreamWriterBuilder b;
        b["indentation"] = "";
        b["emitUTF8"] = true;
        return b;
    }();
    return Json::writeString(builder, value);
}

// False for anything but one strict JSON text (what a page sends is untrusted).
inline bool ParseStrict(const std::string& text, Json::Value& value) {
    static const Json::CharReaderBuilder builder = [] {
        Json::CharReaderBuilder b;
        Json::CharReaderBuilder::strictMode(&b.settings_);
        return b;
    }();
    std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    std::string error;
    return reader->parse(text.data(), text.data() + text.size(), &value, &error);
}

}  // namespace moxh5::devhost
