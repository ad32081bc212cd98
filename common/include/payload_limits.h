// Bounds on what a page may send, checked once where a call enters the
// library, before anything copies, writes out or dispatches the payload.
//
// jsoncpp copies, compares, writes and destroys values recursively, so a
// payload nested deep enough overflows the stack of whichever of those runs
// first; and every copy of a huge payload costs its size again. Past these
// bounds a call is refused as a whole.
#pragma once

#include <json/value.h>

#include <cstddef>

namespace moxh5::detail {

// Deepest nesting of arrays and objects: "[]" is 1 deep, {"params":{}} 2.
// The JSON reader of the C interface refuses deeper texts by the same bound.
inline constexpr int kMaxJsonDepth = 128;

// Most values in one payload, counting every container, member and element.
inline constexpr size_t kMaxPayloadValues = 1000000;

// Most bytes of text in one payload: strings and member names summed (64 MiB;
// pages send pictures as text through the clipboard methods).
inline constexpr size_t kMaxPayloadTextBytes = size_t{64} << 20;

// Whether `payload` keeps within the three bounds above. Walks the value once
// (recursing at most kMaxJsonDepth deep, allocating nothing) and stops at the
// first bound crossed.
bool PayloadWithinLimits(const Json::Value& payload) noexcept;

// A payload's "method" and "params" members, in place; null when absent (or
// the payload is not an object).
struct PayloadMembers {
    const Json::Value* method = nullptr;
    const Json::Value* params = nullptr;
};

// The same walk, which also notes where the payload's "method" and "params"
// are (it passes their names anyway), so that the dispatch needs no search
// for them. `members` is filled only when the payload is within the bounds.
bool PayloadWithinLimits(const Json::Value& payload, PayloadMembers& members) noexcept;

}  // namespace moxh5::detail
