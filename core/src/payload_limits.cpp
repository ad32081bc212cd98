#include "core/detail/payload_limits.h"

#include <new>
#include <type_traits>

namespace moxh5::detail {
namespace {

// What the walk has counted so far.
class Tally {
public:
    // Counts one value and the text it carries; false past a bound.
    bool Add(const Json::Value& value) {
        const char* begin = nullptr;
        const char* end = nullptr;
        if (value.type() == Json::stringValue && value.getString(&begin, &end)) {
            return AddText(begin, end) && AddValue();
        }
        return AddValue();
    }

    bool AddText(const char* begin, const char* end) {
        if (!begin || !end) return true;
        m_textBytes += static_cast<size_t>(end - begin);
        return m_textBytes <= kMaxPayloadTextBytes;
    }

private:
    bool AddValue() { return ++m_values <= kMaxPayloadValues; }

    size_t m_values = 0;
    size_t m_textBytes = 0;
};

bool IsContainer(const Json::Value& value) {
    return value.type() == Json::arrayValue || value.type() == Json::objectValue;
}

}  // namespace

bool PayloadWithinLimits(const Json::Value& payload) noexcept {
    // One frame per open container: where its walk stands.
    struct Frame {
        Json::ValueConstIterator at;
        Json::ValueConstIterator end;
    };
    static_assert(std::is_trivially_destructible_v<Frame>, "frames are never destroyed");
    // Frames are built only as containers open: building all of them up
    // front would cost more than walking a typical payload.
    union Slot {
        Slot() {}
        Frame frame;
    } slots[kMaxJsonDepth];
    int depth = 0;
    Tally tally;
    const Json::Value* next = &payload;
    while (next) {
        if (!tally.Add(*next)) return false;
        if (IsContainer(*next)) {
            if (depth == kMaxJsonDepth) return false;
            if (next->begin() != next->end()) {
                new (&slots[depth++].frame) Frame{next->begin(), next->end()};
            }
        }
        next = nullptr;
        while (depth > 0 && !next) {
            Frame& frame = slots[depth - 1].frame;
            if (frame.at == frame.end) {
                --depth;
                continue;
            }
            // Object members carry their names; array elements give none.
            const char* nameEnd = nullptr;
            const char* name = frame.at.memberName(&nameEnd);
            if (!tally.AddText(name, nameEnd)) return false;
            next = &*frame.at;
            ++frame.at;
        }
    }
    return true;
}

}  // namespace moxh5::detail
