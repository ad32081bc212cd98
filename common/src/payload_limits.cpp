#include "payload_limits.h"

#include <cstring>
#include <string_view>

#include "answer.h"

namespace moxh5::detail {
namespace {

// What the walk has counted so far.
class Tally {
public:
    bool AddValue() { return ++m_values <= kMaxPayloadValues; }

    bool AddText(const char* begin, const char* end) {
        if (!begin || !end) return true;
        m_textBytes += static_cast<size_t>(end - begin);
        return m_textBytes <= kMaxPayloadTextBytes;
    }

    // Counts one value of type `type`, and the text of a string.
    bool Add(const Json::Value& value, Json::ValueType type) {
        if (type == Json::stringValue) {
            const char* begin = nullptr;
            const char* end = nullptr;
            if (value.getString(&begin, &end) && !AddText(begin, end)) return false;
        }
        return AddValue();
    }

private:
    size_t m_values = 0;
    size_t m_textBytes = 0;
};

bool Named(const char* name, const char* end, std::string_view wanted) {
    return static_cast<size_t>(end - name) == wanted.size() &&
           std::memcmp(name, wanted.data(), wanted.size()) == 0;
}

// Walks the members of the container `value` (of type `type`), which sits
// `depth` containers deep, noting the members of the top level in `members`
// when given. Scalars are counted here; recursion, only into containers, ends
// at kMaxJsonDepth, which bounds the stack it takes.
bool WalkMembers(const Json::Value& value, Json::ValueType type, int depth, Tally& tally,
                 PayloadMembers* members) noexcept {
    if (depth == kMaxJsonDepth) return false;
    const bool named = type == Json::objectValue;
    // Counting the members down is cheaper than comparing iterators.
    Json::ArrayIndex left = value.size();
    if (left == 0) return true;
    for (Json::ValueConstIterator at = value.begin();; ++at) {
        const Json::Value& member = *at;
        if (named) {
            const char* nameEnd = nullptr;
            const char* name = at.memberName(&nameEnd);
            if (!tally.AddText(name, nameEnd)) return false;
            if (members && name) {
                if (Named(name, nameEnd, key::kMethod)) members->method = &member;
                if (Named(name, nameEnd, key::kParams)) members->params = &member;
            }
        }
        const Json::ValueType memberType = member.type();
        if (!tally.Add(member, memberType)) return false;
        if ((memberType == Json::arrayValue || memberType == Json::objectValue) &&
            !WalkMembers(member, memberType, depth + 1, tally, nullptr)) {
            return false;
        }
        if (--left == 0) return true;
    }
}

bool Walk(const Json::Value& payload, Tally& tally, PayloadMembers* members) noexcept {
    const Json::ValueType type = payload.type();
    if (!tally.Add(payload, type)) return false;
    return (type != Json::arrayValue && type != Json::objectValue) ||
           WalkMembers(payload, type, 0, tally, members);
}

}  // namespace

bool PayloadWithinLimits(const Json::Value& payload) noexcept {
    Tally tally;
    return Walk(payload, tally, nullptr);
}

bool PayloadWithinLimits(const Json::Value& payload, PayloadMembers& members) noexcept {
    Tally tally;
    PayloadMembers found;
    if (!Walk(payload, tally, &found)) return false;
    members = found;
    return true;
}

}  // namespace moxh5::detail
