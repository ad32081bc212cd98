#include "mox_json.h"

#include "MoxLog.h"
#include "moxh5/platform.h"

namespace mox_json {
namespace {

// Finds a member without copying it; null when obj is not an object or has no
// such member. (Json::Value::find asserts on arrays and scalars, so the type
// is checked first.)
const Json::Value* FindMember(const Json::Value& obj, const std::string& key) {
    if (!obj.isObject()) return nullptr;
    return obj.find(key.data(), key.data() + key.size());
}

bool Convert(const Json::Value& v, std::string& out) {
    if (!v.isString()) return false;
    const char* begin = nullptr;
    const char* end = nullptr;
    v.getString(&begin, &end);
    out.assign(begin, end);
    return true;
}

bool Convert(const Json::Value& v, int& out) {
    if (!v.isInt()) return false;
    out = v.asInt();
    return true;
}

bool Convert(const Json::Value& v, int64_t& out) {
    if (!v.isInt64()) return false;
    out = v.asInt64();
    return true;
}

bool Convert(const Json::Value& v, bool& out) {
    if (!v.isBool()) return false;
    out = v.asBool();
    return true;
}

bool Convert(const Json::Value& v, std::wstring& out) {
    std::string utf8;
    if (!Convert(v, utf8)) return false;
    out = moxh5::platform::Utf8ToWide(utf8);
    return true;
}

template <typename T>
T ReadValue(const Json::Value& obj, const std::string& key) {
    T out{};
    const Json::Value* member = FindMember(obj, key);
    if (member && !Convert(*member, out)) out = T{};
    return out;
}

template <typename T>
bool ReadInto(const Json::Value& obj, const std::string& key, T& out, const std::string& caller,
              bool required, bool keep_default, const char* typeName) {
    const Json::Value* member = FindMember(obj, key);
    if (!member && keep_default) return true;
    T value{};
    if (member && Convert(*member, value)) {
        out = std::move(value);
        return true;
    }
    if (required) {
        CMoxLog::MoxLogFormat(LOG_PRIORITY_WARNING, __FILE__, __LINE__, caller.c_str(),
                              "[mox_json] %s: member \"%s\" %s", caller.c_str(), key.c_str(),
                              member ? typeName : "missing");
    }
    return false;
}

}  // namespace

std::string GetJsonValueToString(const Json::Value& obj, const std::string& key,
                                 const std::string&) {
    return ReadValue<std::string>(obj, key);
}
std::string GetJsonValueToString(const Json::Value& array, Json::ArrayIndex index,
                                 const std::string&) {
    std::string out;
    // Json::Value::operator[] on a non-array asserts, and on a too large
    // index of a const array hands out a null value: both are checked first.
    if (array.isArray() && index < array.size()) Convert(array[index], out);
    return out;
}
int GetJsonValueToInt(const Json::Value& obj, const std::string& key, const std::string&) {
    return ReadValue<int>(obj, key);
}
int64_t GetJsonValueToInt64(const Json::Value& obj, const std::string& key, const std::string&) {
    return ReadValue<int64_t>(obj, key);
}
bool GetJsonValueToBool(const Json::Value& obj, const std::string& key, const std::string&) {
    return ReadValue<bool>(obj, key);
}
std::wstring GetJsonValueToUtf8WString(const Json::Value& obj, const std::string& key,
                                       const std::string&) {
    return ReadValue<std::wstring>(obj, key);
}

bool GetJsonValueToString(const Json::Value& obj, const std::string& key, std::string& out,
                          const std::string& caller, bool required, bool keep_default) {
    return ReadInto(obj, key, out, caller, required, keep_default, "is not a string");
}
bool GetJsonValueToInt(const Json::Value& obj, const std::string& key, int& out,
                       const std::string& caller, bool required, bool keep_default) {
    return ReadInto(obj, key, out, caller, required, keep_default, "is not a 32-bit integer");
}
bool GetJsonValueToInt64(const Json::Value& obj, const std::string& key, int64_t& out,
                         const std::string& caller, bool required, bool keep_default) {
    return ReadInto(obj, key, out, caller, required, keep_default, "is not a 64-bit integer");
}
bool GetJsonValueToBool(const Json::Value& obj, const std::string& key, bool& out,
                        const std::string& caller, bool required, bool keep_default) {
    return ReadInto(obj, key, out, caller, required, keep_default, "is not a boolean");
}
bool GetJsonValueToUtf8WString(const Json::Value& obj, const std::string& key, std::wstring& out,
                               const std::string& caller, bool required, bool keep_default) {
    return ReadInto(obj, key, out, caller, required, keep_default, "is not a string");
}

}  // namespace mox_json
