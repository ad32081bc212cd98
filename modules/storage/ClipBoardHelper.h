// The clipboard helper: copies text to the clipboard and tells what it holds.
//
// The process has one helper, handed out by the host's business-access
// library (SingletonBizAcs::GetCClipBoardHelper). The storage module installs
// ProcessInstance() there when its worker is built and no helper is installed
// yet; an embedder that installs its own first keeps it.
//
// Besides the standard text, bitmap and file-list formats the helper knows two
// formats of its own, registered by name: narrow text ("MoxH5 Private Text")
// and UTF-16 text ("MoxH5 Private Unicode Text").
//
// Every method opens the clipboard itself (failing when another thread or
// program holds it) and closes it on every way out. Threads: any; the
// system serialises clipboard access through opening.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "moxh5/platform.h"

// What the clipboard held, as GetClipboardContent read it. The two handles
// stand for HBITMAP and HDROP on Windows: they belong to the clipboard, are
// valid only until it changes, and are never freed through this record.
struct mox_clipboard_content {
    uint32_t format = 0;                      // the format that was read
    std::wstring unicode_text;                // CF_UNICODETEXT
    std::string ansi_text;                    // CF_TEXT
    std::string private_text;                 // private_text_format
    moxh5::platform::ClipboardHandle bitmap;  // CF_BITMAP
    std::wstring private_wide_text;           // private_wide_format
    moxh5::platform::ClipboardHandle drop;    // CF_HDROP
};

class CClipBoardHelper {
public:
    // Registers the two private formats (a format that cannot be registered
    // is 0 and never matches).
    CClipBoardHelper();
    // A helper for formats registered elsewhere.
    CClipBoardHelper(uint32_t privateTextFormat, uint32_t privateWideFormat);

    // The helper of this library, alive until the library unloads (it then
    // uninstalls itself if installed).
    static CClipBoardHelper& ProcessInstance();
    // Installs ProcessInstance() in the business-access library unless a
    // helper is installed already.
    static void InstallProcessInstance();

    // Replaces the clipboard's contents with `text` as CF_UNICODETEXT.
    bool CopyUniCodeTextToClipBoard(const std::wstring& text);

    // Fills `out` from the first format that GetAvailableFormats lists (see
    // the source for the bitmap and file-list cases). False for an empty
    // clipboard, a format it cannot read or a failed read.
    bool GetClipboardContent(mox_clipboard_content& out);

    // The formats the clipboard holds, in this fixed order: private text,
    // private wide text, CF_UNICODETEXT, CF_TEXT, CF_BITMAP, CF_HDROP. Always
    // true.
    bool GetAvailableFormats(std::vector<uint32_t>& out);

    // Reads private_text_format or CF_TEXT (other formats: false), bytes up to
    // the first NUL. True when the clipboard held data of that format.
    bool ReadTextFormat(uint32_t format, std::string& out);
    // Reads private_wide_format or CF_UNICODETEXT likewise, units up to the
    // first zero unit.
    bool ReadWideTextFormat(uint32_t format, std::wstring& out);

    const uint32_t private_text_format;
    const uint32_t private_wide_format;
};
