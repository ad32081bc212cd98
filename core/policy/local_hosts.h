// Which hosts a page's network request may not name: the merchant's own
// machine and network. The host's network code would otherwise fetch or post
// to services that trust the local network (a router's page, a printer, a
// cloud instance's metadata service, the client's own local servers) in the
// merchant's name.
//
// The check is on the URL as parsed (WebUrl.h), before the host resolves
// anything: every spelling of an address the URL parser reads ("0x7f.1",
// "2130706433", "0177.0.0.1", "127.0.0.1.", "[::ffff:127.0.0.1]") is
// compared as the address it is. A public name that resolves to a local
// address passes: what a name resolves to is the host's to check.
//
// Threads: any; no state.
#pragma once

#include <string>
#include <vector>

#include "WebUrl.h"

namespace moxh5::detail {

// Why `url`'s host is local (a static text for the log), or null when it is
// not:
//   - IPv4: 0.0.0.0/8, 10/8, 100.64/10, 127/8, 169.254/16, 172.16/12,
//     192.0.0/24, 192.168/16, 198.18/15, 224/4 and 240/4 (the broadcast
//     address included);
//   - IPv6: ::, ::1, fc00::/7, fe80::/10, fec0::/10, ff00::/8, 100::/64,
//     64:ff9b:1::/48, 2001::/32 (Teredo), and the IPv4 address inside
//     ::ffff:0:0/96, ::/96, 64:ff9b::/96 and 2002::/16 by the IPv4 rules;
//   - names: "localhost" and every name below it, names without a dot, and
//     names below "local", "localdomain", "internal" and "home.arpa" (a
//     trailing dot aside).
const char* LocalHostRefusal(const WebUrl& url);

// Whether one of `entries` names `url`'s host: a name (without case, a
// trailing dot aside), "*.<name>" for every name below it, an address in
// any spelling the URL parser reads, or a range "<address>/<prefix length>".
bool HostListed(const WebUrl& url, const std::vector<std::string>& entries);

}  // namespace moxh5::detail
