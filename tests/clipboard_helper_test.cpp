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

// Test that the first listed format decides what is read, with the bitmap and
// file-list cases, and that each reader takes only its own formats.
TEST(ClipboardHelper, ContentIsReadFromTheFirstListedFormat) {
    const struct {
        std::vector<ClipboardData> items;
        bool read;
        uint32_t format;
        std::string privateText;
        std::wstring unicodeText, privateWideText;
        bool bitmap, drop;
    } cases[] = {
        {{}, false, 0, "", L"", L"", false, false},
        {{{kPrivateText, std::string("p\0tail", 6)}, kFiles},
         true,
         kPrivateText,
         "p",
         L"",
         L"",
         false,
         false},
        {{{kClipboardText, "ansi"}}, true, kClipboardUnicodeText, "", L"ansi", L"", false, false},
        {{{kPrivateWide, Utf16Bytes(u"\u8BA2\u5355")}},
         true,
         kPrivateWide,
         "",
         L"",
         L"\u8BA2\u5355",
         false,
         false},
        {{kBitmap, {kPrivateWide, Utf16Bytes(u"w")}},
         true,
         kClipboardBitmap,
         "",
         L"",
         L"w",
         true,
         false},
        {{kBitmap}, true, kClipboardBitmap, "", L"", L"", true, false},
        {{kFiles}, true, kClipboardFileList, "", L"", L"", false, true},
    };
    for (const auto& c : cases) {
        ASSERT_TRUE(ReplaceClipboard(c.items));
        mox_clipboard_content content;
        content.ansi_text = "stale";
        EXPECT_EQ(Helper().GetClipboardContent(content), c.read) << c.format;
        EXPECT_EQ(content.format, c.format);
        EXPECT_EQ(content.private_text, c.privateText) << c.format;
        EXPECT_EQ(content.unicode_text, c.unicodeText) << c.format;
        EXPECT_EQ(content.private_wide_text, c.privateWideText) << c.format;
        EXPECT_EQ(content.ansi_text, "") << c.format;
        EXPECT_EQ(static_cast<bool>(content.bitmap), c.bitmap) << c.format;
        EXPECT_EQ(static_cast<bool>(content.drop), c.drop) << c.format;
    }
    std::string narrow;
    std::wstring wide;
    EXPECT_FALSE(Helper().ReadTextFormat(kClipboardUnicodeText, narrow));
    EXPECT_FALSE(Helper().ReadWideTextFormat(kClipboardText, wide));
    EXPECT_FALSE(Helper().ReadWideTextFormat(kPrivateWide, wide)) << "not on the clipboard";
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
    const std::wstring text = platform::Utf8ToWide(
        "a\xF0\x9F\x98\x80"
        "b");  // a😀b
    EXPECT_TRUE(Helper().CopyUniCodeTextToClipBoard(text));
    EXPECT_TRUE(ClipboardHeldElsewhere().Held());
    EXPECT_EQ(ReadClipboardUnicodeText(), text);
    EXPECT_EQ(Listed(), (Formats{kClipboardUnicodeText, kClipboardText}));
}

}  // namespace
}  // namespace moxh5::test
