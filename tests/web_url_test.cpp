// Tests of the URL reading behind the shell and network rules: what the
// parser takes and the form it hands on, what it refuses and why, which hosts
// count as local, and which file names the shell acts on. (tests/url/ holds
// the differential test against a browser's parser.)
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "StrictUrl.h"
#include "WebUrl.h"
#include "core/policy/local_hosts.h"
#include "core/policy/page_policy.h"
#include "core/policy/shell_file_names.h"
#include "moxh5/utf8.h"
#include "tests/fakes/bridge_fixture.h"
#include "tests/fakes/capture_sinks.h"

namespace moxh5::test {
namespace {

std::string Parsed(const std::string& text) {
    const char* refusal = nullptr;
    const std::optional<WebUrl> url = ParseWebUrl(text, &refusal);
    return url ? url->href : std::string("refused: ") + refusal;
}

// Test the serialized form of links browsers read in many spellings: one host,
// one port, one path, and nothing in the text a command line could split at.
// (The differential test holds many more http(s) spellings to a browser's reading.)
TEST(WebUrl, HandsOnTheSerializedForm) {
    const std::pair<const char*, const char*> kLinks[] = {
        {"HTTPS://Shop.Example:443/a/./b/../c?q=1#f", "https://shop.example/a/c?q=1#f"},
        {"http://shop.example:0080", "http://shop.example/"},
        {"http://shop.example:/x", "http://shop.example/x"},
        {"https://shop.example\\a\\..\\b", "https://shop.example/b"},
        {"https://good.example\\@evil.example/", "https://good.example/@evil.example/"},
        {"https://@shop.example/", "https://shop.example/"},
        {"  https://shop.example/x  ", "https://shop.example/x"},
        {"https://shop.example/a b?c d#e f", "https://shop.example/a%20b?c%20d#e%20f"},
        {"https://shop.example/\"|^`{}[]<>?\"'|[]",
         "https://shop.example/%22%7C%5E%60%7B%7D%5B%5D%3C%3E?%22%27%7C%5B%5D"},
        {"https://shop.example/%2e%2E/x/.%2e/y", "https://shop.example/y"},
        {"https://shop.example/?a\\b", "https://shop.example/?a%5Cb"},
        {"https://shop.example/\xE8\xAE\xA2?\xE5\x8D\x95",
         "https://shop.example/%E8%AE%A2?%E5%8D%95"},
        {"https://\xE4\xBE\x8B\xE5\xAD\x90.\xE6\xB5\x8B\xE8\xAF\x95/",
         "https://xn--fsqu00a.xn--0zwm56d/"},
        {"https://Caf\xC3\x89.example/", "https://xn--caf-dma.example/"},
        {"https://XN--CAF-DMA.example/", "https://xn--caf-dma.example/"},
        {"https://\xEF\xBD\x85\xEF\xBD\x98.com\xE3\x80\x82"
         "cn/",
         "https://ex.com.cn/"},
        {"http://0177.0.0.01./", "http://127.0.0.1/"},
        {"http://%31%32%37.0.0.1/", "http://127.0.0.1/"},
        {"http://[::FFFF:127.0.0.1]:8080/", "http://[::ffff:7f00:1]:8080/"},
        {"ws://chat.example:80/s", "ws://chat.example/s"},
        {"wss://chat.example:444/s", "wss://chat.example:444/s"},
        {"ftp://files.example:21/a", "ftp://files.example/a"},
        {"file://server/share/a.txt", "file://server/share/a.txt"},
    };
    for (const auto& [text, href] : kLinks) EXPECT_EQ(Parsed(text), href) << text;
}

// Test the refusals: each trick gets its reason, whatever a browser would make of it.
TEST(WebUrl, RefusesWhatCouldMisleadTheNextReader) {
    const std::pair<const char*, const char*> kLinks[] = {
        {"https://user:pw@shop.example/", "credentials in the URL"},
        {"ftp:a:b@evil.example/", "no \"//\" and host after the scheme"},
        {"ftp://a:b@evil.example/", "credentials in the URL"},
        {"https:shop.example/", "no \"//\" and host after the scheme"},
        {"https:/shop.example/", "no \"//\" and host after the scheme"},
        {"https:\\\\shop.example\\", "no \"//\" and host after the scheme"},
        {"https:///shop.example/", "no \"//\" and host after the scheme"},
        {"https://", "no host"},
        {"https://:80/", "no host"},
        {"https://shop.example:65536/", "malformed port"},
        {"https://shop.example:8o/", "malformed port"},
        {"https://shop.example/\ta", "control character"},
        {"https://shop.example/\x7F", "control character"},
        {"https://shop.example/\xC2\x85", "invisible or space character"},
        {"https://shop.example/\xFF", "malformed UTF-8"},
        {"https://sh\xD0\xBEp.example/", "host name outside the supported characters"},
        {"https://exa%E2%80%8Bmple.com/", "host name outside the supported characters"},
        {"https://xn--shp-ied.example/", "malformed Punycode label"},
        {"https://xn--/", "malformed Punycode label"},
        {"https://a\"b.example/", "character not allowed in a host name"},
        {"https://a%2Fb.example/", "character not allowed in a host name"},
        {"https://1.2.3.4.5/", "malformed IPv4 address"},
        {"https://shop.123/", "malformed IPv4 address"},
        {"https://[::1/", "malformed IP literal"},
        {"https://[::1.2.3.256]/", "malformed IP literal"},
        {"https://[fe80::1%25eth0]/", "malformed IP literal"},
        {"file:///C:/Windows/win.ini", "no \"//\" and host after the scheme"},
        {"file://localhost/etc/passwd", "file link without a host"},
        {"file://C:/Windows/win.ini", "file link without a host"},
        {"file://server/C:/x", "file link with a drive letter"},
        {"javascript:alert(1)", "scheme without an authority"},
        {"//shop.example/", "no scheme"},
    };
    for (const auto& [text, reason] : kLinks) {
        EXPECT_EQ(Parsed(text), std::string("refused: ") + reason) << text;
    }
    EXPECT_EQ(Parsed("https://" + std::string(250, 'a') + ".com/"), "refused: host name too long");
}

bool Strict(const std::string& text) { return ParseStrictUrl(text).has_value(); }

bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool IsLetterOrDigit(char c) { return IsLetter(c) || (c >= '0' && c <= '9'); }
bool Among(char c, std::string_view set) { return set.find(c) != std::string_view::npos; }

// Test every ASCII character in each part of an otherwise good link against the strict rule:
// a scheme of a letter, then letters, digits, "+", "-", "." up to the colon; a host of
// letters, digits, "-", ".", "_" until "/", "?" or "#"; elsewhere the unreserved and reserved
// characters but the brackets, and "%" only before two hex digits.
TEST(StrictUrl, EveryAsciiCharacterAsTheRuleSaysInEachPart) {
    for (int code = 0; code < 128; ++code) {
        const char c = static_cast<char>(code);
        const std::string one(1, c);
        EXPECT_EQ(Strict(one + "b:x"), IsLetter(c)) << code;
        EXPECT_EQ(Strict("a" + one + "b:x"), IsLetterOrDigit(c) || Among(c, "+-.:")) << code;
        EXPECT_EQ(Strict("x-app://h" + one + "h/p"), IsLetterOrDigit(c) || Among(c, "-._/?#"))
            << code;
        EXPECT_EQ(Strict("x-app:a" + one + "b"),
                  IsLetterOrDigit(c) || Among(c, "-._~:/?#@!$&'()*+,;="))
            << code;
    }
    for (const char* escape : {"%41", "%aF", "%00"}) EXPECT_TRUE(Strict(std::string("x:") + escape));
    for (const char* escape : {"%4", "%4g", "%g4", "%"}) EXPECT_FALSE(Strict(std::string("x:") + escape));
}

std::string Utf8(uint32_t code) {
    std::string out;
    utf8::Append(out, code);
    return out;
}

// Test non-ASCII text at both edges of every range of invisible and space-like code points,
// which no link may hold, and UTF-8 that is malformed, overlong, a surrogate or past U+10FFFF.
TEST(StrictUrl, HiddenCodePointsAndMalformedUtf8AreRefusedAndTheirNeighboursTaken) {
    const std::pair<uint32_t, uint32_t> hidden[] = {
        {0x80, 0xA0},     {0xAD, 0xAD},     {0x61C, 0x61C},   {0x1680, 0x1680}, {0x180E, 0x180E},
        {0x2000, 0x200F}, {0x2028, 0x202F}, {0x205F, 0x206F}, {0x3000, 0x3000}, {0xFEFF, 0xFEFF},
        {0xFFF9, 0xFFFB}, {0xE0000, 0xE007F}};
    const auto isHidden = [&](uint32_t code) {
        for (const auto& [low, high] : hidden) {
            if (code >= low && code <= high) return true;
        }
        return false;
    };
    for (const auto& [low, high] : hidden) {
        for (const uint32_t code : {low - 1, low, high, high + 1}) {
            if (code < 0x80) continue;
            EXPECT_EQ(Strict("x-app:a" + Utf8(code)), !isHidden(code)) << std::hex << code;
        }
    }
    EXPECT_TRUE(Strict("x-app:" + Utf8(0x10FFFF)));
    for (const char* bytes : {"\x80", "\xBF", "\xC0\x80", "\xC1\xBF", "\xE0\x80\x80", "\xE0\x9F\xBF",
                              "\xED\xA0\x80", "\xED\xBF\xBF", "\xF0\x80\x80\x80", "\xF0\x8F\xBF\xBF",
                              "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xF8\x88\x80\x80\x80",
                              "\xE4\xB8", "\xC3", "\xC3\x28", "\xE4\x28\xAD", "\xF0\x9F\x98\x28"}) {
        const char* why = nullptr;
        EXPECT_FALSE(ParseStrictUrl(std::string("x-app:a") + bytes, &why)) << bytes;
        EXPECT_STREQ(why, "malformed UTF-8") << bytes;
        EXPECT_FALSE(Strict(std::string("x-app:a") + bytes + "z")) << bytes;
    }
}

// Test the authority's ports, IP literals and credentials.
TEST(StrictUrl, PortsLiteralsAndCredentials) {
    const std::pair<const char*, bool> cases[] = {
        {"x-app://h:1/", true},        {"x-app://h:0", true},          {"x-app://h:65535", true},
        {"x-app://h:00080", true},     {"x-app://h:65536", false},     {"x-app://h:000080", false},
        {"x-app://h:", false},         {"x-app://h:8a", false},        {"x-app://:80/", false},
        {"x-app://", true},            {"x-app:///p", true},           {"x-app://[::1]/", true},
        {"x-app://[::1]:8/", true},    {"x-app://[1:2::3.4]", true},   {"x-app://[1:2]/", false},
        {"x-app://[::g]/", false},     {"x-app://[::1]x/", false},     {"x-app://[::1]:/", false},
        {"x-app://[::1/", false},      {"x-app://u@h/", false},        {"x-app:u@h", true},
        {"x-app:a#b#c", false},        {"x-app:a?b[c]", false},
    };
    for (const auto& [text, taken] : cases) EXPECT_EQ(Strict(text), taken) << text;
}

// Test the parts a link is split into: scheme and host lower-cased, the rest as written.
TEST(StrictUrl, PartsAreSplitWithSchemeAndHostLowerCased) {
    using Parts = std::array<std::string, 8>;
    const Parts cases[] = {
        {"AZaz+.-://AZ.az-09:8/P?Q#F", "azaz+.-", "//", "az.az-09", "8", "/P", "Q", "F"},
        {"x-app://[::1]:8?#", "x-app", "//", "[::1]", "8", "", "", ""},
        {"Mailto:AZ@h?x", "mailto", "", "", "", "AZ@h", "x", ""},
    };
    for (const Parts& parts : cases) {
        const auto url = ParseStrictUrl(parts[0]);
        ASSERT_TRUE(url) << parts[0];
        EXPECT_EQ((Parts{parts[0], url->scheme, url->hasAuthority ? "//" : "", url->host, url->port,
                         url->path, url->query, url->fragment}),
                  parts);
    }
}

// Test the web links a page may hand on when they name no host: the network rule refuses them
// under the safe policy, and under the unrestricted one the browser link keeps the earlier rule
// (http or https in any case, "://" and at least one more character).
TEST(PagePolicyUrls, LinksWithoutAHostAreRefused) {
    ScopedLogCapture log;
    const detail::CallSite site = MOX_CALL_SITE("test");
    {
        ScopedPagePolicy safe;
        for (const char* url : {"http://", "https://", "https://:443/", "http://?q", "http://#f",
                                "https:///a", "http:/a", "http:a", "https://@/"}) {
            EXPECT_FALSE(detail::NetworkUrl(url, site)) << url;
            EXPECT_FALSE(detail::WebShellTarget(url, site)) << url;
        }
        EXPECT_EQ(detail::NetworkUrl("HTTPS://Shop.Example/a b", site),
                  std::optional<std::string>("https://shop.example/a%20b"));
    }
    const std::pair<const char*, bool> legacy[] = {
        {"http://", false}, {"http://x", true},   {"HTTPS://a", true},  {"hTtP://a b", true},
        {"https:/", false}, {"https:/x", false},  {"ftp://x", false},   {"://x", false},
        {"httpx://a", false}, {"xhttp://a", false}, {"https:", false},
    };
    for (const auto& [url, taken] : legacy) {
        EXPECT_EQ(detail::WebShellTarget(url, site).has_value(), taken) << url;
    }
}

// Test which hosts count as the merchant's own machine or network (the numeric spellings that
// read as these addresses are the serialized-form table's).
TEST(LocalHosts, RefusesLocalAddressesAndNamesInAnySpelling) {
    const std::pair<const char*, const char*> kHosts[] = {
        {"127.255.255.254.", "loopback address"},
        {"[::1]", "loopback address"},
        {"[::ffff:127.0.0.1]", "loopback address"},
        {"[::127.0.0.1]", "loopback address"},
        {"[64:ff9b::10.0.0.1]", "private address"},
        {"[2002:c0a8:101::1]", "private address"},
        {"[::]", "special-purpose address"},
        {"localhost", "local host name"},
        {"LocalHost.", "local host name"},
        {"api.localhost", "local host name"},
        {"printer.local", "local host name"},
        {"db.internal", "local host name"},
        {"nas.home.arpa", "local host name"},
        {"intranet", "host name without a dot"},
        {"intranet.", "host name without a dot"},
        {"[2606:4700::1111]", nullptr},
        {"[::ffff:8.8.8.8]", nullptr},
        {"shop.example", nullptr},
        {"localhost.shop.example", nullptr},
        {"local.example", nullptr},
    };
    for (const auto& [host, reason] : kHosts) {
        const std::optional<WebUrl> url = ParseWebUrl(std::string("http://") + host + "/");
        ASSERT_TRUE(url) << host;
        const char* refusal = detail::LocalHostRefusal(*url);
        EXPECT_EQ(refusal ? refusal : "", std::string(reason ? reason : "")) << host;
    }
}

// An IPv4 address, or the upper half of an IPv6 one whose lower half is all ones or zeros.
WebUrl AddressUrl(int bits, uint64_t address, bool ones) {
    WebUrl url;
    url.hostKind = bits == 32 ? WebUrl::HostKind::kIPv4 : WebUrl::HostKind::kIPv6;
    url.ipv4 = static_cast<uint32_t>(address);
    for (int i = 0; i < 4; ++i) {
        url.ipv6[i] = static_cast<uint16_t>(address >> (48 - 16 * i));
        url.ipv6[4 + i] = ones ? 0xFFFF : 0;
    }
    return url;
}

// Test each address block at its edges: its first and last addresses carry its reason, and the
// addresses just outside it carry the reason of whichever block holds them, or none. (The IPv6
// blocks that carry no IPv4 address are all /64 or wider, so their upper halves decide.)
TEST(LocalHosts, EachAddressBlockEndsAtItsEdges) {
    const char* const kSpecial = "special-purpose address";
    const struct {
        int bits;
        uint64_t network;
        int prefix;
        const char* reason;
    } kBlocks[] = {
        {32, 0x7F000000, 8, "loopback address"},
        {32, 0x0A000000, 8, "private address"},
        {32, 0xAC100000, 12, "private address"},
        {32, 0xC0A80000, 16, "private address"},
        {32, 0xA9FE0000, 16, "link-local address"},
        {32, 0x00000000, 8, kSpecial},
        {32, 0x64400000, 10, kSpecial},
        {32, 0xC0000000, 24, kSpecial},
        {32, 0xC6120000, 15, kSpecial},
        {32, 0xE0000000, 3, kSpecial},  // multicast and reserved: 224/4 and 240/4
        {64, 0xFC00'0000'0000'0000, 7, "private address"},
        {64, 0xFE80'0000'0000'0000, 10, "link-local address"},
        {64, 0xFEC0'0000'0000'0000, 10, "link-local address"},
        {64, 0xFF00'0000'0000'0000, 8, kSpecial},
        {64, 0x0100'0000'0000'0000, 64, kSpecial},
        {64, 0x0064'FF9B'0001'0000, 48, kSpecial},
        {64, 0x2001'0000'0000'0000, 32, kSpecial},
    };
    const auto expected = [&](int bits, uint64_t address) -> std::string {
        for (const auto& block : kBlocks) {
            if (block.bits == bits && (address ^ block.network) >> (bits - block.prefix) == 0) {
                return block.reason;
            }
        }
        return "";
    };
    for (const auto& block : kBlocks) {
        const uint64_t all = ~uint64_t{0} >> (64 - block.bits);
        const uint64_t last = block.network | (all >> (block.prefix - 1) >> 1);
        const std::pair<uint64_t, bool> edges[] = {{(block.network - 1) & all, true},
                                                   {block.network, false},
                                                   {last, true},
                                                   {(last + 1) & all, false}};
        for (const auto& [address, ones] : edges) {
            if (address == 0 && last == all) continue;  // nothing lies past the last address
            const char* refusal = detail::LocalHostRefusal(AddressUrl(block.bits, address, ones));
            EXPECT_EQ(refusal ? refusal : "", expected(block.bits, address)) << std::hex << address;
        }
    }
}

// Test the host's list of local hosts pages may reach: names, wildcards, addresses, ranges.
TEST(LocalHosts, ListedHostsAreTheOnesNamed) {
    const std::vector<std::string> kList = {
        "printer.corp", "*.lab.corp", "127.0.0.1",  "10.8.7.1/16",  // any address of a range
        "fd00::1/8",    "[::1]",      "nonsense/x", "10.1.0.0/",   "10.2.0.0/0008", ""};
    const std::pair<const char*, bool> kHosts[] = {
        {"printer.corp", true}, {"PRINTER.corp.", true}, {"a.printer.corp", false},
        {"x.lab.corp", true},   {"x.y.lab.corp", true},  {"lab.corp", false},
        {"127.0.0.1", true},    {"0x7f.0.0.1", true},    {"127.0.0.2", false},
        {"10.8.200.1", true},   {"10.9.0.1", false},     {"[fd12::1]", true},
        {"[fe80::1]", false},   {"[::1]", true},         {"[::2]", false},
    };
    for (const auto& [host, listed] : kHosts) {
        const std::optional<WebUrl> url = ParseWebUrl(std::string("http://") + host + "/");
        ASSERT_TRUE(url) << host;
        EXPECT_EQ(detail::HostListed(*url, kList), listed) << host;
    }
}

// Test the names a download or save may not write, as Windows would open them.
TEST(ShellFileNames, RefusesNamesTheShellActsOnInEverySpelling) {
    const std::vector<std::string> kAllowed = {".URL", "Desktop.ini"};
    const struct {
        const char* path;
        bool refused;           // by default
        bool refusedIfAllowed;  // with kAllowed
    } kNames[] = {
        {"C:\\d\\desktop.ini", true, false},
        {"/d/DESKTOP.INI", true, false},
        {"C:\\d\\desktop.ini . .", true, false},
        {"autorun.inf", true, true},
        {"C:\\d\\x.lnk", true, true},
        {"x.LnK...", true, true},
        {"x.url", true, false},
        {"x.scf", true, true},
        {"x.library-ms", true, true},
        {"x.searchConnector-ms", true, true},
        {"x.search-ms", true, true},
        {"x.hta", true, true},
        {"x.pif", true, true},
        {"x.website", true, true},
        {"x.settingcontent-ms", true, true},
        {"report.pdf.{20D04FE0-3AEA-1069-A2D8-08002B30309D}", true, true},
        {"x.txt:evil.lnk", true, true},
        {"desktop.ini:stream", true, false},
        {"C:x.lnk", true, true},
        {"x.lnk/ok.txt", false, false},
        {"C:\\d\\desktop.ini.txt", false, false},
        {"C:\\d\\x.url.pdf", false, false},
        {"C:\\d\\lnk", false, false},
        {"report.xlsx", false, false},
        {"", false, false},
    };
    for (const auto& n : kNames) {
        EXPECT_EQ(detail::ShellActiveNameRefusal(n.path, {}) != nullptr, n.refused) << n.path;
        EXPECT_EQ(detail::ShellActiveNameRefusal(n.path, kAllowed) != nullptr, n.refusedIfAllowed)
            << n.path;
    }
}

}  // namespace
}  // namespace moxh5::test
