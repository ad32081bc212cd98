// The WebSocket framing the dev host speaks with pages (RFC 6455, text and
// control frames only), kept free of sockets so that it can be checked on
// its own. Every byte comes from an untrusted page: a malformed frame is
// reported, never trusted.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace moxh5::devhost {

// The Sec-WebSocket-Accept value for a client's Sec-WebSocket-Key.
std::string WebSocketAccept(const std::string& key);

enum class FrameStatus { Complete, NeedMore, Bad };

struct Frame {
    bool fin = true;
    int opcode = 0;  // 1 text, 2 binary, 8 close, 9 ping, 10 pong (0 continuation)
    std::string payload;
};

// Reads one client frame from the front of `buffer`. Complete: `frame` is
// filled and `used` says how many bytes it took. NeedMore: the frame is not
// whole yet. Bad: `problem` says why (unmasked, reserved bits or opcodes, a
// control frame that is long or fragmented, a payload over `maxPayload`).
FrameStatus ParseClientFrame(const std::string& buffer, size_t maxPayload, Frame& frame,
                             size_t& used, std::string& problem);

// A server frame (never masked), final, with `payload`.
std::string EncodeFrame(int opcode, const std::string& payload);

}  // namespace moxh5::devhost
