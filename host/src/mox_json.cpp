#include "mox_json.h"

#include <cstring>
#include <limits>
#include <string_view>

#include "MoxLog.h"
#include "moxh5/platform.h"

namespace mox_json {
namespace {

// Both forms of every getter come here: the key as a view, the caller as a C
// string, neither copied. A null C string key names no member.
class Key {
public:
    explicit Key(const std::string& key) : m_name(key) {}
    explicit Key(const char* key) : m_name(key ? std::string_view(key) : std::string_view()) {}

    bool Null() const { return m_name.data() == nullptr; }
    // Whether the member name of `size` bytes (NULs included) is this key.
    bool Names(const char* name, size_t size) const {
        return size == m_name.size() && std::memcmp(name, m_name.data(), size) == 0;
    }
    std::string_view View() const { return m_name; }

private:
    std::string_view m_name;
};

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
const Json::Value* FindMember(const Json::Value& obj, const Key& key) {
    if (key.Null()) return nullptr;
    // size() is 0 for scalars and null; the elements of a small array have no
    // names, so the scan finds nothing there either.
    Json::ArrayIndex left = obj.size();
    if (left > kScannedMembers) {
        if (!obj.isObject()) return nullptr;
        const std::string_view name = key.View();
        return obj.find(name.data(), name.data() + name.size());
    }
    for (Json::ValueConstIterator at = obj.begin(); left; --left, ++at) {
        const char* end = nullptr;
        const char* name = at.memberName(&end);
        if (name && key.Names(name, static_cast<size_t>(end - name))) return &*at;
    }
    return nullptr;
}

// Each Convert writes `out` only when the value has its type.
bool Convert(const Json::Value& v, std::string& out) {
    const char* begin = nullptr;
    const char* end = nullptr;
    if (v.getString(&begin, &end)) {
        out.assign(begin, end);
        return true;
    }
    // getString also answers false for a string without text, which reads as "".
    if (!v.isString()) return false;
    out.clear();
    return true;
}

// Integers: a stored integer is range checked here, a double by jsoncpp (in
// range and integral, so 3.0 reads as 3); one call for the usual case.
bool Convert(const Json::Value& v, int& out) {
    switch (v.type()) {
        case Json::intValue: {
            const Json::Int64 i = v.asInt64();
            if (i < std::numeric_limits<int>::min() || i > std::numeric_limits<int>::max()) {
                return false;
            }
            out = static_cast<int>(i);
            return true;
        }
        case Json::uintValue: {
            const Json::UInt64 u = v.asUInt64();
            if (u > static_cast<Json::UInt64>(std::numeric_limits<int>::max())) return false;
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
            out = static_cast<int64_t>(v.asInt64());
            return true;
        case Json::uintValue: {
            const Json::UInt64 u = v.asUInt64();
            if (u > static_cast<Json::UInt64>(std::numeric_limits<int64_t>::max())) {
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
T ReadValue(const Json::Value& obj, const Key& key) {
    T out{};
    if (const Json::Value* member = FindMember(obj, key)) Convert(*member, out);
    return out;
}

// A string is built once, at its size (assigning into an empty one would
// first go through the short buffer).
template <>
std::string ReadValue<std::string>(const Json::Value& obj, const Key& key) {
    const Json::Value* member = FindMember(obj, key);
    const char* begin = nullptr;
    const char* end = nullptr;
    if (!member || !member->getString(&begin, &end)) return std::string();
    return std::string(begin, end);
}

std::string ReadElement(const Json::Value& array, Json::ArrayIndex index) {
    std::string out;
    // Json::Value::operator[] on a non-array asserts, and on a too large
    // index of a const array hands out a null value: both are checked first.
    if (array.isArray() && index < array.size()) Convert(array[index], out);
    return out;
}

template <typename T>
bool ReadInto(const Json::Value& obj, const Key& key, T& out, const char* caller,
              bool required, bool keep_default, const char* typeName) {
    const Json::Value* member = FindMember(obj, key);
    if (!member && keep_default) return true;
    if (member && Convert(*member, out)) return true;
    if (required) {
        const std::string_view name = key.Null() ? std::string_view() : key.View();
        CMoxLog::MoxLogFormat(LOG_PRIORITY_WARNING, __FILE__, __LINE__, caller,
                              "[mox_json] %s: member \"%.*s\" %s", caller,
                              static_cast<int>(name.size()), name.data(),
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
#define MOX_JSON_GETTERS(KeyType, CallerType)                                                             \
    std::string GetJsonValueToString(const Json::Value& obj, KeyType key, CallerType) {                   \
        return ReadValue<std::string>(obj, Key(key));                                           \
    }                                                                                             \
    std::string GetJsonValueToString(const Json::Value& array, Json::ArrayIndex index, CallerType) {  \
        return ReadElement(array, index);                                                         \
    }                                                                                             \
    int GetJsonValueToInt(const Json::Value& obj, KeyType key, CallerType) {                              \
        return ReadValue<int>(obj, Key(key));                                                   \
    }                                                                                             \
    int64_t GetJsonValueToInt64(const Json::Value& obj, KeyType key, CallerType) {                        \
        return ReadValue<int64_t>(obj, Key(key));                                               \
    }                                                                                             \
    bool GetJsonValueToBool(const Json::Value& obj, KeyType key, CallerType) {                            \
        return ReadValue<bool>(obj, Key(key));                                                  \
    }                                                                                             \
    std::wstring GetJsonValueToUtf8WString(const Json::Value& obj, KeyType key, CallerType) {             \
        return ReadValue<std::wstring>(obj, Key(key));                                          \
    }                                                                                             \
    bool GetJsonValueToString(const Json::Value& obj, KeyType key, std::string& out, CallerType caller,   \
                              bool required, bool keep_default) {                                 \
        return ReadInto(obj, Key(key), out, CallerOf(caller), required, keep_default,           \
                        kNotAString);                                                             \
    }                                                                                             \
    bool GetJsonValueToInt(const Json::Value& obj, KeyType key, int& out, CallerType caller,              \
                           bool required, bool keep_default) {                                    \
        return ReadInto(obj, Key(key), out, CallerOf(caller), required, keep_default,           \
                        kNotAnInt);                                                               \
    }                                                                                             \
    bool GetJsonValueToInt64(const Json::Value& obj, KeyType key, int64_t& out, CallerType caller,        \
                             bool required, bool keep_default) {                                  \
        return ReadInto(obj, Key(key), out, CallerOf(caller), required, keep_default,           \
                        kNotAnInt64);                                                             \
    }                                                                                             \
    bool GetJsonValueToBool(const Json::Value& obj, KeyType key, bool& out, CallerType caller,            \
                            bool required, bool keep_default) {                                   \
        return ReadInto(obj, Key(key), out, CallerOf(caller), required, keep_default,           \
                        kNotABool);                                                               \
    }                                                                                             \
    bool GetJsonValueToUtf8WString(const Json::Value& obj, KeyType key, std::wstring& out,            \
                                   CallerType caller, bool required, bool keep_default) {             \
        return ReadInto(obj, Key(key), out, CallerOf(caller), required, keep_default,           \
                        kNotAString);                                                             \
    }

MOX_JSON_GETTERS(const std::string&, const std::string&)
MOX_JSON_GETTERS(const char*, const char*)

#undef MOX_JSON_GETTERS

}  // namespace mox_json
