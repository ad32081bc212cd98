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

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

#include "moxh5/platform_hooks.h"

namespace moxh5::platform {

std::wstring Utf8ToWide(std::string_view utf8);
std::string WideToUtf8(std::wstring_view wide);
// The platform's wide text as UTF-16 (as the clipboard stores text) and back;
// on Windows both are plain copies.
std::u16string WideToUtf16(std::wstring_view wide);
std::wstring Utf16ToWide(std::u16string_view utf16);

// The value of an environment variable, or nullopt when it is unset. At most
// maxChars characters are returned (longer values are cut).
std::optional<std::string> GetEnvironmentText(const std::string& name, size_t maxChars);

uint32_t CurrentProcessId();

// ---------------------------------------------------------------------------
// System information

// The version numbers of the running kernel, each cut to its low 16 bits (on
// Windows RtlGetNtVersionNumbers, which sets flag bits in the top of the build
// number; elsewhere the first three numbers of the kernel release). Returns
// false when the version cannot be asked for, leaving the outputs as they
// were; true otherwise, also when the system has no such entry point (the
// outputs then keep their values). Callers zero the outputs first.
bool GetNtVersionNumbers(uint32_t& majorVersion, uint32_t& minorVersion, uint32_t& buildNumber);

// 64 when the operating system is 64-bit, else 32. A 64-bit build is 64
// without asking; a 32-bit build asks whether it runs under emulation on a
// 64-bit system (IsWow64Process2 on Windows 10 and later, else IsWow64Process;
// elsewhere the kernel's machine name).
int OsBitness();

// Size of the primary screen in pixels (GetSystemMetrics SM_CXSCREEN and
// SM_CYSCREEN). Platforms without a display library report 0 x 0.
struct ScreenSize {
    int width = 0;
    int height = 0;
};
ScreenSize PrimaryScreenSize();

// ---------------------------------------------------------------------------
// Clipboard
//
// On Windows the system clipboard. Elsewhere a clipboard local to the process
// with the same rules: one opener at a time (opening fails while another
// thread has it open; it never waits), data set and read only while open,
// registered formats numbered from 0xC000 by name (case-insensitive, the same
// number for the same name), and the text formats CF_TEXT and CF_UNICODETEXT
// each available when the other was set (converted on read; the narrow
// encoding there is UTF-8).
//
// Format numbers are the Windows ones on every platform. Errors are reported
// as std::error_code: the Windows error number (GetLastError) on Windows,
// an errno value elsewhere.

inline constexpr uint32_t kClipboardText = 1;          // CF_TEXT: narrow text, NUL-terminated
inline constexpr uint32_t kClipboardBitmap = 2;        // CF_BITMAP: a bitmap handle
// CF_UNICODETEXT: UTF-16, zero-terminated
inline constexpr uint32_t kClipboardUnicodeText = 13;
inline constexpr uint32_t kClipboardFileList = 15;     // CF_HDROP: a dropped-files list

// Data as the clipboard holds it, opaque to callers: on Windows the data
// handle (global memory, HBITMAP for CF_BITMAP, HDROP for CF_HDROP);
// elsewhere the address of the stored data. It belongs to the clipboard:
// valid until the clipboard changes, never freed by its holder. Empty: no
// data.
struct ClipboardHandle {
    const void* value = nullptr;
    explicit operator bool() const { return value != nullptr; }
    friend bool operator==(ClipboardHandle a, ClipboardHandle b) { return a.value == b.value; }
    friend bool operator!=(ClipboardHandle a, ClipboardHandle b) { return a.value != b.value; }
};

// The number of the format registered under `name`; 0 on failure.
uint32_t RegisterClipboardFormatName(const std::string& name);

// Opens the clipboard for the calling thread, with no owner window.
bool ClipboardOpen(std::error_code& error);
// Removes everything from the open clipboard.
bool ClipboardEmpty(std::error_code& error);
void ClipboardClose();
// Whether the clipboard holds `format`; needs no opening. (The process-local
// clipboard answers false while another thread has it open.)
bool ClipboardHasFormat(uint32_t format);
// The open clipboard's data of `format`, or an empty handle.
ClipboardHandle ClipboardGetData(uint32_t format);

// Which step of ClipboardSetBytes failed.
enum class ClipboardWriteFailure {
    kNone,
    kAllocation,  // the memory block for the data could not be made
    kHandOver,    // the clipboard refused the block (which is then not freed)
};
// Puts `size` bytes under `format` on the open clipboard, which owns them
// from then on.
ClipboardWriteFailure ClipboardSetBytes(uint32_t format, const void* bytes, size_t size,
                                        std::error_code& error);

// The text a data handle of a text format holds: bytes up to the first NUL,
// or 16-bit units up to the first zero unit. Empty for an empty handle.
std::string ClipboardReadNarrowText(ClipboardHandle data);
std::u16string ClipboardReadWideText(ClipboardHandle data);

// ---------------------------------------------------------------------------
// Shell

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
void SetRemoveFileHook(RemoveFileHook hook);

// The size in bytes of the regular file at `path` (links followed); nullopt
// when there is none (missing, a directory, a device) or the query fails.
std::optional<uint64_t> RegularFileSize(const std::wstring& path);

// --- local paths ---------------------------------------------------------

// A local path as the file checks use it.
struct LocalPath {
    // The path for the OS calls: one kind of separator, no empty or "."
    // segments.
    std::wstring native;
    // The path for comparisons: "/" separators, and upper case where the
    // file system ignores case (Windows).
    std::wstring key;
};

// `path` when it is an absolute local path that a page may name: no control
// characters and no ".." segment anywhere; on Windows a drive letter, a colon
// and a separator first, and no UNC or device path (two separators first,
// "\\?\", "\\.\"), no further colon (alternate data streams), no reserved
// device name (CON, NUL, COM1, ... also with an extension), no name ending in
// a dot or a space and none of < > " | ? *; elsewhere a "/" first (but not
// two). Otherwise nullopt, with a short reason (a static text) in `refusal`.
// The check is lexical: it does not touch the file system.
std::optional<LocalPath> CheckLocalPath(std::wstring_view path, const char** refusal = nullptr);

// The path `path` (an absolute local path) leads to once every link,
// junction and mount point on the way is followed: the final path of what is
// there, or, when nothing is, the final path of its nearest existing
// ancestor with the remaining names appended. Nullopt when that cannot be
// told: a dangling link on the way, no access, an ancestor that is not a
// directory. On Windows the path of a handle opened on it
// (GetFinalPathNameByHandleW, without the "\\?\" prefix; a network path
// comes out as "\\server\share\..."); elsewhere realpath.
std::optional<std::wstring> FinalPath(const std::wstring& path);

// Which rules CheckLocalPath applies.
enum class PathRules : uint8_t { kPosix, kWindows };
PathRules LocalPathRules();

// --- window messages -----------------------------------------------------

// PostResult is declared in moxh5/platform_hooks.h.

// Posts `message` with its two parameters to the window `window` (an HWND)
// without waiting for it (PostMessageW). A zero window is refused: PostMessageW
// would post to the calling thread instead. Whatever the parameters point to
// belongs to the receiver only when the result is kPosted.
PostResult PostWindowMessage(uintptr_t window, uint32_t message, uintptr_t wParam, intptr_t lParam);

// Replaces PostWindowMessage for the whole process, so that tests can observe
// posts (and take the parameters' ownership) where no window exists; null
// restores the real post. Not thread-safe: set it before the calls it should
// observe.
void SetPostWindowMessageHook(PostWindowMessageHook hook);

}  // namespace moxh5::platform
