// Host JSON getters (stand-in with the calls of the host's MOXJson).
//
// Each getter reads one member of a JSON object by name (one string getter
// also reads an array element by index). `caller` names the calling function
// in the diagnostics the getters write.
//
// Value-returning forms give the member's value, or the type's zero value
// ("" / 0 / false) when the container is not an object, the member is absent
// or it has another type. They never throw and never log.
//
// Out-argument forms return whether the member was read and take two flags:
//   required     - a missing or mistyped member is logged (priority 400) with
//                  the caller text;
//   keep_default - a missing member leaves `out` as it was and counts as read.
// The library always passes (true, false): required, no default.
//
// Numbers: an integer getter accepts any JSON number that is integral and in
// range of its result type (3.0 reads as 3); strings are never converted.
#pragma once

#include <json/value.h>

#include <cstdint>
#include <string>

#include "MoxHostExport.h"

namespace mox_json {

MOXHOST_API std::string GetJsonValueToString(const Json::Value& obj, const std::string& key,
                                             const std::string& caller);
MOXHOST_API int GetJsonValueToInt(const Json::Value& obj, const std::string& key,
                                  const std::string& caller);
MOXHOST_API int64_t GetJsonValueToInt64(const Json::Value& obj, const std::string& key,
                                        const std::string& caller);
MOXHOST_API bool GetJsonValueToBool(const Json::Value& obj, const std::string& key,
                                    const std::string& caller);
// A UTF-8 string member converted to the platform's wide encoding (UTF-16 on
// Windows, UTF-32 elsewhere).
MOXHOST_API std::wstring GetJsonValueToUtf8WString(const Json::Value& obj, const std::string& key,
                                                   const std::string& caller);

// By index: the element `index` of an array as a string; "" when the
// container is not an array, the index is out of range or the element is not
// a string. Never throws, never logs.
MOXHOST_API std::string GetJsonValueToString(const Json::Value& array, Json::ArrayIndex index,
                                             const std::string& caller);

MOXHOST_API bool GetJsonValueToString(const Json::Value& obj, const std::string& key,
                                      std::string& out, const std::string& caller, bool required,
                                      bool keep_default);
MOXHOST_API bool GetJsonValueToInt(const Json::Value& obj, const std::string& key, int& out,
                                   const std::string& caller, bool required, bool keep_default);
MOXHOST_API bool GetJsonValueToInt64(const Json::Value& obj, const std::string& key, int64_t& out,
                                     const std::string& caller, bool required, bool keep_default);
MOXHOST_API bool GetJsonValueToBool(const Json::Value& obj, const std::string& key, bool& out,
                                    const std::string& caller, bool required, bool keep_default);
MOXHOST_API bool GetJsonValueToUtf8WString(const Json::Value& obj, const std::string& key,
                                           std::wstring& out, const std::string& caller,
                                           bool required, bool keep_default);

// The same getters with the key and the caller as C strings, chosen when both
// are given as such (literals, a handler's function text): a call builds no
// std::string for them, where the forms above copy a caller text longer than
// the short-string buffer to the heap on every call. A null key reads as an
// absent member; a null caller as "".
MOXHOST_API std::string GetJsonValueToString(const Json::Value& obj, const char* key,
                                             const char* caller);
MOXHOST_API int GetJsonValueToInt(const Json::Value& obj, const char* key, const char* caller);
MOXHOST_API int64_t GetJsonValueToInt64(const Json::Value& obj, const char* key,
                                        const char* caller);
MOXHOST_API bool GetJsonValueToBool(const Json::Value& obj, const char* key, const char* caller);
MOXHOST_API std::wstring GetJsonValueToUtf8WString(const Json::Value& obj, const char* key,
                                                   const char* caller);
MOXHOST_API std::string GetJsonValueToString(const Json::Value& array, Json::ArrayIndex index,
                                             const char* caller);
MOXHOST_API bool GetJsonValueToString(const Json::Value& obj, const char* key, std::string& out,
                                      const char* caller, bool required, bool keep_default);
MOXHOST_API bool GetJsonValueToInt(const Json::Value& obj, const char* key, int& out,
                                   const char* caller, bool required, bool keep_default);
MOXHOST_API bool GetJsonValueToInt64(const Json::Value& obj, const char* key, int64_t& out,
                                     const char* caller, bool required, bool keep_default);
MOXHOST_API bool GetJsonValueToBool(const Json::Value& obj, const char* key, bool& out,
                                    const char* caller, bool required, bool keep_default);
MOXHOST_API bool GetJsonValueToUtf8WString(const Json::Value& obj, const char* key,
                                           std::wstring& out, const char* caller, bool required,
                                           bool keep_default);

}  // namespace mox_json
