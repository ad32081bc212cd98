// Comparing protocol words (schemes, header names, member names) without
// regard to ASCII case; other bytes compare as they are.
#pragma once

#include <string_view>

namespace moxh5 {

constexpr char AsciiLower(char c) { return (c >= 'A' && c <= 'Z') ? char(c - 'A' + 'a') : c; }

constexpr bool EqualsIgnoringAsciiCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        if (AsciiLower(a[i]) != AsciiLower(b[i])) return false;
    }
    return true;
}

}  // namespace moxh5
