// Tests of the OS layer: text conversions in the platform's wide encoding and
// the environment.
#include "moxh5/platform.h"

#include <gtest/gtest.h>

#include "tests/fakes/test_env.h"

namespace moxh5::test {
namespace {

using platform::Utf8ToWide;
using platform::WideToUtf8;

// Test that Chinese and other non-ASCII text survives the trip both ways.
TEST(PlatformText, NonAsciiTextRoundTrips) {
    const struct {
        const char* utf8;
        std::wstring wide;
    } cases[] = {
        {"", L""},
        {"plain", L"plain"},
        {"\xE6\x8F\x90\xE7\xA4\xBA", L"\u63D0\u793A"},  // 提示
        {"\xE5\xA4\x8D\xE5\x88\xB6\xE6\x88\x90\xE5\x8A\x9F",
         L"\u590D\u5236\u6210\u529F"},  // 复制成功
        {"caf\xC3\xA9 \xE2\x82\xAC", L"caf\u00E9 \u20AC"},
        {"\xF0\x9F\x98\x80", L"\U0001F600"},  // outside the BMP: a surrogate pair in UTF-16
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Utf8ToWide(c.utf8), c.wide) << c.utf8;
        EXPECT_EQ(WideToUtf8(c.wide), c.utf8) << c.utf8;
    }
    EXPECT_EQ(Utf8ToWide("\xF0\x9F\x98\x80").size(), sizeof(wchar_t) == 2 ? 2u : 1u);
}

// Test that invalid UTF-8 becomes replacement characters instead of failing.
TEST(PlatformText, InvalidUtf8BecomesReplacementCharacters) {
    for (const char* bad : {"\xFF", "\xC3", "\xE6\x8F", "\xC0\xAF", "\xED\xA0\x80"}) {
        const std::wstring wide = Utf8ToWide(std::string("a") + bad + "b");
        ASSERT_GE(wide.size(), 3u) << "input " << bad;
        EXPECT_EQ(wide.front(), L'a');
        EXPECT_EQ(wide.back(), L'b');
        for (size_t i = 1; i + 1 < wide.size(); ++i) EXPECT_EQ(wide[i], L'\uFFFD');
    }
}

// Test reading the environment, unset and cut to length.
TEST(PlatformEnvironment, ReadsSetVariablesAndCutsLongValues) {
    const std::string name = "MOXH5_PLATFORM_TEST_VAR";
    UnsetTestEnv(name);
    EXPECT_FALSE(platform::GetEnvironmentText(name, 49).has_value());
    SetTestEnv(name, "12345");
    EXPECT_EQ(platform::GetEnvironmentText(name, 49), "12345");
    EXPECT_EQ(platform::GetEnvironmentText(name, 3), "123");
    SetTestEnv(name, std::string(100, '7'));
    EXPECT_EQ(platform::GetEnvironmentText(name, 49), std::string(49, '7'));
    UnsetTestEnv(name);
}

TEST(PlatformProcess, ProcessIdIsStableAndNonZero) {
    EXPECT_NE(platform::CurrentProcessId(), 0u);
    EXPECT_EQ(platform::CurrentProcessId(), platform::CurrentProcessId());
}

}  // namespace
}  // namespace moxh5::test

namespace moxh5::test {
namespace {

std::wstring g_openedTarget;
uintptr_t RecordOpen(const std::wstring& target) {
    g_openedTarget = target;
    return 42;
}

// Test that the seam sees the target and its answer is the call's answer.
TEST(PlatformShell, HookObservesOpensWithoutStartingAnything) {
    platform::SetShellOpenHook(&RecordOpen);
    EXPECT_EQ(platform::ShellOpen(L"https://shop.example/\u8ba2\u5355"), 42u);
    EXPECT_EQ(g_openedTarget, L"https://shop.example/\u8ba2\u5355");
    platform::SetShellOpenHook(nullptr);
}

// Test that the real shell refuses what it cannot open, without starting anything.
TEST(PlatformShell, MissingFilesAndEmptyTargetsFail) {
    platform::SetShellOpenHook(nullptr);
    EXPECT_LE(platform::ShellOpen(L""), 32u);
    EXPECT_LE(platform::ShellOpen(L"moxh5-no-such-file-\u4e0d\u5b58\u5728.exe"), 32u);
}

}  // namespace
}  // namespace moxh5::test
