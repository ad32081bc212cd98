#include "core/detail/pending_answers.h"

#include <array>
#include <atomic>
#include <functional>
#include <list>
#include <mutex>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "core/detail/no_throw.h"

namespace moxh5::detail {
namespace {

struct AnswerKey {
    bool isWorker = false;
    int32_t webindex = 0;
    std::string workerid;  // empty for render pages
    std::string callbackid;

    bool operator==(const AnswerKey& other) const {
        return isWorker == other.isWorker && webindex == other.webindex &&
               workerid == other.workerid && callbackid == other.callbackid;
    }
    bool OnPage(bool worker, int32_t index, const std::string& id) const {
        return isWorker == worker && webindex == index && (!worker || workerid == id);
    }
};

// Computed from the parts, so that a call can be looked up without a copy.
size_t HashOf(bool isWorker, int32_t webindex, std::string_view workerid,
              std::string_view callbackid) noexcept {
    const std::hash<std::string_view> text;
    size_t h = text(callbackid);
    h = h * 31 + (isWorker ? text(workerid) : 0);
    return h * 31 + static_cast<size_t>(webindex) * 2 + (isWorker ? 1 : 0);
}

struct AnswerKeyHash {
    size_t operator()(const AnswerKey& key) const noexcept {
        return HashOf(key.isWorker, key.webindex, key.workerid, key.callbackid);
    }
};

// The key of an answer, or false when its ids are too long to be tracked.
bool MakeKey(bool isWorker, int32_t webindex, const std::string& workerid,
             const std::string& callbackid, AnswerKey& key) {
    if (callbackid.size() > kMaxAnswerIdBytes || workerid.size() > kMaxAnswerIdBytes) return false;
    key.isWorker = isWorker;
    key.webindex = webindex;
    key.workerid = isWorker ? workerid : std::string();
    key.callbackid = callbackid;
    return true;
}

enum class Remembered : uint8_t { kAnswered, kPageClosed };

// Keys in the order they were put; beyond kAnswerKeyCapacity the oldest goes.
// Changed under the owner's lock; MayHold may be asked without it.
class KeyTable {
public:
    void Put(AnswerKey key, Remembered why) {
        Take(key);
        Count(key, 1);
        m_order.emplace_back(std::move(key), why);
        auto last = std::prev(m_order.end());
        m_index.emplace(last->first, last);
        if (m_order.size() > kAnswerKeyCapacity) Erase(m_index.find(m_order.front().first));
    }
    // Removes `key`; false when it was not there.
    bool Take(const AnswerKey& key) {
        const auto found = m_index.find(key);
        if (found == m_index.end()) return false;
        Erase(found);
        return true;
    }
    // False when no key of this hash is held: the common case of a new call,
    // answered without taking the lock.
    bool MayHold(size_t hash) const {
        return m_counts[hash % kCountSlots].load(std::memory_order_relaxed) != 0;
    }
    bool Find(const AnswerKey& key, Remembered& why) const {
        const auto found = m_index.find(key);
        if (found == m_index.end()) return false;
        why = found->second->second;
        return true;
    }
    bool Empty() const { return m_order.empty(); }
    // Removes the keys of one page and hands each to `visit`.
    template <typename Visit>
    void TakePage(bool isWorker, int32_t webindex, const std::string& workerid, Visit&& visit) {
        for (auto item = m_order.begin(); item != m_order.end();) {
            if (!item->first.OnPage(isWorker, webindex, workerid)) {
                ++item;
                continue;
            }
            m_index.erase(item->first);
            Count(item->first, -1);
            visit(std::move(item->first));
            item = m_order.erase(item);
        }
    }

private:
    using Order = std::list<std::pair<AnswerKey, Remembered>>;
    // Four count slots per key held keep most lookups of absent keys lock-free.
    static constexpr size_t kCountSlots = 4 * kAnswerKeyCapacity;

    void Count(const AnswerKey& key, int change) {
        m_counts[AnswerKeyHash()(key) % kCountSlots].fetch_add(static_cast<uint16_t>(change),
                                                               std::memory_order_relaxed);
    }
    void Erase(std::unordered_map<AnswerKey, Order::iterator, AnswerKeyHash>::iterator found) {
        Count(found->first, -1);
        m_order.erase(found->second);
        m_index.erase(found);
    }

