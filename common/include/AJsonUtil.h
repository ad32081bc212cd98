// The JSON-to-record binder: fills a plain record from JSON text by field
// name.
//
// A record is declared once, by its field list, at global namespace scope
// (after the record's definition and before the first binding):
//
//   struct Button { std::string text; std::string action; };
//   struct Dialog {
//       std::string title = "untitled";
//       int32_t width = 400;
//       Button ok;
//       std::vector<Button> more;
//   };
//   MOX_AJSON_FIELDS(Button, text, action)
//   MOX_AJSON_FIELDS(Dialog, title, width, ok, more)
//
//   Dialog dialog;
//   if (!AJsonUtil::JsonToObject(dialog, text, "showDialog")) return false;
//
// Field types: std::string (UTF-8; "\u" escapes are decoded), integers of any
// width (range checked), bool, declared records, and std::vector of any of
// these (vectors of vectors included).
//
// Rules:
// - The text holds exactly one JSON value of the target's type; for a record,
//   an object.
// - Members are matched to fields by exact name; members the record does not
//   name are skipped, but must still be well-formed JSON.
// - A field whose member is absent or null keeps the value it had, so a record's
//   own defaults stand for keys the page leaves out. A present array replaces
//   the vector's contents.
// - An integer reads from a JSON number without exponent, whose fraction, if
//   any, is all zeros (3 and 3.0 read as 3; 3.5 and 3e0 do not).
// - A member of the wrong type fails the binding just as malformed text does,
//   with the reader's message ("not a valid string!", "not a valid number!",
//   "not a valid bool!", "read object must start with {!", "read array must
//   start with [!", "object key must be string", "invalid json document!")
//   and the position of the fault.
// - On failure the target is left exactly as it was. Nothing throws out.
//
// Threads: no shared state; bind on any thread.
#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

namespace moxh5::ajson {

// Why a binding failed.
struct Error {
    // the reader's message, e.g. "not a valid number!"
    std::string message;
    // "error at line :<l> col :<c> msg:<text at the fault>"
    std::string position;
};

// A forward-only reader over JSON text that remembers its first failure.
// Lines and columns count from 1; columns count bytes.
class Reader {
public:
    explicit Reader(std::string_view text) : m_text(text) {}

    // Records `message` at the current position (the first failure wins) and
    // returns false, so that callers can write `return r.Fail(...)`.
    bool Fail(const char* message);
    bool Failed() const { return m_message != nullptr; }
    Error TakeError() const;

    // Consumes the literal null, if it is next.
    bool AcceptNull();
    // Consumes '{' (else fails "read object must start with {!"); true with
    // `empty` set when '}' follows at once.
    bool BeginObject(bool& empty);
    // A member's key and the ':' after it, the key seen in place when it has
    // no escape (decoded into `decoded` otherwise): no string is built for it.
    // `key` is valid while the text and `decoded` are.
    bool ReadKey(std::string_view& key, std::string& decoded);
    // After a member: ',' sets `more`, '}' clears it, anything else fails.
    bool NextMember(bool& more);
    // The same framing for arrays.
    bool BeginArray(bool& empty);
    bool NextElement(bool& more);

    bool ReadString(std::string& out);
    bool ReadBool(bool& out);
    // An integer in [-maxNegative, maxPositive], as its sign and magnitude
    // (zero is never negative).
    bool ReadInteger(uint64_t maxPositive, uint64_t maxNegative, bool& negative,
                     uint64_t& magnitude);
    // Checks and passes over one value of any type.
    bool SkipValue();
    // Only white space is left.
    bool AtEnd();

private:
    // after white space; '\0' at the end
    char Peek();
    bool ScanString(std::string* out, const char* notAString);
    bool ScanNumber(bool& integral, bool& negative, uint64_t& magnitude, bool& overflow);
    bool ScanLiteral(const char* word);
    bool SkipValueAt(int depth);

