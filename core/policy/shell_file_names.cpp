#include "core/policy/shell_file_names.h"

#include "AsciiCase.h"

namespace moxh5::detail {
namespace {

constexpr std::string_view kNames[] = {"desktop.ini", "autorun.inf"};
constexpr std::string_view kExtensions[] = {
    ".appref-ms", ".desklink", ".hta",       ".library-ms",         ".lnk",
    ".pif",       ".scf",      ".search-ms", ".searchconnector-ms", ".settingcontent-ms",
    ".url",       ".website"};

// A name as Windows opens it: without trailing dots and spaces.
std::string_view Trimmed(std::string_view name) {
    while (!name.empty() && (name.back() == '.' || name.back() == ' ')) name.remove_suffix(1);
    return name;
}

bool EndsWithIgnoringCase(std::string_view text, std::string_view suffix) {
    return text.size() >= suffix.size() &&
           EqualsIgnoringAsciiCase(text.substr(text.size() - suffix.size()), suffix);
}

bool Allowed(std::string_view name, std::string_view refused,
             const std::vector<std::string>& allowed) {
    for (const std::string& entry : allowed) {
        if (EqualsIgnoringAsciiCase(entry, refused)) return true;
        if (EqualsIgnoringAsciiCase(entry, name)) return true;
    }
    return false;
}

const char* NameRefusal(std::string_view name, const std::vector<std::string>& allowed) {
    for (std::string_view refused : kNames) {
        if (EqualsIgnoringAsciiCase(name, refused) && !Allowed(name, refused, allowed)) {
            return "a file name the shell acts on";
        }
    }
    for (std::string_view refused : kExtensions) {
        if (EndsWithIgnoringCase(name, refused) && !Allowed(name, refused, allowed)) {
            return "a file type the shell acts on";
        }
    }
    const size_t dot = name.rfind('.');
    if (dot != std::string_view::npos && name.size() - dot > 2 && name[dot + 1] == '{' &&
        name.back() == '}' && !Allowed(name, name.substr(dot), allowed)) {
        return "a class id as file extension";
    }
    return nullptr;
}

}  // namespace

const char* ShellActiveNameRefusal(std::string_view path, const std::vector<std::string>& allowed) {
    const size_t separator = path.find_last_of("/\\");
    if (separator != std::string_view::npos) path.remove_prefix(separator + 1);
    // "name:stream" names the file "name"; "C:name" (a drive-relative name a
    // host might still join) the file "name": both ends are checked.
    const size_t colon = path.find(':');
    if (const char* refusal = NameRefusal(Trimmed(path.substr(0, colon)), allowed)) return refusal;
    if (colon == std::string_view::npos) return nullptr;
    return NameRefusal(Trimmed(path.substr(path.rfind(':') + 1)), allowed);
}

}  // namespace moxh5::detail
