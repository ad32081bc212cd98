// Signatures of the OS-layer hooks (see moxh5/platform.h): the operations a
// tool or test may take over for the whole process. Public, standalone: a
// program that sets the hooks through the library's exported setters
// (moxh5/os_seams.h) needs these types and nothing else of the OS layer.
#pragma once

#include <cstdint>
#include <string>

namespace moxh5::platform {

// Result of posting a window message.
enum class PostResult : uint8_t {
    kPosted,          // the message is in the window's queue
    kRefused,         // no such window, or its queue is full
    kNoWindowSystem,  // the platform has no windows to post to (POSIX)
};

// Takes over opening `target` in the shell; returns what the shell would
// (greater than 32: the handler was started).
using ShellOpenHook = uintptr_t (*)(const std::wstring& target);

// Takes over removing the file at `path`; returns 0 or the C runtime's error
// number.
using RemoveFileHook = int (*)(const std::wstring& path);

// Takes over posting `message` to `window`; the parameters belong to the
// receiver only when the result is kPosted.
using PostWindowMessageHook = PostResult (*)(uintptr_t window, uint32_t message, uintptr_t wParam,
                                             intptr_t lParam);

}  // namespace moxh5::platform