    std::string_view m_text;
    size_t m_pos = 0;
    const char* m_message = nullptr;
    size_t m_errorAt = 0;
};

// The field list of a record, given by MOX_AJSON_FIELDS. Records without one
// cannot be bound.
template <typename Record>
struct Fields {};

template <typename Record, typename Member>
struct Field {
    const char* name;
    Member Record::*member;
};

template <typename Record, typename Member>
constexpr Field<Record, Member> MakeField(const char* name, Member Record::*member) {
    return {name, member};
}

template <typename T, typename = void>
struct IsRecord : std::false_type {};
template <typename T>
struct IsRecord<T, std::void_t<decltype(Fields<T>::list())>> : std::true_type {};

bool ReadValue(Reader& r, std::string& out);
bool ReadValue(Reader& r, bool& out);

template <typename T, std::enable_if_t<std::is_integral_v<T> && !std::is_same_v<T, bool>, int> = 0>
bool ReadValue(Reader& r, T& out) {
    using Limits = std::numeric_limits<T>;
    // -(min + 1) + 1 is |min| without overflowing T.
    constexpr uint64_t maxNegative =
        std::is_signed_v<T> ? static_cast<uint64_t>(-(Limits::min() + 1)) + 1 : 0;
    bool negative = false;
    uint64_t magnitude = 0;
    if (!r.ReadInteger(static_cast<uint64_t>(Limits::max()), maxNegative, negative, magnitude)) {
        return false;
    }
    // For a negative value the magnitude is at least 1 and at most |min|.
    out = negative ? static_cast<T>(-static_cast<T>(magnitude - 1) - 1) : static_cast<T>(magnitude);
    return true;
}

template <typename T>
bool ReadMember(Reader& r, T& out);

template <typename T>
bool ReadValue(Reader& r, std::vector<T>& out) {
    bool empty = false;
    if (!r.BeginArray(empty)) return false;
    out.clear();
    if (empty) return true;
    bool more = true;
    while (more) {
        T element{};  // a local first: std::vector<bool> has no element references
        if (!ReadMember(r, element)) return false;
        out.push_back(std::move(element));
        if (!r.NextElement(more)) return false;
    }
    return true;
}

template <typename Record, std::enable_if_t<IsRecord<Record>::value, int> = 0>
bool ReadValue(Reader& r, Record& out) {
    bool empty = false;
    if (!r.BeginObject(empty)) return false;
    if (empty) return true;
    std::string decoded;  // a key with escapes, which is rare
    std::string_view key;
    bool more = true;
    while (more) {
        if (!r.ReadKey(key, decoded)) return false;
        bool named = false;
        bool read = true;
        std::apply(
            [&](const auto&... field) {
                ((!named && key == field.name
                      ? (named = true, read = ReadMember(r, out.*field.member))
                      : false),
                 ...);
            },
            Fields<Record>::list());
        if (!named) read = r.SkipValue();
        if (!read || !r.NextMember(more)) return false;
    }
    return true;
}

// A member's or element's value; null keeps what `out` holds.
template <typename T>
bool ReadMember(Reader& r, T& out) {
    return r.AcceptNull() || ReadValue(r, out);
}

}  // namespace moxh5::ajson

class AJsonUtil {
public:
    // Fills `out` from `text`. On failure leaves `out` as it was and describes
    // the fault in `error`.
    template <typename T>
    static bool Bind(std::string_view text, T& out, moxh5::ajson::Error& error) noexcept;

    // Bind, logging a failure (priority 300) as "AJson to object failed,
    // caller: <caller>, error: <message>, <position>".
    template <typename T>
    static bool JsonToObject(T& out, std::string_view text, const char* caller) noexcept {
        moxh5::ajson::Error error;
        if (Bind(text, out, error)) return true;
        LogFailure(caller, error);
        return false;
    }

private:
    static void LogFailure(const char* caller, const moxh5::ajson::Error& error) noexcept;
    static void SetOutOfMemory(moxh5::ajson::Error& error) noexcept;
};

template <typename T>
bool AJsonUtil::Bind(std::string_view text, T& out, moxh5::ajson::Error& error) noexcept {
    try {
        // Bound into a copy, so that a failure half-way leaves `out` untouched.
        T staged(out);
        moxh5::ajson::Reader reader(text);
        if (moxh5::ajson::ReadValue(reader, staged) && reader.AtEnd()) {
            out = std::move(staged);
            return true;
        }
        error = reader.TakeError();
    } catch (...) {
        // Only allocation can throw here.
        SetOutOfMemory(error);
    }
    return false;
}

// Declares the field list of `Type` (a record at global namespace scope or
// named with its namespace), up to 16 fields.
#define MOX_AJSON_FIELDS(Type, ...)                                     \
    template <>                                                         \
    struct moxh5::ajson::Fields<Type> {                                 \
        static constexpr auto list() {                                  \
            return std::make_tuple(MOX_AJSON_EACH_(Type, __VA_ARGS__)); \
        }                                                               \
    };

