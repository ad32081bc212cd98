// Tests of the OS layer: text conversions in the platform's wide encoding and
// the shell (the environment is read in the message-centre test).
#include "moxh5/platform.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <string>

namespace moxh5::test {
namespace {

using platform::Utf8ToWide;
using platform::WideToUtf8;

// Test that a registered clipboard format is named without case, every letter from A to Z,
// and by its whole name.
TEST(PlatformClipboard, FormatNamesCompareWithoutCase) {
    const uint32_t format = platform::RegisterClipboardFormatName("MOXH5 AZ probe format");
    EXPECT_GE(format, 0xC000u);
    EXPECT_EQ(platform::RegisterClipboardFormatName("moxh5 az probe format"), format);
    EXPECT_NE(platform::RegisterClipboardFormatName("moxh5 az probe format!"), format);
}

// Test that Chinese and other non-ASCII text survives the trip both ways, through UTF-8 and
// through UTF-16 (the clipboard's encoding).
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
        // Outside the BMP: surrogate pairs in UTF-16, from the first to the last.
        {"\xF0\x9F\x98\x80", L"\U0001F600"},
        {"\xF0\x90\x80\x80", L"\U00010000"},
        {"\xF4\x8F\xBF\xBF", L"\U0010FFFF"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Utf8ToWide(c.utf8), c.wide) << c.utf8;
        EXPECT_EQ(WideToUtf8(c.wide), c.utf8) << c.utf8;
        EXPECT_EQ(platform::Utf16ToWide(platform::WideToUtf16(c.wide)), c.wide) << c.utf8;
    }
    EXPECT_EQ(platform::WideToUtf16(L"\U00010000"), (std::u16string{0xD800, 0xDC00}));
    EXPECT_EQ(platform::WideToUtf16(L"\U0010FFFF"), (std::u16string{0xDBFF, 0xDFFF}));
    // Unpaired surrogates stay where wide text is UTF-16 itself, and become replacement
    // characters where it is UTF-32.
    const std::u16string unpaired{u'a', 0xDC00, 0xD800, u'b', 0xDBFF};
    EXPECT_EQ(platform::Utf16ToWide(unpaired), sizeof(wchar_t) == 2
                                                   ? std::wstring(unpaired.begin(), unpaired.end())
                                                   : L"a\uFFFD\uFFFDb\uFFFD");
    EXPECT_EQ(Utf8ToWide("\xF0\x9F\x98\x80").size(), sizeof(wchar_t) == 2 ? 2u : 1u);
    // In UTF-32 wide text a surrogate is no character: each becomes a replacement character.
    if (sizeof(wchar_t) == 4) {
        const std::wstring lone{wchar_t(0xD7FF), wchar_t(0xD800), wchar_t(0xDFFF), wchar_t(0xE000)};
        EXPECT_EQ(platform::WideToUtf16(lone), (std::u16string{0xD7FF, 0xFFFD, 0xFFFD, 0xE000}));
    }
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

// Test that the seam sees the target and answers for the shell, and that the real shell refuses
// what it cannot open, without starting anything.
TEST(PlatformShell, HookObservesOpensAndTheShellRefusesMissingFiles) {
    static std::wstring opened;
    platform::SetShellOpenHook([](const std::wstring& target) -> uintptr_t {
        opened = target;
        return 42;
    });
    EXPECT_EQ(platform::ShellOpen(L"https://shop.example/\u8ba2\u5355"), 42u);
    EXPECT_EQ(opened, L"https://shop.example/\u8ba2\u5355");
    platform::SetShellOpenHook(nullptr);
    // Nothing to open, and names that are no URL (no scheme before "://") of files that do
    // not exist: refused as a missing file, nothing started.
    for (const wchar_t* target : {L"", L"moxh5-no-such-file-\u4e0d\u5b58\u5728.exe",
                                  L"://moxh5-no-such-file"}) {
#if defined(_WIN32)
        EXPECT_LE(platform::ShellOpen(target), 32u);
#else
        EXPECT_EQ(platform::ShellOpen(target), 2u) << platform::WideToUtf8(target);
#endif
    }
#if !defined(_WIN32)
    // With no opener on the search path a link has no association (31), also when the host
    // leaves child exits to the system, which makes waiting for the child fail.
    const std::string saved = std::getenv("PATH") ? std::getenv("PATH") : "";
    ::setenv("PATH", "/moxh5-no-such-folder", 1);
    for (const auto disposition : {SIG_DFL, SIG_IGN}) {
        const auto before = std::signal(SIGCHLD, disposition);
        EXPECT_EQ(platform::ShellOpen(L"https://shop.example/"), 31u);
        std::signal(SIGCHLD, before);
    }
    ::setenv("PATH", saved.c_str(), 1);
#endif
}

}  // namespace
}  // namespace moxh5::test
