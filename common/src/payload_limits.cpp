#include "payload_limits.h"

#include <new>
#include <type_traits>

namespace moxh5::detail {
namespace {

// What the walk has counted so far.
class Tally {
public:
    // Counts one value of type `type` and the text it carries; false past a bound.
    bool Add(const Json::Value& value, Json::ValueType type) {
        const char* begin = nullptr;
        const char* end = nullptr;
        if (type == Json::stringValue && value.getString(&begin, &end)) {
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

}  // namespace

bool PayloadWithinLimits(const Json::Value& payload) noexcept {
    // One frame per open container: where its walk stands and how many
    // members are left (counting down is cheaper than comparing iterators).
    struct Frame {
        Json::ValueConstIterator at;
        Json::ArrayIndex left;
        bool named;  // an object's members, whose names count as text
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
        const Json::ValueType type = next->type();
        if (!tally.Add(*next, type)) return false;
        if (type == Json::arrayValue || type == Json::objectValue) {
            if (depth == kMaxJsonDepth) return false;
            if (const Json::ArrayIndex size = next->size()) {
                new (&slots[depth++].frame)
                    Frame{next->begin(), size, type == Json::objectValue};
            }
        }
        next = nullptr;
        while (depth > 0 && !next) {
            Frame& frame = slots[depth - 1].frame;
            if (frame.left == 0) {
                --depth;
                continue;
            }
            if (frame.named) {
                const char* nameEnd = nullptr;
                const char* name = frame.at.memberName(&nameEnd);
                if (!tally.AddText(name, nameEnd)) return false;
            }
            next = &*frame.at;
            ++frame.at;
            --frame.left;
        }
    }
    return true;
}

}  // namespace moxh5::detail
