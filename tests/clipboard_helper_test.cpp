// Tests of the clipboard helper on the real clipboard (the system's on
// Windows, the process-local one elsewhere), set up around the library.
#include <gtest/gtest.h>

#include "modules/storage/ClipBoardHelper.h"
#include "system_probe.h"
#include "tests/fakes/capture_sinks.h"

namespace moxh5::test {
namespace {

using Formats = std::vector<uint32_t>;
using platform::kClipboardBitmap;
using platform::kClipboardFileList;
using platform::kClipboardText;
using platform::kClipboardUnicodeText;

CClipBoardHelper& Helper() { return CClipBoardHelper::ProcessInstance(); }
const uint32_t kPrivateText = Helper().private_text_format;
const uint32_t kPrivateWide = Helper().private_wide_format;
const ClipboardData kFiles{kClipboardFileList, Utf16Bytes(u"C:\\a.txt")};
const ClipboardData kBitmap{kClipboardBitmap, ""};

Formats Listed() {
    Formats formats{99};  // the listing starts from scratch
    EXPECT_TRUE(Helper().GetAvailableFormats(formats));
    return formats;
}

// Test the private formats' registration and the fixed listing order, whatever
// order the data was put in.
TEST(ClipboardHelper, FormatsAreListedInTheirFixedOrder) {
    EXPECT_GE(kPrivateText, 0xC000u);
    EXPECT_NE(kPrivateText, kPrivateWide);
    EXPECT_EQ(platform::RegisterClipboardFormatName("moxh5 private unicode text"), kPrivateWide);
    ASSERT_TRUE(ReplaceClipboard({kFiles,
                                  kBitmap,
                                  {kClipboardUnicodeText, Utf16Bytes(u"u")},
                                  {kPrivateWide, Utf16Bytes(u"w")},
                                  {kPrivateText, "p"}}));
    // CF_TEXT is listed because the system converts Unicode text on demand.
    EXPECT_EQ(Listed(), (Formats{kPrivateText, kPrivateWide, kClipboardUnicodeText, kClipboardText,
                                 kClipboardBitmap, kClipboardFileList}));
    ASSERT_TRUE(ReplaceClipboard({}));
    EXPECT_EQ(Listed(), Formats{});
}

// What was read, in one line: the format read (P private text, W private wide text, U Unicode
// text, B bitmap, F file list), then the texts and whether a bitmap or file list came along.
std::string Described(bool read, const mox_clipboard_content& c) {
    const std::pair<uint32_t, const char*> names[] = {{0, "-"},
                                                      {kPrivateText, "P"},
                                                      {kPrivateWide, "W"},
                                                      {kClipboardUnicodeText, "U"},
                                                      {kClipboardBitmap, "B"},
                                                      {kClipboardFileList, "F"}};
    std::string format = "?";
    for (const auto& [value, name] : names) {
        if (c.format == value) format = name;
    }
    return std::string(read ? "read " : "none ") + format + " [" + c.private_text + "|" +
           platform::WideToUtf8(c.unicode_text) + "|" + platform::WideToUtf8(c.private_wide_text) +
           "|" + c.ansi_text + "]" + (c.bitmap ? " bitmap" : "") + (c.drop ? " drop" : "");
}

// Test that the first listed format decides what is read, with the bitmap and
// file-list cases, and that each reader takes only its own formats.
TEST(ClipboardHelper, ContentIsReadFromTheFirstListedFormat) {
    const std::pair<std::vector<ClipboardData>, const char*> cases[] = {
        {{}, "none - [|||]"},
        {{{kPrivateText, std::string("p\0tail", 6)}, kFiles}, "read P [p|||]"},
        {{{kClipboardText, "ansi"}}, "read U [|ansi||]"},
        {{{kPrivateWide, Utf16Bytes(u"\u8BA2\u5355")}}, "read W [||\xE8\xAE\xA2\xE5\x8D\x95|]"},
        {{kBitmap, {kPrivateWide, Utf16Bytes(u"w")}}, "read B [||w|] bitmap"},
        {{kBitmap}, "read B [|||] bitmap"},
        {{kFiles}, "read F [|||] drop"},
    };
    for (const auto& [items, described] : cases) {
        ASSERT_TRUE(ReplaceClipboard(items));
        mox_clipboard_content content;
        content.ansi_text = "stale";
        const bool read = Helper().GetClipboardContent(content);
        EXPECT_EQ(Described(read, content), described);
    }
    ASSERT_TRUE(ReplaceClipboard({{kClipboardUnicodeText, Utf16Bytes(u"u")}, {kPrivateText, "p"}}));
    std::string narrow;
    EXPECT_FALSE(Helper().ReadTextFormat(kClipboardUnicodeText, narrow));
    EXPECT_FALSE(Helper().ReadTextFormat(0, narrow));
    EXPECT_EQ(narrow, "");
}

// Test that a copy replaces everything, that a clipboard held elsewhere fails
// it with its log line, and that every operation leaves the clipboard closed.
TEST(ClipboardHelper, CopyReplacesTheClipboardAndEveryOperationClosesIt) {
    ASSERT_TRUE(ReplaceClipboard({kFiles, {kPrivateText, "p"}}));
    {
        ScopedLogCapture log;
        ClipboardHeldElsewhere holder;
        ASSERT_TRUE(holder.Held());
        EXPECT_FALSE(Helper().CopyUniCodeTextToClipBoard(L"x"));
        EXPECT_TRUE(log->Contains("OpenClipboard or EmptyClipboard failed, lasterrcode: "));
        std::string narrow;
        EXPECT_FALSE(Helper().ReadTextFormat(kPrivateText, narrow));
    }
    mox_clipboard_content content;
    EXPECT_TRUE(Helper().GetClipboardContent(content));
    EXPECT_TRUE(ClipboardHeldElsewhere().Held());
    const std::wstring text = platform::Utf8ToWide("a\U0001F600b");
    EXPECT_TRUE(Helper().CopyUniCodeTextToClipBoard(text));
    EXPECT_TRUE(ClipboardHeldElsewhere().Held());
    EXPECT_EQ(ReadClipboardUnicodeText(), text);
    EXPECT_EQ(Listed(), (Formats{kClipboardUnicodeText, kClipboardText}));
}

// Test the two wide-text readers over what the clipboard holds: each reads its own format's
// units up to the first zero unit (surrogate pairs whole), the private format is never made
// from the standard ones nor they from it, and the narrow formats are not wide text.
TEST(ClipboardHelper, WideTextIsReadFromItsOwnFormatUpToTheZeroUnit) {
    const struct {
        std::vector<ClipboardData> items;
        const char* privateWide;  // null: not read
        const char* unicode;
    } cases[] = {
        {{{kPrivateWide, Utf16Bytes(std::u16string(u"ab\0cd", 5))}}, "ab", nullptr},
        {{{kPrivateWide, Utf16Bytes(u"\U0001F600\u8BA2")}}, "\xF0\x9F\x98\x80\xE8\xAE\xA2", nullptr},
        {{{kClipboardUnicodeText, Utf16Bytes(std::u16string(u"x\0y", 3))}}, nullptr, "x"},
        {{{kClipboardText, "ansi"}}, nullptr, "ansi"},
        {{{kPrivateText, "p"}}, nullptr, nullptr},
        // one unit without its zero unit (little-endian bytes), beside the standard format
        {{{kPrivateWide, std::string("w\0", 2)}, {kClipboardUnicodeText, Utf16Bytes(u"u")}}, "w", "u"},
    };
    for (const auto& c : cases) {
        ASSERT_TRUE(ReplaceClipboard(c.items));
        const char* const narrow = nullptr;  // never read as wide text
        for (const auto& [format, expected] :
             {std::pair(kPrivateWide, c.privateWide), std::pair(kClipboardUnicodeText, c.unicode),
              std::pair(kPrivateText, narrow), std::pair(kClipboardText, narrow)}) {
            std::wstring wide = L"stale";
            EXPECT_EQ(Helper().ReadWideTextFormat(format, wide), expected != nullptr) << format;
            EXPECT_EQ(platform::WideToUtf8(wide), expected ? expected : "stale") << format;
        }
    }
}

}  // namespace
}  // namespace moxh5::test
