#include "core/policy/local_hosts.h"

#include <optional>
#include <string_view>

#include "AsciiCase.h"

namespace moxh5::detail {
namespace {

bool InV4(uint32_t address, uint32_t network, int prefix) {
    const uint32_t mask = prefix == 0 ? 0 : ~uint32_t{0} << (32 - prefix);
    return (address & mask) == (network & mask);
}

const char* Ipv4Refusal(uint32_t a) {
    if (InV4(a, 0x7F000000, 8)) return "loopback address";
    if (InV4(a, 0x0A000000, 8) || InV4(a, 0xAC100000, 12) || InV4(a, 0xC0A80000, 16)) {
        return "private address";
    }
    if (InV4(a, 0xA9FE0000, 16)) return "link-local address";
    if (InV4(a, 0x00000000, 8) || InV4(a, 0x64400000, 10) || InV4(a, 0xC0000000, 24) ||
        InV4(a, 0xC6120000, 15) || InV4(a, 0xE0000000, 4) || InV4(a, 0xF0000000, 4)) {
        return "special-purpose address";
    }
    return nullptr;
}

using Ipv6 = std::array<uint16_t, 8>;

// Whether the first `prefix` bits of `a` and `network` agree.
bool InV6(const Ipv6& a, const Ipv6& network, int prefix) {
    for (int i = 0; i < 8 && prefix > 0; ++i, prefix -= 16) {
        const int bits = prefix < 16 ? prefix : 16;
        const uint16_t mask = static_cast<uint16_t>(0xFFFF << (16 - bits));
        if ((a[i] & mask) != (network[i] & mask)) return false;
    }
    return true;
}

uint32_t V4At(const Ipv6& a, int piece) { return (uint32_t{a[piece]} << 16) | a[piece + 1]; }

const char* Ipv6Refusal(const Ipv6& a) {
    static const Ipv6 kZero = {};
    static const Ipv6 kLoopback = {0, 0, 0, 0, 0, 0, 0, 1};
    if (a == kZero) return "special-purpose address";
    if (a == kLoopback) return "loopback address";
    // Addresses that carry an IPv4 address: mapped, compatible, NAT64.
    if (InV6(a, {0, 0, 0, 0, 0, 0xFFFF, 0, 0}, 96) || InV6(a, kZero, 96) ||
        InV6(a, {0x64, 0xFF9B, 0, 0, 0, 0, 0, 0}, 96)) {
        return Ipv4Refusal(V4At(a, 6));
    }
    if (InV6(a, {0x2002, 0, 0, 0, 0, 0, 0, 0}, 16)) return Ipv4Refusal(V4At(a, 1));
    if (InV6(a, {0xFC00, 0, 0, 0, 0, 0, 0, 0}, 7)) return "private address";
    if (InV6(a, {0xFE80, 0, 0, 0, 0, 0, 0, 0}, 10) || InV6(a, {0xFEC0, 0, 0, 0, 0, 0, 0, 0}, 10)) {
        return "link-local address";
    }
    if (InV6(a, {0xFF00, 0, 0, 0, 0, 0, 0, 0}, 8) || InV6(a, {0x100, 0, 0, 0, 0, 0, 0, 0}, 64) ||
        InV6(a, {0x64, 0xFF9B, 1, 0, 0, 0, 0, 0}, 48) ||
        InV6(a, {0x2001, 0, 0, 0, 0, 0, 0, 0}, 32)) {
        return "special-purpose address";
    }
    return nullptr;
}

std::string_view WithoutTrailingDot(std::string_view name) {
    if (!name.empty() && name.back() == '.') name.remove_suffix(1);
    return name;
}

// Whether `name` is `suffix` or a name below it.
bool IsOrIsBelow(std::string_view name, std::string_view suffix) {
    if (name.size() < suffix.size()) return false;
    const std::string_view tail = name.substr(name.size() - suffix.size());
    if (!EqualsIgnoringAsciiCase(tail, suffix)) return false;
    return name.size() == suffix.size() || name[name.size() - suffix.size() - 1] == '.';
}

const char* NameRefusal(std::string_view host) {
    const std::string_view name = WithoutTrailingDot(host);
    if (IsOrIsBelow(name, "localhost")) return "local host name";
    if (name.find('.') == std::string_view::npos) return "host name without a dot";
    for (std::string_view suffix : {"local", "localdomain", "internal", "home.arpa"}) {
        if (IsOrIsBelow(name, suffix) && name.size() > suffix.size()) return "local host name";
    }
    return nullptr;
}

// An address or range entry, read by the URL parser's host rules.
struct Range {
    WebUrl address;
    int prefix = -1;  // -1: the whole address
};

std::optional<Range> ReadRange(std::string_view entry) {
    Range range;
    const size_t slash = entry.find('/');
    std::string_view address = entry.substr(0, slash);
    if (slash != std::string_view::npos) {
        const std::string_view digits = entry.substr(slash + 1);
        if (digits.empty() || digits.size() > 3) return std::nullopt;
        range.prefix = 0;
        for (char c : digits) {
            if (c < '0' || c > '9') return std::nullopt;
            range.prefix = range.prefix * 10 + (c - '0');
        }
    }
    const bool v6 = address.find(':') != std::string_view::npos;
    const std::string bracketed =
        v6 && address.front() != '[' ? "[" + std::string(address) + "]" : std::string(address);
    std::optional<WebUrl> parsed = ParseWebUrl("http://" + bracketed + "/");
    if (!parsed || parsed->tail != "/" || parsed->hostKind == WebUrl::HostKind::kName) {
        return std::nullopt;
    }
    const int bits = parsed->hostKind == WebUrl::HostKind::kIPv4 ? 32 : 128;
    if (range.prefix > bits) return std::nullopt;
    if (range.prefix < 0) range.prefix = bits;
    range.address = std::move(*parsed);
    return range;
}

bool NameListed(std::string_view host, std::string_view entry) {
    const std::string_view name = WithoutTrailingDot(host);
    entry = WithoutTrailingDot(entry);
    if (entry.substr(0, 2) == "*.") {
        const std::string_view parent = entry.substr(2);
        return !parent.empty() && name.size() > parent.size() && IsOrIsBelow(name, parent);
    }
    return EqualsIgnoringAsciiCase(name, entry);
}

}  // namespace

const char* LocalHostRefusal(const WebUrl& url) {
    switch (url.hostKind) {
        case WebUrl::HostKind::kIPv4:
            return Ipv4Refusal(url.ipv4);
        case WebUrl::HostKind::kIPv6:
            return Ipv6Refusal(url.ipv6);
        case WebUrl::HostKind::kName:
            return NameRefusal(url.host);
    }
    return nullptr;
}

bool HostListed(const WebUrl& url, const std::vector<std::string>& entries) {
    for (const std::string& entry : entries) {
        if (entry.empty()) continue;
        if (url.hostKind == WebUrl::HostKind::kName) {
            if (NameListed(url.host, entry)) return true;
            continue;
        }
        const std::optional<Range> range = ReadRange(entry);
        if (!range || range->address.hostKind != url.hostKind) continue;
        if (url.hostKind == WebUrl::HostKind::kIPv4 &&
            InV4(url.ipv4, range->address.ipv4, range->prefix)) {
            return true;
        }
        if (url.hostKind == WebUrl::HostKind::kIPv6 &&
            InV6(url.ipv6, range->address.ipv6, range->prefix)) {
            return true;
        }
    }
    return false;
}

}  // namespace moxh5::detail