// Implementation of MOX_AJSON_FIELDS: one MakeField per field name.
#define MOX_AJSON_FIELD_(Type, field) ::moxh5::ajson::MakeField(#field, &Type::field)
#define MOX_AJSON_EXPAND_(x) x
#define MOX_AJSON_CAT_(a, b) MOX_AJSON_CAT2_(a, b)
#define MOX_AJSON_CAT2_(a, b) a##b
#define MOX_AJSON_COUNT_(...) \
    MOX_AJSON_EXPAND_(        \
        MOX_AJSON_NTH_(__VA_ARGS__, 16, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0))
#define MOX_AJSON_NTH_(a1, a2, a3, a4, a5, a6, a7, a8, a9, a10, a11, a12, a13, a14, a15, a16, n, \
                       ...)                                                                      \
    n
#define MOX_AJSON_EACH_(Type, ...) \
    MOX_AJSON_EXPAND_(             \
        MOX_AJSON_CAT_(MOX_AJSON_EACH_, MOX_AJSON_COUNT_(__VA_ARGS__))(Type, __VA_ARGS__))
#define MOX_AJSON_EACH_1(T, f) MOX_AJSON_FIELD_(T, f)
#define MOX_AJSON_EACH_2(T, f, ...) \
    MOX_AJSON_FIELD_(T, f), MOX_AJSON_EXPAND_(MOX_AJSON_EACH_1(T, __VA_ARGS__))
#define MOX_AJSON_EACH_3(T, f, ...) \
    MOX_AJSON_FIELD_(T, f), MOX_AJSON_EXPAND_(MOX_AJSON_EACH_2(T, __VA_ARGS__))
#define MOX_AJSON_EACH_4(T, f, ...) \
    MOX_AJSON_FIELD_(T, f), MOX_AJSON_EXPAND_(MOX_AJSON_EACH_3(T, __VA_ARGS__))
#define MOX_AJSON_EACH_5(T, f, ...) \
    MOX_AJSON_FIELD_(T, f), MOX_AJSON_EXPAND_(MOX_AJSON_EACH_4(T, __VA_ARGS__))
#define MOX_AJSON_EACH_6(T, f, ...) \
    MOX_AJSON_FIELD_(T, f), MOX_AJSON_EXPAND_(MOX_AJSON_EACH_5(T, __VA_ARGS__))
#define MOX_AJSON_EACH_7(T, f, ...) \
    MOX_AJSON_FIELD_(T, f), MOX_AJSON_EXPAND_(MOX_AJSON_EACH_6(T, __VA_ARGS__))
#define MOX_AJSON_EACH_8(T, f, ...) \
    MOX_AJSON_FIELD_(T, f), MOX_AJSON_EXPAND_(MOX_AJSON_EACH_7(T, __VA_ARGS__))
#define MOX_AJSON_EACH_9(T, f, ...) \
    MOX_AJSON_FIELD_(T, f), MOX_AJSON_EXPAND_(MOX_AJSON_EACH_8(T, __VA_ARGS__))
#define MOX_AJSON_EACH_10(T, f, ...) \
    MOX_AJSON_FIELD_(T, f), MOX_AJSON_EXPAND_(MOX_AJSON_EACH_9(T, __VA_ARGS__))
#define MOX_AJSON_EACH_11(T, f, ...) \
    MOX_AJSON_FIELD_(T, f), MOX_AJSON_EXPAND_(MOX_AJSON_EACH_10(T, __VA_ARGS__))
#define MOX_AJSON_EACH_12(T, f, ...) \
    MOX_AJSON_FIELD_(T, f), MOX_AJSON_EXPAND_(MOX_AJSON_EACH_11(T, __VA_ARGS__))
#define MOX_AJSON_EACH_13(T, f, ...) \
    MOX_AJSON_FIELD_(T, f), MOX_AJSON_EXPAND_(MOX_AJSON_EACH_12(T, __VA_ARGS__))
#define MOX_AJSON_EACH_14(T, f, ...) \
    MOX_AJSON_FIELD_(T, f), MOX_AJSON_EXPAND_(MOX_AJSON_EACH_13(T, __VA_ARGS__))
#define MOX_AJSON_EACH_15(T, f, ...) \
    MOX_AJSON_FIELD_(T, f), MOX_AJSON_EXPAND_(MOX_AJSON_EACH_14(T, __VA_ARGS__))
#define MOX_AJSON_EACH_16(T, f, ...) \
    MOX_AJSON_FIELD_(T, f), MOX_AJSON_EXPAND_(MOX_AJSON_EACH_15(T, __VA_ARGS__))
