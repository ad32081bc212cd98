#include "mox_json.h"

#include <cstring>
#include <limits>
#include <string_view>

#include "MoxLog.h"
#include "moxh5/platform.h"

namespace mox_json {
namespace {

// Both forms of every getter come here: the key as a view, the caller as a C
// string, so that neither is copied.
std::string_view KeyOf(const std::string& key) { return key; }
std::string_view KeyOf(const char* key) { return key ? std::string_view(key) : std::string_view(); }
const char* CallerOf(const std::string& caller) { return caller.c_str(); }
const char* CallerOf(const char* caller) { return caller ? caller : ""; }

// Objects of up to this many members are searched member by member: a page's
// params are small, and on a small object the scan costs less than the
// tree search of Json::Value::find (which builds a key and compares through
// calls at every node).
constexpr Json::ArrayIndex kScannedMembers = 8;

// Finds a member without copying it; null when obj is not an object or has no
// such member. (Json::Value::find asserts on arrays and scalars, so the type
// is checked first.)
const Json::Value* FindMember(const Json::Value& obj, std::string_view key) {
    if (!key.data() || !obj.isObject()) return nullptr;  // a null C string names no member
    Json::ArrayIndex left = obj.size();
    if (left > kScannedMembers) return obj.find(key.data(), key.data() + key.size());
    for (Json::ValueConstIterator at = obj.begin(); left; --left, ++at) {
        const char* end = nullptr;
        const char* name = at.memberName(&end);
        if (name && static_cast<size_t>(end - name) == key.size() &&
            std::memcmp(name, key.data(), key.size()) == 0) {
            return &*at;
        }
    }
    return nullptr;
}

// Each Convert writes `out` only when the value has its type.
bool Convert(const Json::Value& v, std::string& out) {
    if (!v.isString()) return false;
    const char* begin = nullptr;
    const char* end = nullptr;
    v.getString(&begin, &end);
    out.assign(begin, end);
    return true;
}

// Integers: a stored integer is range checked here, a double by jsoncpp (in
// range and integral, so 3.0 reads as 3); one call for the usual case.
bool Convert(const Json::Value& v, int& out) {
    switch (v.type()) {
        case Json::intValue: {
            const Json::LargestInt i = v.asLargestInt();
            if (i < std::numeric_limits<int>::min() || i > std::numeric_limits<int>::max()) {
                return false;
            }
            out = static_cast<int>(i);
            return true;
        }
        case Json::uintValue: {
            const Json::LargestUInt u = v.asLargestUInt();
            if (u > static_cast<Json::LargestUInt>(std::numeric_limits<int>::max())) return false;
            out = static_cast<int>(u);
            return true;
        }
        case Json::realValue:
            if (!v.isInt()) return false;
            out = v.asInt();
            return true;
        default:
            return false;
    }
}

bool Convert(const Json::Value& v, int64_t& out) {
    switch (v.type()) {
        case Json::intValue:
            out = static_cast<int64_t>(v.asLargestInt());
            return true;
        case Json::uintValue: {
            const Json::LargestUInt u = v.asLargestUInt();
            if (u > static_cast<Json::LargestUInt>(std::numeric_limits<int64_t>::max())) {
                return false;
            }
            out = static_cast<int64_t>(u);
            return true;
        }
        case Json::realValue:
            if (!v.isInt64()) return false;
            out = v.asInt64();
            return true;
        default:
            return false;
    }
}

bool Convert(const Json::Value& v, bool& out) {
    if (!v.isBool()) return false;
    out = v.asBool();
    return true;
}

bool Convert(const Json::Value& v, std::wstring& out) {
    if (!v.isString()) return false;
    const char* begin = nullptr;
    const char* end = nullptr;
    v.getString(&begin, &end);
    out = moxh5::platform::Utf8ToWide(std::string_view(begin, static_cast<size_t>(end - begin)));
    return true;
}

template <typename T>
T ReadValue(const Json::Value& obj, std::string_view key) {
    T out{};
    if (const Json::Value* member = FindMember(obj, key)) Convert(*member, out);
    return out;
}

// A string is built once, at its size (assigning into an empty one would
// first go through the short buffer).
template <>
std::string ReadValue<std::string>(const Json::Value& obj, std::string_view key) {
    const Json::Value* member = FindMember(obj, key);
    if (!member || !member->isString()) return std::string();
    const char* begin = nullptr;
    const char* end = nullptr;
    member->getString(&begin, &end);
    return begin ? std::string(begin, end) : std::string();
}

std::string ReadElement(const Json::Value& array, Json::ArrayIndex index) {
    std::string out;
    // Json::Value::operator[] on a non-array asserts, and on a too large
    // index of a const array hands out a null value: both are checked first.
    if (array.isArray() && index < array.size()) Convert(array[index], out);
    return out;
}

template <typename T>
bool ReadInto(const Json::Value& obj, std::string_view key, T& out, const char* caller,
              bool required, bool keep_default, const char* typeName) {
    const Json::Value* member = FindMember(obj, key);
    if (!member && keep_default) return true;
    if (member && Convert(*member, out)) return true;
    if (required) {
        CMoxLog::MoxLogFormat(LOG_PRIORITY_WARNING, __FILE__, __LINE__, caller,
                              "[mox_json] %s: member \"%.*s\" %s", caller,
                              static_cast<int>(key.size()), key.data(),
                              member ? typeName : "missing");
    }
    return false;
}

constexpr char kNotAString[] = "is not a string";
constexpr char kNotAnInt[] = "is not a 32-bit integer";
constexpr char kNotAnInt64[] = "is not a 64-bit integer";
constexpr char kNotABool[] = "is not a boolean";

}  // namespace

// The std::string forms and the C-string forms share one body each.
#define MOX_JSON_GETTERS(Key, Caller)                                                             \
    std::string GetJsonValueToString(const Json::Value& obj, Key key, Caller) {                   \
        return ReadValue<std::string>(obj, KeyOf(key));                                           \
    }                                                                                             \
    std::string GetJsonValueToString(const Json::Value& array, Json::ArrayIndex index, Caller) {  \
        return ReadElement(array, index);                                                         \
    }                                                                                             \
    int GetJsonValueToInt(const Json::Value& obj, Key key, Caller) {                              \
        return ReadValue<int>(obj, KeyOf(key));                                                   \
    }                                                                                             \
    int64_t GetJsonValueToInt64(const Json::Value& obj, Key key, Caller) {                        \
        return ReadValue<int64_t>(obj, KeyOf(key));                                               \
    }                                                                                             \
    bool GetJsonValueToBool(const Json::Value& obj, Key key, Caller) {                            \
        return ReadValue<bool>(obj, KeyOf(key));                                                  \
    }                                                                                             \
    std::wstring GetJsonValueToUtf8WString(const Json::Value& obj, Key key, Caller) {             \
        return ReadValue<std::wstring>(obj, KeyOf(key));                                          \
    }                                                                                             \
    bool GetJsonValueToString(const Json::Value& obj, Key key, std::string& out, Caller caller,   \
                              bool required, bool keep_default) {                                 \
        return ReadInto(obj, KeyOf(key), out, CallerOf(caller), required, keep_default,           \
                        kNotAString);                                                             \
    }                                                                                             \
    bool GetJsonValueToInt(const Json::Value& obj, Key key, int& out, Caller caller,              \
                           bool required, bool keep_default) {                                    \
        return ReadInto(obj, KeyOf(key), out, CallerOf(caller), required, keep_default,           \
                        kNotAnInt);                                                               \
    }                                                                                             \
    bool GetJsonValueToInt64(const Json::Value& obj, Key key, int64_t& out, Caller caller,        \
                             bool required, bool keep_default) {                                  \
        return ReadInto(obj, KeyOf(key), out, CallerOf(caller), required, keep_default,           \
                        kNotAnInt64);                                                             \
    }                                                                                             \
    bool GetJsonValueToBool(const Json::Value& obj, Key key, bool& out, Caller caller,            \
                            bool required, bool keep_default) {                                   \
        return ReadInto(obj, KeyOf(key), out, CallerOf(caller), required, keep_default,           \
                        kNotABool);                                                               \
    }                                                                                             \
    bool GetJsonValueToUtf8WString(const Json::Value& obj, Key key, std::wstring& out,            \
                                   Caller caller, bool required, bool keep_default) {             \
        return ReadInto(obj, KeyOf(key), out, CallerOf(caller), required, keep_default,           \
                        kNotAString);                                                             \
    }

MOX_JSON_GETTERS(const std::string&, const std::string&)
MOX_JSON_GETTERS(const char*, const char*)

#undef MOX_JSON_GETTERS

}  // namespace mox_json
