// The wall between the library and its host: no exception crosses a function
// the host calls. What would escape is logged at priority 300 and the
// function gives its failure result instead.
#pragma once

#include <exception>

#include "diagnostics.h"

namespace moxh5::detail {

// "[MoxH5] exception in <function>: <what>" at priority 300, through the log
// guard: an exception's text may carry a page's text (a host that throws
// with what it was given). When even the log line fails, nothing is said.
inline void LogEscape(const char* function, const char* what) noexcept {
    WriteLogLine(LOG_PRIORITY_ERROR, __FILE__, __LINE__, function, "[MoxH5] exception in %s: %s",
                 function, what);
}

// Runs `body` and returns its result; an exception from it is logged with
// LogEscape and `fallback` returned instead.
template <typename Result, typename Body>
Result CatchAll(const char* function, Result fallback, Body&& body) noexcept {
    try {
        return body();
    } catch (const std::exception& error) {
        LogEscape(function, error.what());
    } catch (...) {
        LogEscape(function, "unknown exception");
    }
    return fallback;
}

// The same for a body that returns nothing.
template <typename Body>
void CatchAll(const char* function, Body&& body) noexcept {
    CatchAll(function, 0, [&body] {
        body();
        return 0;
    });
}

}  // namespace moxh5::detail
