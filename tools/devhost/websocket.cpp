#include "tools/devhost/websocket.h"

#include <array>

namespace moxh5::devhost {
namespace {

uint32_t Rotate(uint32_t value, int bits) { return (value << bits) | (value >> (32 - bits)); }

// SHA-1 (FIPS 180-4), as the handshake needs it; not used for anything secret.
std::array<uint8_t, 20> Sha1(const std::string& text) {
    uint32_t h[5] = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0};
    std::string data = text;
    const uint64_t bits = static_cast<uint64_t>(text.size()) * 8;
    data += static_cast<char>(0x80);
    while (data.size() % 64 != 56) data += '\0';
    for (int i = 7; i >= 0; --i) data += static_cast<char>((bits >> (i * 8)) & 0xFF);
    for (size_t block = 0; block < data.size(); block += 64) {
        uint32_t w[80];
        for (int i = 0; i < 16; ++i) {
            w[i] = 0;
            for (int j = 0; j < 4; ++j) w[i] = (w[i] << 8) | static_cast<uint8_t>(data[block + i * 4 + j]);
        }
        for (int i = 16; i < 80; ++i) w[i] = Rotate(w[i - 3] ^ w[i - 8] ^ w[i - 14] ^ w[i - 16], 1);
        uint32_t a = h[0], b = h[1], c = h[2], d = h[3], e = h[4];
        for (int i = 0; i < 80; ++i) {
            uint32_t f, k;
            if (i < 20) f = (b & c) | (~b & d), k = 0x5A827999;
            else if (i < 40) f = b ^ c ^ d, k = 0x6ED9EBA1;
            else if (i < 60) f = (b & c) | (b & d) | (c & d), k = 0x8F1BBCDC;
            else f = b ^ c ^ d, k = 0xCA62C1D6;
            const uint32_t t = Rotate(a, 5) + f + e + k + w[i];
            e = d, d = c, c = Rotate(b, 30), b = a, a = t;
        }
        h[0] += a, h[1] += b, h[2] += c, h[3] += d, h[4] += e;
    }
    std::array<uint8_t, 20> digest{};
    for (int i = 0; i < 20; ++i) digest[i] = static_cast<uint8_t>(h[i / 4] >> (24 - (i % 4) * 8));
    return digest;
}

std::string Base64(const uint8_t* bytes, size_t size) {
    static const char* const alphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    for (size_t i = 0; i < size; i += 3) {
        const uint32_t n = (bytes[i] << 16) | (i + 1 < size ? bytes[i + 1] << 8 : 0) |
                           (i + 2 < size ? bytes[i + 2] : 0);
        out += alphabet[(n >> 18) & 63];
        out += alphabet[(n >> 12) & 63];
        out += i + 1 < size ? alphabet[(n >> 6) & 63] : '=';
        out += i + 2 < size ? alphabet[n & 63] : '=';
    }
    return out;
}

}  // namespace

std::string WebSocketAccept(const std::string& key) {
    const auto digest = Sha1(key + "258EAFA5-E914-47DA-95CA-C5AB0DC85B11");
    return Base64(digest.data(), digest.size());
}

FrameStatus ParseClientFrame(const std::string& buffer, size_t maxPayload, Frame& frame,
                             size_t& used, std::string& problem) {
    const auto byte = [&](size_t i) { return static_cast<uint8_t>(buffer[i]); };
    if (buffer.size() < 2) return FrameStatus::NeedMore;
    const bool fin = (byte(0) & 0x80) != 0;
    const int opcode = byte(0) & 0x0F;
    if (byte(0) & 0x70) {
        problem = "reserved bits set";
        return FrameStatus::Bad;
    }
    if ((opcode > 2 && opcode < 8) || opcode > 10) {
        problem = "unknown opcode";
        return FrameStatus::Bad;
    }
    if (!(byte(1) & 0x80)) {
        problem = "a client frame must be masked";
        return FrameStatus::Bad;
    }
    uint64_t length = byte(1) & 0x7F;
    size_t at = 2;
    if (opcode >= 8 && (length > 125 || !fin)) {
        problem = "a control frame must be short and whole";
        return FrameStatus::Bad;
    }
    if (length >= 126) {
        const size_t bytes = length == 126 ? 2 : 8;
        if (buffer.size() < at + bytes) return FrameStatus::NeedMore;
        length = 0;
        for (size_t i = 0; i < bytes; ++i) length = (length << 8) | byte(at + i);
        at += bytes;
    }
    if (length > maxPayload) {
        problem = "frame too large";
        return FrameStatus::Bad;
    }
    if (buffer.size() < at + 4 + length) return FrameStatus::NeedMore;
    const size_t mask = at;
    at += 4;
    frame.fin = fin;
    frame.opcode = opcode;
    frame.payload.assign(buffer, at, static_cast<size_t>(length));
    for (size_t i = 0; i < frame.payload.size(); ++i) frame.payload[i] ^= buffer[mask + i % 4];
    used = at + static_cast<size_t>(length);
    return FrameStatus::Complete;
}

std::string EncodeFrame(int opcode, const std::string& payload) {
    std::string out;
    out += static_cast<char>(0x80 | (opcode & 0x0F));
    const uint64_t size = payload.size();
    if (size < 126) {
        out += static_cast<char>(size);
    } else if (size <= 0xFFFF) {
        out += static_cast<char>(126);
        out += static_cast<char>(size >> 8);
        out += static_cast<char>(size & 0xFF);
    } else {
        out += static_cast<char>(127);
        for (int i = 7; i >= 0; --i) out += static_cast<char>((size >> (i * 8)) & 0xFF);
    }
    return out + payload;
}

}  // namespace moxh5::devhost
