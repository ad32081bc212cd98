// File names the Windows shell acts on without being run: showing the folder
// that holds one (a download folder, the desktop) is enough for the shell to
// read it and, for example, fetch an icon from a remote share in the user's
// name (handing out their network credentials) or change how the folder
// behaves. A page must not be able to plant such a file by downloading or
// saving one.
//
// Threads: any; no state.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace moxh5::detail {

// Why the file name at the end of `path` (after its last "/" or "\\") is one
// the shell acts on, or null when it is not. With a ":" in it, the part before
// the first (a file and its stream) and the part after the last (a drive and
// a relative name) are each checked. Names compare without case and without the trailing dots and
// spaces Windows drops. Refused: "desktop.ini", "autorun.inf", names with a class id as extension
// (".{...}") and the extensions .appref-ms, .desklink, .hta, .library-ms, .lnk, .pif, .scf,
// .search-ms, .searchconnector-ms, .settingcontent-ms, .url and .website. An entry of `allowed`
// (".url" for an extension, "desktop.ini" for a whole name) lets that name through.
const char* ShellActiveNameRefusal(std::string_view path, const std::vector<std::string>& allowed);

}  // namespace moxh5::detail
