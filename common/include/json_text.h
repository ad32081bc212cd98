// JSON text for the C interface: a strict reader and a compact writer for
// jsoncpp values, several times faster than jsoncpp's own on the small texts
// of a page call (the C interface reads one and writes one or two per call).
//
// Reading follows RFC 8259: one value, whitespace around it, nothing after;
// strings without raw control characters, escapes decoded to UTF-8 (a lone
// surrogate is refused); integers kept as Int64 or UInt64 when they fit,
// other numbers as double; a repeated member keeps its last value; nesting
// deeper than kMaxJsonDepth (128, common/include/payload_limits.h) is refused.
// Bytes of 0x80 and above pass as they are.
//
// Writing gives no spaces, members in the value's order (sorted by name),
// characters other than the quote, the backslash and control characters as
// they are (UTF-8), doubles as jsoncpp writes them; or, for StyledJson,
// jsoncpp's own indented text. Nothing in the library writes through
// jsoncpp's writer.
//
// Threads: no state.
#pragma once

#include <json/value.h>

#include <string>
#include <string_view>

#include "payload_limits.h"
#include "moxh5/records.h"

namespace moxh5::detail {

// Parses the whole of `text` into `value`; false (value unspecified) when it is
// not one JSON value.
bool ParseJson(std::string_view text, Json::Value& value);

// One call's record as a request text gives it (the C interface's
// request_json and page_json): {"mallcsid": string, "payload": any,
// "isWorker": bool, "webindex": 32-bit integer, "callbackid": string,
// "workerid": string}.
struct RequestRecord {
    mox_h5_module_data data;
    std::string workerid;    // data.workerid points here once the text named one
    // where data.payload's "method" and "params" are
    PayloadMembers members;
    std::string problem;     // why the text was refused, when a member was wrong
};

// Reads `text`, which must be one JSON object, straight into `call`: the
// strings into the record's strings, the payload into data.payload (nesting
// kMaxJsonDepth deep on its own, its method and params noted in `members`),
// in one pass. Absent and null members keep their defaults, a repeated member
// keeps its last value, members of other names must be well-formed and are
// skipped; so is the payload without `withPayload` (a page text). False when
// the text is not such an object; `problem` then says which member had the
// wrong type, or is empty when the text is not JSON.
//
// A payload read from a text of at most kMaxPayloadValues bytes keeps within
// every payload bound: the depth is the reader's own bound, and each value
// and each byte of decoded text takes at least one byte of the text.
bool ReadRequestText(std::string_view text, RequestRecord& call, bool withPayload = true);

// `value` as indented JSON text, the same bytes as jsoncpp's
// Json::writeString with a default StreamWriterBuilder (tab-indented, members
// sorted by name, non-ASCII text escaped): the text handlers hand to pages
// and the host where they did through jsoncpp's writer. Linear in the size of
// the value.
std::string StyledJson(const Json::Value& value);

// The envelope a page hears, {"success", "message", "data", ...}, as
// compact JSON text appended to `out`, written straight from `answer` (an
// object or null): its members, with "success" set to `success`, "message"
// ("success" or "failed") and "data" (null) added where the answer has none,
// all in name order. The same text as the envelope value written with
// CompactJson, without copying the answer.
void AppendEnvelope(bool success, const Json::Value& answer, std::string& out);

// `value` as compact JSON text.
std::string CompactJson(const Json::Value& value);
// The same, appended to `out`; and a string as a JSON string.
void AppendJson(const Json::Value& value, std::string& out);
void AppendJsonString(std::string_view text, std::string& out);

// `value` as compact JSON text for a log line, appended to `out`: credentials
// written as "[redacted]" (the value of every member named "cookie" in any
// case; in a "headers" array or object, an "Authorization:", "Cookie:" or
// "Proxy-Authorization:" line keeps its name, as "Cookie: [redacted]", and
// members of those names their key), and only the first `limit` bytes kept.
// Returns how many bytes were left out.
size_t AppendRedactedJson(const Json::Value& value, size_t limit, std::string& out);

}  // namespace moxh5::detail
