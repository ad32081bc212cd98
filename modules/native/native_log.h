// Where the native handlers' log lines say they come from.
//
// The handlers live in several files by subject, but they all belong to
// H5NativeWorker, and hosts find the worker's lines by one source file name,
// "H5NativeWorker.cpp". The handlers therefore log through these macros, which
// carry that name in place of __FILE__; line numbers stay those of the real
// file.
#pragma once

#include "diagnostics.h"
#include "core/dispatch/dispatch.h"

namespace moxh5::native {
inline constexpr char kLogFile[] = "H5NativeWorker.cpp";
}  // namespace moxh5::native

// The call site handed to the shared checks.
#define NATIVE_SITE(function) \
    ::moxh5::detail::CallSite { ::moxh5::native::kLogFile, __LINE__, (function) }

#define NATIVE_LOG(priority, function, ...) \
    MOX_LOG_AT(::moxh5::native::kLogFile, (priority), (function), __VA_ARGS__)

// A request trace (priority 600) with the JSON text of `value`, written only
// when the line is kept.
#define NATIVE_TRACE_JSON(function, format, value) \
    MOX_LOG_JSON_AT(::moxh5::native::kLogFile, LOG_PRIORITY_INFO, (function), (format), (value))