    Order m_order;
    std::unordered_map<AnswerKey, Order::iterator, AnswerKeyHash> m_index;
    std::array<std::atomic<uint16_t>, kCountSlots> m_counts{};
};

class PendingAnswers {
public:
    void Expect(AnswerKey key) {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_remembered.Take(key);
        m_outstanding.Put(std::move(key), Remembered::kAnswered);
    }
    void Forget(const AnswerKey& key) {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_remembered.Take(key);
    }
    bool MayRemember(size_t hash) const { return m_remembered.MayHold(hash); }
    // Whether the answer may go; `why` says why not.
    bool Admit(AnswerKey key, Remembered& why) {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_outstanding.Take(key)) {
            m_remembered.Put(std::move(key), Remembered::kAnswered);
            return true;
        }
        return m_remembered.Empty() || !m_remembered.Find(key, why);
    }
    size_t Close(bool isWorker, int32_t webindex, const std::string& workerid) {
        std::lock_guard<std::mutex> lock(m_mutex);
        size_t closed = 0;
        m_outstanding.TakePage(isWorker, webindex, workerid, [&](AnswerKey key) {
            m_remembered.Put(std::move(key), Remembered::kPageClosed);
            ++closed;
        });
        return closed;
    }

private:
    std::mutex m_mutex;
    KeyTable m_outstanding;  // handed to the host, not answered yet
    KeyTable m_remembered;   // answered, or of a closed page
};

// Never destroyed: host threads may answer while the library unloads.
PendingAnswers& ThePendingAnswers() {
    static PendingAnswers* answers = new PendingAnswers;
    return *answers;
}

}  // namespace

MoxPageCallbackFn AnswerLater(const MoxPageIdentity& page, MoxPageCallbackFn done) noexcept {
    // Work that cannot be recorded (no memory) is answered as if the host
    // answered on its own.
    CatchAll("AnswerLater", [&] {
        AnswerKey key;
        if (MakeKey(page.isWorker, page.webindex, page.workerid, page.callbackid, key)) {
            ThePendingAnswers().Expect(std::move(key));
        }
    });
    return done;
}

void NoteNewCall(const mox_h5_module_data& call) noexcept {
    const char* workerid = call.workerid ? call.workerid : "";
    if (!ThePendingAnswers().MayRemember(
            HashOf(call.isWorker, call.webindex, workerid, call.callbackid))) {
        return;
    }
    CatchAll("NoteNewCall", [&] {
        AnswerKey key;
        if (MakeKey(call.isWorker, call.webindex, workerid, call.callbackid, key)) {
            ThePendingAnswers().Forget(key);
        }
    });
}

bool AdmitAnswer(bool isWorker, int32_t webindex, const std::string& workerid,
                 const std::string& callbackid) noexcept {
    Remembered why = Remembered::kAnswered;
    const bool admitted = CatchAll("AdmitAnswer", true, [&] {
        AnswerKey key;
        return !MakeKey(isWorker, webindex, workerid, callbackid, key) ||
               ThePendingAnswers().Admit(std::move(key), why);
    });
    if (admitted) return true;
    CatchAll("AdmitAnswer", [&] {
        MoxPageIdentity page;
        page.isWorker = isWorker;
        page.webindex = webindex;
        page.workerid = workerid;
        page.callbackid = callbackid;
        LogDroppedAnswer(why == Remembered::kPageClosed ? kClosedPageAnswer : kRepeatedAnswer,
                         page);
    });
    return false;
}

size_t CloseAnswersOf(bool isWorker, int32_t webindex, const std::string& workerid) noexcept {
    return CatchAll("CloseAnswersOf", size_t{0},
                    [&] { return ThePendingAnswers().Close(isWorker, webindex, workerid); });
}

void LogDroppedAnswer(const char* what, const MoxPageIdentity& page) noexcept {
    CatchAll("LogDroppedAnswer", [&] {
        CMoxLog::MoxLogFormat(LOG_PRIORITY_WARNING, __FILE__, __LINE__, "LogDroppedAnswer",
                              "[MoxH5] Dropped %s: worker[%d] webindex[%d] workerid[%.64s] "
                              "callbackid[%.64s]",
                              what, page.isWorker ? 1 : 0, page.webindex, page.workerid.c_str(),
                              page.callbackid.c_str());
    });
}

}  // namespace moxh5::detail
