// Log and text helpers shared by the core and the modules.
#pragma once

#include <json/value.h>

#include <string>

#include "MoxLog.h"

// A printf-style log line from here, with a function text.
#define MOX_LOG(priority, function, ...) MOX_LOG_AT(__FILE__, (priority), (function), __VA_ARGS__)

// The same under a given source file name, for a worker whose handlers are
// spread over several files but log under the worker's one file name.
#define MOX_LOG_AT(file, priority, function, ...) \
    CMoxLog::MoxLogFormat((priority), (file), __LINE__, (function), __VA_ARGS__)

// The general line for a failed precondition before returning false.
#define MOX_LOG_FALSE_IN(function) \
    MOX_LOG(LOG_PRIORITY_ERROR, (function), "[MoxH5] false in %s %d", (function), __LINE__)

// A log line whose argument is JSON text: the text is written only when the
// line will be kept, so the hot path pays nothing for disabled traces.
#define MOX_LOG_JSON(priority, function, format, value) \
    MOX_LOG_JSON_AT(__FILE__, priority, function, format, value)
#define MOX_LOG_JSON_AT(file, priority, function, format, value)                       \
    do {                                                                               \
        if (CMoxLog::IsEnabled(priority)) {                                            \
            const std::string moxJsonText = ::moxh5::detail::JsonText(value);          \
            MOX_LOG_AT((file), (priority), (function), (format), moxJsonText.c_str()); \
        }                                                                              \
    } while (0)

// A request trace (priority 600, info) with JSON text.
#define MOX_TRACE_JSON(function, format, value) \
    MOX_LOG_JSON(LOG_PRIORITY_INFO, function, format, value)

namespace moxh5::detail {

// `value` as JSON text, written with the default settings of jsoncpp's
// StreamWriterBuilder (tab-indented, members sorted by name).
std::string JsonText(const Json::Value& value);

}  // namespace moxh5::detail
