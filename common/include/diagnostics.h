// Log and text helpers shared by the core and the modules.
//
// Every log line the library writes goes through WriteLogLine or
// WriteJsonLogLine, never to CMoxLog directly: pages put their own text into
// log lines, and these two keep such a line one line (control characters
// escaped) and short (cut with a visible mark).
#pragma once

#include <json/value.h>

#include <cstddef>
#include <string>
#include <string_view>

#include "MoxLog.h"

#if defined(__GNUC__)
#define MOX_PRINTF_FORMAT(formatIndex, firstArgument) \
    __attribute__((format(printf, formatIndex, firstArgument)))
#else
#define MOX_PRINTF_FORMAT(formatIndex, firstArgument)
#endif

// A printf-style log line from here, with a function text.
#define MOX_LOG(priority, function, ...) MOX_LOG_AT(__FILE__, (priority), (function), __VA_ARGS__)

// The same under a given source file name, for a worker whose handlers are
// spread over several files but log under the worker's one file name.
// The priority is looked at here first, so that a line the log will not keep
// costs one question and no formatting call.
#define MOX_LOG_AT(file, priority, function, ...)                                              \
    (CMoxLog::IsEnabled(priority)                                                              \
         ? ::moxh5::detail::WriteLogLine((priority), (file), __LINE__, (function), __VA_ARGS__) \
         : void())

// The general line for a failed precondition before returning false.
#define MOX_LOG_FALSE_IN(function) \
    MOX_LOG(LOG_PRIORITY_ERROR, (function), "[MoxH5] false in %s %d", (function), __LINE__)

// A log line whose one "%s" is the JSON text of `value` (see LogJsonText):
// the text is written only when the line will be kept, so the hot path pays
// nothing for disabled traces.
#define MOX_LOG_JSON(priority, function, format, value) \
    MOX_LOG_JSON_AT(__FILE__, priority, function, format, value)
#define MOX_LOG_JSON_AT(file, priority, function, format, value)                            \
    (CMoxLog::IsEnabled(priority) ? ::moxh5::detail::WriteJsonLogLine(                         \
                                        (priority), (file), __LINE__, (function), (format), \
                                        &(value))                                            \
                                  : void())

// A request trace (priority 600, info) with JSON text.
#define MOX_TRACE_JSON(function, format, value) \
    MOX_LOG_JSON(LOG_PRIORITY_INFO, function, format, value)

namespace moxh5::detail {

// The longest text of a log line, the cut mark included.
inline constexpr size_t kMaxLogLineBytes = 2048;

// Writes one log line when the priority is enabled: the printf-style text,
// with CR, LF and TAB escaped as \r, \n and \t, other bytes below 0x20 and DEL
// as \xNN, and the code points that break or reorder a line in log viewers
// (C1 controls such as U+0085, U+2028, U+2029, the bidirectional marks
// U+061C, U+200E, U+200F, embeddings and overrides U+202A-U+202E, isolates
// U+2066-U+2069) as \uXXXX; when longer than kMaxLogLineBytes, cut at a
// character boundary and ended with "...[cut <bytes left out> bytes]".
// Formats into a fixed buffer; never throws.
void WriteLogLine(int priority, const char* file, int line, const char* function,
                  const char* format, ...) noexcept MOX_PRINTF_FORMAT(5, 6);

// The same for a format with one "%s", which receives LogJsonText(*value)
// (empty text for a null pointer). Only the JSON text the line can carry is
// kept; the rest is counted for the mark.
void WriteJsonLogLine(int priority, const char* file, int line, const char* function,
                      const char* format, const Json::Value* value) noexcept
    MOX_PRINTF_FORMAT(5, 0);

// `text` as a log line carries it: escaped and cut as above.
std::string LogLineText(std::string_view text);

// `value` as JSON text for log lines: compact, cookies and credential headers
// redacted (see AppendRedactedJson in common/include/json_text.h), cut as a log
// line is.
std::string LogJsonText(const Json::Value& value);

// `value` as JSON text, as the default settings of jsoncpp's
// StreamWriterBuilder write it (tab-indented, members sorted by name; see
// StyledJson in json_text.h): the text pages and the host
// receive. Not for log lines.
std::string JsonText(const Json::Value& value);

}  // namespace moxh5::detail
