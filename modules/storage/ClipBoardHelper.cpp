#include "modules/storage/ClipBoardHelper.h"

#include <fmt/format.h>

#include "MoxBizAccess.h"
#include "diagnostics.h"

namespace {

namespace platform = moxh5::platform;
using platform::ClipboardHandle;

constexpr char kPrivateTextName[] = "MoxH5 Private Text";
constexpr char kPrivateWideName[] = "MoxH5 Private Unicode Text";
constexpr char kCopyFunction[] = "CClipBoardHelper::CopyUniCodeTextToClipBoard";

// The clipboard, opened for the lifetime of this object and closed on every
// way out.
class OpenedClipboard {
public:
    OpenedClipboard() : m_open(platform::ClipboardOpen(m_error)) {}
    ~OpenedClipboard() {
        if (m_open) platform::ClipboardClose();
    }
    OpenedClipboard(const OpenedClipboard&) = delete;
    OpenedClipboard& operator=(const OpenedClipboard&) = delete;

    explicit operator bool() const { return m_open; }
    const std::error_code& Error() const { return m_error; }

private:
    std::error_code m_error;
    bool m_open;
};

// The data handle of `format`, taken with the clipboard opened just for it;
// empty when the clipboard cannot be opened or holds no such data.
ClipboardHandle TakeHandle(uint32_t format) {
    const OpenedClipboard clipboard;
    return clipboard ? platform::ClipboardGetData(format) : ClipboardHandle{};
}

void LogCopyFailure(int line, const std::string& text) {
    moxh5::detail::WriteLogLine(LOG_PRIORITY_ERROR, __FILE__, line, kCopyFunction, "%s",
                                text.c_str());
}

// The library's helper. When the library unloads it takes itself out of the
// business-access library, which outlives it, so that nobody is handed a
// helper that is gone.
struct ProcessHelper {
    CClipBoardHelper helper;
    ~ProcessHelper() {
        if (SingletonBizAcs::GetCClipBoardHelper() == &helper) {
            SingletonBizAcs::SetCClipBoardHelper(nullptr);
        }
    }
};

}  // namespace

CClipBoardHelper::CClipBoardHelper()
    : CClipBoardHelper(platform::RegisterClipboardFormatName(kPrivateTextName),
                       platform::RegisterClipboardFormatName(kPrivateWideName)) {}

CClipBoardHelper::CClipBoardHelper(uint32_t privateTextFormat, uint32_t privateWideFormat)
    : private_text_format(privateTextFormat), private_wide_format(privateWideFormat) {}

CClipBoardHelper& CClipBoardHelper::ProcessInstance() {
    static ProcessHelper instance;
    return instance.helper;
}

void CClipBoardHelper::InstallProcessInstance() {
    if (!SingletonBizAcs::GetCClipBoardHelper()) {
        SingletonBizAcs::SetCClipBoardHelper(&ProcessInstance());
    }
}

bool CClipBoardHelper::CopyUniCodeTextToClipBoard(const std::wstring& text) {
    const OpenedClipboard clipboard;
    std::error_code error = clipboard.Error();
    if (!clipboard || !platform::ClipboardEmpty(error)) {
        LogCopyFailure(__LINE__, fmt::format("Copy unicodetext to clipboard failed, OpenClipboard "
                                             "or EmptyClipboard failed, lasterrcode: {}.",
                                             error.value()));
        return false;
    }
    // c_str() brings the zero unit that ends the text: 2 x length + 2 bytes.
    const std::u16string units = platform::WideToUtf16(text);
    const size_t size = (units.size() + 1) * sizeof(char16_t);
    switch (
        platform::ClipboardSetBytes(platform::kClipboardUnicodeText, units.c_str(), size, error)) {
        case platform::ClipboardWriteFailure::kNone:
            return true;
        case platform::ClipboardWriteFailure::kAllocation:
            LogCopyFailure(__LINE__, fmt::format("Copy unicodetext to clipboard failed, "
                                                 "GlobalAlloc failed, lasterrcode: {}.",
                                                 error.value()));
            return false;
        case platform::ClipboardWriteFailure::kHandOver:
            break;
    }
    LogCopyFailure(__LINE__, fmt::format("Copy unicodetext to clipboard failed, lasterrcode: {}.",
                                         error.value()));
    return false;
}

bool CClipBoardHelper::GetAvailableFormats(std::vector<uint32_t>& out) {
    out.clear();
    for (const uint32_t format :
         {private_text_format, private_wide_format, platform::kClipboardUnicodeText,
          platform::kClipboardText, platform::kClipboardBitmap, platform::kClipboardFileList}) {
        if (format != 0 && platform::ClipboardHasFormat(format)) out.push_back(format);
    }
    return true;
}

bool CClipBoardHelper::ReadTextFormat(uint32_t format, std::string& out) {
    if (format == 0 || (format != private_text_format && format != platform::kClipboardText)) {
        return false;
    }
    const OpenedClipboard clipboard;
    if (!clipboard) return false;
    const ClipboardHandle data = platform::ClipboardGetData(format);
    if (data) out = platform::ClipboardReadNarrowText(data);
    return static_cast<bool>(data);
}

bool CClipBoardHelper::ReadWideTextFormat(uint32_t format, std::wstring& out) {
    if (format == 0 ||
        (format != private_wide_format && format != platform::kClipboardUnicodeText)) {
        return false;
    }
    const OpenedClipboard clipboard;
    if (!clipboard) return false;
    const ClipboardHandle data = platform::ClipboardGetData(format);
    if (data) out = platform::Utf16ToWide(platform::ClipboardReadWideText(data));
    return static_cast<bool>(data);
}

// The first listed format alone decides what is read. Two formats bring a
// second one along: private wide text a bitmap listed after it (the bitmap
// then names the content), and a bitmap the private wide text listed after it.
bool CClipBoardHelper::GetClipboardContent(mox_clipboard_content& out) {
    out = mox_clipboard_content{};
    std::vector<uint32_t> formats;
    GetAvailableFormats(formats);
    if (formats.empty()) return false;
    const uint32_t first = formats.front();
    out.format = first;

    if (first == private_text_format) return ReadTextFormat(first, out.private_text);
    if (first == platform::kClipboardText) return ReadTextFormat(first, out.ansi_text);
    if (first == platform::kClipboardUnicodeText)
        return ReadWideTextFormat(first, out.unicode_text);
    if (first == private_wide_format) {
        if (!ReadWideTextFormat(first, out.private_wide_text)) return false;
        for (size_t i = 1; i < formats.size(); ++i) {
            if (formats[i] != platform::kClipboardBitmap) continue;
            if (const ClipboardHandle bitmap = TakeHandle(platform::kClipboardBitmap)) {
                out.bitmap = bitmap;
                out.format = platform::kClipboardBitmap;
                return true;
            }
        }
        return true;
    }
    if (first == platform::kClipboardBitmap) {
        {
            const OpenedClipboard clipboard;
            if (!clipboard) return false;
            out.bitmap = platform::ClipboardGetData(first);
        }
        if (!out.bitmap) return false;
        for (size_t i = 1; i < formats.size(); ++i) {
            if (formats[i] == private_wide_format) {
                ReadWideTextFormat(formats[i], out.private_wide_text);
                break;
            }
        }
        return true;
    }
    if (first == platform::kClipboardFileList) {
        const OpenedClipboard clipboard;
        if (!clipboard) return false;
        out.drop = platform::ClipboardGetData(first);
        return static_cast<bool>(out.drop);
    }
    return false;
}
