// The operating-system layer: every OS call MOXH5 makes goes through here.
//
// One header, two implementations with mirror file names: platform/win32/
// (Win32 API) and platform/posix/ (Linux and other POSIX systems). The build
// picks one; no other code tests for the platform.
//
// Wide strings are in the platform's wide encoding: UTF-16 where wchar_t is
// 16-bit (Windows), UTF-32 where it is 32-bit (Linux). Conversions never
// throw; invalid input sequences become U+FFFD.
//
// Threads: every function may be called from any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace moxh5::platform {

std::wstring Utf8ToWide(std::string_view utf8);
std::string WideToUtf8(std::wstring_view wide);

// The value of an environment variable, or nullopt when it is unset. At most
// maxChars characters are returned (longer values are cut).
std::optional<std::string> GetEnvironmentText(const std::string& name, size_t maxChars);

uint32_t CurrentProcessId();

// --- shell ---------------------------------------------------------------

// Opens `target` (a URL or a file path) with the desktop's handler, as the
// shell's "open" verb does, without waiting for it. Returns the shell's code:
// a value greater than 32 means the handler was started. On Windows it is
// what ShellExecuteW returned (no owner window, show command 5); elsewhere 42
// when the desktop's opener (xdg-open) was started detached, 2 for an empty
// target or a local file that does not exist, and 31 when no opener could be
// started.
uintptr_t ShellOpen(const std::wstring& target);

// Replaces ShellOpen for the whole process, so that tests can observe it
// without starting anything; null restores the real shell. Not thread-safe:
// set it before the calls it should observe.
using ShellOpenHook = uintptr_t (*)(const std::wstring& target);
void SetShellOpenHook(ShellOpenHook hook);

// --- files ---------------------------------------------------------------

// Paths are wide strings. Windows hands them to the wide Win32 and C runtime
// functions as they are, so any file name the file system holds is reachable;
// elsewhere they are converted to UTF-8, the file-name encoding of POSIX
// desktops.

// Whether a file or directory exists at `path` (PathFileExistsW on Windows).
bool FileExists(const std::wstring& path);

// Removes the file at `path` (_wremove on Windows, unlink elsewhere): 0 on
// success, otherwise the C runtime's error number. A directory is never
// removed: that fails on every platform.
int RemoveFile(const std::wstring& path);

// Replaces RemoveFile for the whole process, so that callers that must not
// delete anything (the fuzzer) or tests that observe removals can take it
// over; null restores the real removal. Not thread-safe: set it before the
// calls it should observe.
using RemoveFileHook = int (*)(const std::wstring& path);
void SetRemoveFileHook(RemoveFileHook hook);

// The size in bytes of the regular file at `path` (links followed); nullopt
// when there is none (missing, a directory, a device) or the query fails.
std::optional<uint64_t> RegularFileSize(const std::wstring& path);

// --- window messages -----------------------------------------------------

enum class PostResult : uint8_t {
    kPosted,          // the message is in the window's queue
    kRefused,         // no such window, or its queue is full
    kNoWindowSystem,  // the platform has no windows to post to (POSIX)
};

// Posts `message` with its two parameters to the window `window` (an HWND)
// without waiting for it (PostMessageW). A zero window is refused: PostMessageW
// would post to the calling thread instead. Whatever the parameters point to
// belongs to the receiver only when the result is kPosted.
PostResult PostWindowMessage(uintptr_t window, uint32_t message, uintptr_t wParam, intptr_t lParam);

// Replaces PostWindowMessage for the whole process, so that tests can observe
// posts (and take the parameters' ownership) where no window exists; null
// restores the real post. Not thread-safe: set it before the calls it should
// observe.
using PostWindowMessageHook = PostResult (*)(uintptr_t window, uint32_t message, uintptr_t wParam,
                                             intptr_t lParam);
void SetPostWindowMessageHook(PostWindowMessageHook hook);

}  // namespace moxh5::platform
