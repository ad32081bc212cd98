#include "core/policy/local_hosts.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "AsciiCase.h"

namespace moxh5::detail {
namespace {

uint32_t Ipv4Mask(int prefix) { return prefix == 0 ? 0 : ~uint32_t{0} << (32 - prefix); }

// The bits of IPv6 piece `piece` (of 16 bits) that a prefix of `prefix` bits covers.
uint16_t Ipv6PieceMask(int prefix, size_t piece) {
    const int bits = std::clamp(prefix - 16 * static_cast<int>(piece), 0, 16);
    return static_cast<uint16_t>(0xFFFF0000u >> bits);
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
    // -1: the whole address
    int prefix = -1;
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

// Whether `url`'s address is in `range`, whose address is the range's first
// (no bits set past its prefix; else it holds no address at all).
bool InRange(const WebUrl& url, const Range& range) {
    if (url.hostKind != range.address.hostKind) return false;
    if (url.hostKind == WebUrl::HostKind::kIPv4) {
        return (url.ipv4 & Ipv4Mask(range.prefix)) == range.address.ipv4;
    }
    for (size_t piece = 0; piece < range.address.ipv6.size(); ++piece) {
        if ((url.ipv6[piece] & Ipv6PieceMask(range.prefix, piece)) != range.address.ipv6[piece]) {
            return false;
        }
    }
    return true;
}

// `range` from its first address: a host may list a range by any address in it.
Range Aligned(Range range) {
    if (range.address.hostKind == WebUrl::HostKind::kIPv4) {
        range.address.ipv4 &= Ipv4Mask(range.prefix);
    } else {
        for (size_t piece = 0; piece < range.address.ipv6.size(); ++piece) {
            range.address.ipv6[piece] &= Ipv6PieceMask(range.prefix, piece);
        }
    }
    return range;
}

// The blocks no page request may reach, written as the host's list is so that
// one reader and one match serve both (no two blocks overlap).
constexpr std::pair<const char*, const char*> kLocalBlocks[] = {
    {"127.0.0.0/8", "loopback address"},
    {"::1", "loopback address"},
    {"10.0.0.0/8", "private address"},
    {"172.16.0.0/12", "private address"},
    {"192.168.0.0/16", "private address"},
    {"fc00::/7", "private address"},
    {"169.254.0.0/16", "link-local address"},
    {"fe80::/10", "link-local address"},
    {"fec0::/10", "link-local address"},
    {"0.0.0.0/8", "special-purpose address"},
    {"100.64.0.0/10", "special-purpose address"},
    {"192.0.0.0/24", "special-purpose address"},
    {"198.18.0.0/15", "special-purpose address"},
    {"224.0.0.0/4", "special-purpose address"},
    {"240.0.0.0/4", "special-purpose address"},
    {"::", "special-purpose address"},
    {"ff00::/8", "special-purpose address"},
    {"100::/64", "special-purpose address"},
    {"64:ff9b:1::/48", "special-purpose address"},
    {"2001::/32", "special-purpose address"},
};

// IPv6 blocks whose addresses carry an IPv4 address, which the IPv4 rules then
// judge, and the piece it starts at: mapped, compatible, NAT64 and 6to4.
constexpr std::pair<const char*, int> kIpv4Carriers[] = {
    {"::ffff:0:0/96", 6}, {"::/96", 6}, {"64:ff9b::/96", 6}, {"2002::/16", 1}};

template <typename Value, size_t N>
std::vector<std::pair<Range, Value>> ReadTable(const std::pair<const char*, Value> (&table)[N]) {
    std::vector<std::pair<Range, Value>> ranges;
    for (const auto& [text, value] : table) {
        if (std::optional<Range> range = ReadRange(text)) ranges.emplace_back(*range, value);
    }
    return ranges;
}

// Read once; never destroyed, since requests may run while the library unloads.
const std::vector<std::pair<Range, const char*>>& LocalBlocks() {
    static const auto* blocks =
        new std::vector<std::pair<Range, const char*>>(ReadTable(kLocalBlocks));
    return *blocks;
}

const std::vector<std::pair<Range, int>>& Ipv4Carriers() {
    static const auto* carriers = new std::vector<std::pair<Range, int>>(ReadTable(kIpv4Carriers));
    return *carriers;
}

const char* BlockRefusal(const WebUrl& url) {
    for (const auto& [range, reason] : LocalBlocks()) {
        if (InRange(url, range)) return reason;
    }
    return nullptr;
}

const char* AddressRefusal(const WebUrl& url) {
    if (const char* reason = BlockRefusal(url)) return reason;
    for (const auto& [range, piece] : Ipv4Carriers()) {
        if (!InRange(url, range)) continue;
        WebUrl carried;
        carried.hostKind = WebUrl::HostKind::kIPv4;
        carried.ipv4 = (uint32_t{url.ipv6[piece]} << 16) | url.ipv6[piece + 1];
        return BlockRefusal(carried);
    }
    return nullptr;
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
        case WebUrl::HostKind::kIPv6:
            return AddressRefusal(url);
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
        if (range && InRange(url, Aligned(*range))) return true;
    }
    return false;
}

}  // namespace moxh5::detail
