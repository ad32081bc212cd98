// Stand-ins for what the library reaches in the OS: the shell, the host's
// message centre and its window, and a scratch directory. Each scoped object
// takes its process-wide seam over for its lifetime (one test thread at a
// time) and restores the real call after.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "moxh5/platform.h"
#include "tests/fakes/test_env.h"
#include "tools/recording_host/recording_host.h"

namespace moxh5::test {

// Records every shell-open (as UTF-8) instead of performing it; answers
// `result`.
struct ScopedShellRecorder {
    explicit ScopedShellRecorder(uintptr_t code = 42) : result(code) {
        active = this;
        platform::SetShellOpenHook([](const std::wstring& target) {
            active->targets.push_back(platform::WideToUtf8(target));
            return active->result;
        });
    }
    ~ScopedShellRecorder() { platform::SetShellOpenHook(nullptr); }

    // The opens as host calls "ShellOpen" {"target"}, for tables of reached
    // operations.
    std::vector<HostCall> Opens() const {
        std::vector<HostCall> opens;
        for (const std::string& target : targets) {
            Json::Value args;
            args["target"] = target;
            opens.push_back({"ShellOpen", args});
        }
        return opens;
    }

    static inline ScopedShellRecorder* active = nullptr;
    uintptr_t result;
    std::vector<std::string> targets;
};

// One message as the message-centre window received it, with the two texts.
struct ReceivedPost {
    uintptr_t window;
    uint32_t message;
    std::wstring msg, type;
};

// Plays the message-centre window's owner: keeps each post's texts and frees
// both buffers, as the host does. With `accept` false it refuses every post,
// and the buffers stay the sender's.
struct ScopedPostReceiver {
    explicit ScopedPostReceiver(bool acceptPosts = true) : accept(acceptPosts) {
        active = this;
        platform::SetPostWindowMessageHook(
            [](uintptr_t window, uint32_t message, uintptr_t wParam, intptr_t lParam) {
                if (!active->accept) {
                    ++active->refused;
                    return platform::PostResult::kRefused;
                }
                std::unique_ptr<wchar_t[]> msg(reinterpret_cast<wchar_t*>(wParam));
                std::unique_ptr<wchar_t[]> type(reinterpret_cast<wchar_t*>(lParam));
                active->posts.push_back({window, message, msg.get(), type.get()});
                return platform::PostResult::kPosted;
            });
    }
    ~ScopedPostReceiver() { platform::SetPostWindowMessageHook(nullptr); }
    static inline ScopedPostReceiver* active = nullptr;
    bool accept;
    size_t refused = 0;
    std::vector<ReceivedPost> posts;
};

// Publishes a message-centre object whose third field is `window`, as the
// host does: its address in decimal in "MsgCenterInst<process id>".
struct ScopedMsgCenter {
    explicit ScopedMsgCenter(uintptr_t window) : fields{0, 0, window} {
        SetTestEnv(Name(), std::to_string(reinterpret_cast<uintptr_t>(&fields)));
    }
    ~ScopedMsgCenter() { UnsetTestEnv(Name()); }
    static std::string Name() {
        return "MsgCenterInst" + std::to_string(platform::CurrentProcessId());
    }
    uintptr_t fields[3];
};

// A fresh directory in the system's temporary directory, removed with its
// contents at the end. Tests make and remove files only in here.
struct ScopedTempDir {
    ScopedTempDir() {
        static int count = 0;
        root = std::filesystem::temp_directory_path() /
               ("moxh5-test-" + std::to_string(platform::CurrentProcessId()) + "-" +
                std::to_string(++count));
        std::filesystem::remove_all(root);
        std::filesystem::create_directories(root);
    }
    ~ScopedTempDir() {
        std::error_code ignored;
        std::filesystem::remove_all(root, ignored);
    }
    std::filesystem::path Path(const std::string& utf8Name) const {
        return root / std::filesystem::u8path(utf8Name);
    }
    // The path of `utf8Name` as a page sends it.
    std::string Utf8(const std::string& utf8Name) const { return Path(utf8Name).u8string(); }
    std::string WriteFile(const std::string& utf8Name, const std::string& content) const {
        std::ofstream(Path(utf8Name), std::ios::binary) << content;
        return Utf8(utf8Name);
    }
    std::filesystem::path root;
};

}  // namespace moxh5::test
