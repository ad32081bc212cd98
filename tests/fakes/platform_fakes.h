// Stand-ins for what the library reaches in the OS, for tests: the shell, the
// host's message centre and its window, and a scratch directory. Each scoped
// object takes its seam over for its lifetime and restores it after. The seams
// are process-wide, so these are for one test thread at a time.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "moxh5/platform.h"
#include "tests/fakes/test_env.h"

namespace moxh5::test {

// Records every shell-open instead of performing it; answers `result`.
class ScopedShellRecorder {
public:
    explicit ScopedShellRecorder(uintptr_t result = 42) : m_result(result) {
        s_active = this;
        platform::SetShellOpenHook(&Record);
    }
    ~ScopedShellRecorder() {
        platform::SetShellOpenHook(nullptr);
        s_active = nullptr;
    }
    ScopedShellRecorder(const ScopedShellRecorder&) = delete;
    ScopedShellRecorder& operator=(const ScopedShellRecorder&) = delete;

    // The targets opened so far, as UTF-8.
    const std::vector<std::string>& Targets() const { return m_targets; }

private:
    static uintptr_t Record(const std::wstring& target) {
        s_active->m_targets.push_back(platform::WideToUtf8(target));
        return s_active->m_result;
    }
    static inline ScopedShellRecorder* s_active = nullptr;
    uintptr_t m_result;
    std::vector<std::string> m_targets;
};

// One message as the message-centre window received it.
struct ReceivedPost {
    uintptr_t window = 0;
    uint32_t message = 0;
    std::wstring wParamText;  // the zero-terminated wide text at wParam
    std::wstring lParamText;  // the same at lParam
};

// Plays the message-centre window's owner: records each posted message, reads
// its two texts and frees both buffers, as the host's window does. With
// `accept` false it refuses every post, and the buffers stay the sender's.
class ScopedPostReceiver {
public:
    explicit ScopedPostReceiver(bool accept = true) : m_accept(accept) {
        s_active = this;
        platform::SetPostWindowMessageHook(&Receive);
    }
    ~ScopedPostReceiver() {
        platform::SetPostWindowMessageHook(nullptr);
        s_active = nullptr;
    }
    ScopedPostReceiver(const ScopedPostReceiver&) = delete;
    ScopedPostReceiver& operator=(const ScopedPostReceiver&) = delete;

    const std::vector<ReceivedPost>& Posts() const { return m_posts; }
    size_t Refused() const { return m_refused; }

private:
    static platform::PostResult Receive(uintptr_t window, uint32_t message, uintptr_t wParam,
                                        intptr_t lParam) {
        if (!s_active->m_accept) {
            ++s_active->m_refused;
            return platform::PostResult::kRefused;
        }
        wchar_t* text = reinterpret_cast<wchar_t*>(wParam);
        wchar_t* type = reinterpret_cast<wchar_t*>(lParam);
        s_active->m_posts.push_back({window, message, text, type});
        delete[] text;
        delete[] type;
        return platform::PostResult::kPosted;
    }
    static inline ScopedPostReceiver* s_active = nullptr;
    bool m_accept;
    size_t m_refused = 0;
    std::vector<ReceivedPost> m_posts;
};

// Publishes a message-centre object whose window is `window`, as the host
// does: its address in decimal in "MsgCenterInst<process id>".
class ScopedMsgCenter {
public:
    explicit ScopedMsgCenter(uintptr_t window) : m_fields{0, 0, window} {
        SetTestEnv(VariableName(), std::to_string(reinterpret_cast<uintptr_t>(&m_fields)));
    }
    ~ScopedMsgCenter() { UnsetTestEnv(VariableName()); }
    ScopedMsgCenter(const ScopedMsgCenter&) = delete;
    ScopedMsgCenter& operator=(const ScopedMsgCenter&) = delete;

    const void* Address() const { return &m_fields; }
    static std::string VariableName() {
        return "MsgCenterInst" + std::to_string(platform::CurrentProcessId());
    }

private:
    // Pointer-sized fields; the third is the window.
    uintptr_t m_fields[3];
};

// A fresh directory under the system's temporary directory, removed with
// everything in it at the end. Tests create and remove files only in here.
class ScopedTempDir {
public:
    ScopedTempDir() {
        namespace fs = std::filesystem;
        static int counter = 0;
        const std::string name = "moxh5-test-" + std::to_string(platform::CurrentProcessId()) +
                                 "-" + std::to_string(++counter);
        m_path = fs::temp_directory_path() / fs::u8path(name);
        fs::remove_all(m_path);
        fs::create_directories(m_path);
    }
    ~ScopedTempDir() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    ScopedTempDir(const ScopedTempDir&) = delete;
    ScopedTempDir& operator=(const ScopedTempDir&) = delete;

    // The path of `name` (UTF-8) inside the directory.
    std::filesystem::path Path(const std::string& name) const {
        return m_path / std::filesystem::u8path(name);
    }
    // The same as UTF-8 text, as a page sends it.
    std::string Utf8(const std::string& name) const { return Path(name).u8string(); }

    // Creates the file `name` holding `content`; returns its UTF-8 path.
    std::string WriteFile(const std::string& name, const std::string& content) const {
        std::ofstream out(Path(name), std::ios::binary);
        out << content;
        EXPECT_TRUE(out.good()) << "cannot write " << name;
        return Utf8(name);
    }

private:
    std::filesystem::path m_path;
};

}  // namespace moxh5::test
