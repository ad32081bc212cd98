#include "core/delivery/pending_work.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <limits>
#include <mutex>
#include <string_view>
#include <thread>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "answer.h"
#include "diagnostics.h"
#include "no_throw.h"
#include "core/policy/page_policy.h"

namespace moxh5::detail {
namespace {

// A page: render pages are told apart by webindex, worker pages also by
// workerid.
struct PageKey {
    bool isWorker = false;
    int32_t webindex = 0;
    std::string workerid;  // empty for render pages

    PageKey(bool worker, int32_t index, const std::string& id)
        : isWorker(worker), webindex(index), workerid(worker ? id : std::string()) {}
    bool operator==(const PageKey& other) const {
        return isWorker == other.isWorker && webindex == other.webindex &&
               workerid == other.workerid;
    }
};

// FNV-1a: page ids are short, and every new call hashes one (NoteNewCall),
// so the hash runs inline.
size_t HashText(std::string_view text) noexcept {
    uint64_t h = 14695981039346656037ull;
    for (const char c : text) {
        h ^= static_cast<unsigned char>(c);
        h *= 1099511628211ull;
    }
    return static_cast<size_t>(h);
}

size_t HashOf(bool isWorker, int32_t webindex, std::string_view workerid) noexcept {
    const size_t h = isWorker ? HashText(workerid) : 0;
    return h * 31 + static_cast<size_t>(webindex) * 2 + (isWorker ? 1 : 0);
}

struct PageKeyHash {
    size_t operator()(const PageKey& key) const noexcept {
        return HashOf(key.isWorker, key.webindex, key.workerid);
    }
};

// A page and a callback id.
struct AnswerKey {
    PageKey page;
    std::string callbackid;
    bool operator==(const AnswerKey& other) const {
        return page == other.page && callbackid == other.callbackid;
    }
};

size_t HashOf(bool isWorker, int32_t webindex, std::string_view workerid,
              std::string_view callbackid) noexcept {
    return HashOf(isWorker, webindex, isWorker ? workerid : std::string_view()) * 131 +
           HashText(callbackid);
}

struct AnswerKeyHash {
    size_t operator()(const AnswerKey& key) const noexcept {
        return HashOf(key.page.isWorker, key.page.webindex, key.page.workerid, key.callbackid);
    }
};

enum class State : uint8_t { kOut, kDelivering, kClosed };

struct Entry {
    MoxPageIdentity page;
    AnswerHook hook = AnswerHook::kNone;
    State state = State::kOut;
    // the C host holding it as a token; 0: none
    uint64_t host = 0;
};

using IdIndex = std::unordered_multimap<std::string, uint64_t>;

// One page's work, by callback id.
struct PageWork {
    IdIndex out;                                           // with the host
    IdIndex closed;                                        // out when the page closed
    std::unordered_map<uint64_t, std::thread::id> delivering;  // claimed, being delivered

    size_t Size() const { return out.size() + closed.size() + delivering.size(); }
};

// Takes `ticket` out of the index; the oldest ticket under `id` when ticket is 0.
uint64_t TakeFromIndex(IdIndex& index, const std::string& id, uint64_t ticket = 0) {
    auto [first, last] = index.equal_range(id);
    auto chosen = last;
    for (auto item = first; item != last; ++item) {
        if (ticket ? item->second == ticket
                   : (chosen == last || item->second < chosen->second)) {
            chosen = item;
        }
    }
    if (chosen == last) return 0;
    const uint64_t taken = chosen->second;
    index.erase(chosen);
    return taken;
}

// Keys answered lately, to drop a second bare answer for the same work. Only
// the wording of a drop depends on what is forgotten here, with one exception
// left to the bare function pointer: a repeat after kRecentAnswers newer
// answers passes as a host's own answer.
constexpr size_t kRecentAnswers = 4096;
// Hash slots of the keys a new call may have to forget (answered or closed),
// so that the common new call needs no lock.
constexpr size_t kMarkSlots = 4 * kRecentAnswers;

class Registry {
public:
    bool Open(MoxPageIdentity& page, AnswerHook hook) {
        std::lock_guard<std::mutex> lock(m_mutex);
        PageWork& work = m_pages[KeyOf(page)];
        if (m_entries.size() >= kMaxPending || work.Size() >= kMaxPendingPerPage) return false;
        page.ticket = NextTicket();
        work.out.emplace(page.callbackid, page.ticket);
        m_entries.emplace(page.ticket, Entry{page, hook, State::kOut, 0});
        return true;
    }

    bool Cancel(uint64_t ticket) {
        std::lock_guard<std::mutex> lock(m_mutex);
        const auto found = m_entries.find(ticket);
        if (found == m_entries.end() || found->second.state == State::kDelivering) return false;
        Erase(found);
        return true;
    }

    Claim ByTicket(uint64_t ticket) {
        std::lock_guard<std::mutex> lock(m_mutex);
        Claim claim;
        const auto found = m_entries.find(ticket);
        claim.page.ticket = ticket;
        if (found == m_entries.end()) {
            // An issued ticket that is gone was answered (or withdrawn): only
            // the wording of the drop depends on this.
            if (ticket != 0 && ticket < m_nextTicket) claim.outcome = AnswerOutcome::kRepeated;
            return claim;
        }
        Entry& entry = found->second;
        claim.page = entry.page;
        if (entry.state == State::kDelivering) {
            claim.outcome = AnswerOutcome::kRepeated;
        } else if (entry.state == State::kClosed) {
            claim.outcome = AnswerOutcome::kPageClosed;
            Erase(found);
        } else {
            PageWork& work = m_pages[KeyOf(entry.page)];
            TakeFromIndex(work.out, entry.page.callbackid, ticket);
            StartDelivery(work, entry, ticket, claim);
        }
        return claim;
    }

    Claim ByKey(const AnswerKey& key) {
        std::lock_guard<std::mutex> lock(m_mutex);
        Claim claim;
        claim.outcome = AnswerOutcome::kAsItIs;
        const auto page = m_pages.find(key.page);
        if (page != m_pages.end()) {
            PageWork& work = page->second;
            if (const uint64_t ticket = TakeFromIndex(work.out, key.callbackid)) {
                Entry& entry = m_entries.at(ticket);
                claim.page = entry.page;
                StartDelivery(work, entry, ticket, claim);
                return claim;
            }
            if (const uint64_t ticket = TakeFromIndex(work.closed, key.callbackid)) {
                Unmark(key);
                const auto found = m_entries.find(ticket);
                claim.page = found->second.page;
                claim.outcome = AnswerOutcome::kPageClosed;
                Erase(found, /*indexed=*/false);
                return claim;
            }
        }
        if (m_recentSet.count(key)) claim.outcome = AnswerOutcome::kRepeated;
        return claim;
    }

    void Finish(const Claim& claim) {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            const auto found = m_entries.find(claim.ticket);
            if (found == m_entries.end()) return;
            RememberAnswered(AnswerKey{KeyOf(found->second.page), found->second.page.callbackid});
            Erase(found);
        }
        m_delivered.notify_all();
    }

    // Forgets what a new call under `key` replaces: a recent answer and work
    // that its page's predecessor left behind.
    void NewCall(const AnswerKey& key) {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_recentSet.erase(key)) Unmark(key);
        auto page = m_pages.find(key.page);
        while (page != m_pages.end()) {
            const uint64_t ticket = TakeFromIndex(page->second.closed, key.callbackid);
            if (ticket == 0) return;
            Unmark(key);
            const auto found = m_entries.find(ticket);
            // Work a C host holds stays (closed, out of the index), so that
            // completing its token is not an error; it answers nothing.
            if (found->second.host == 0) {
                Erase(found, /*indexed=*/false);
                // Erase drops the page's record with its last entry.
                page = m_pages.find(key.page);
            }
        }
    }

    bool MayMatter(size_t hash) const {
        return m_marks[hash % kMarkSlots].load(std::memory_order_relaxed) != 0;
    }

    size_t Close(const PageKey& key) {
        std::unique_lock<std::mutex> lock(m_mutex);
        const auto page = m_pages.find(key);
        if (page == m_pages.end()) return 0;
        PageWork& work = page->second;
        const size_t closed = work.out.size();
        for (auto& [id, ticket] : work.out) {
            m_entries.at(ticket).state = State::kClosed;
            Mark(AnswerKey{key, id});
            work.closed.emplace(id, ticket);
        }
        work.out.clear();
        // Deliveries to the closing page on other threads end first; one on
        // this thread (a page answer that closes its page) cannot be waited for.
        const std::thread::id self = std::this_thread::get_id();
        m_delivered.wait(lock, [&] {
            const auto again = m_pages.find(key);
            if (again == m_pages.end()) return true;
            const auto& delivering = again->second.delivering;
            return std::all_of(delivering.begin(), delivering.end(),
                               [&](const auto& item) { return item.second == self; });
        });
        return closed;
    }

    bool Hold(uint64_t ticket, uint64_t host) {
        std::lock_guard<std::mutex> lock(m_mutex);
        const auto found = m_entries.find(ticket);
        if (found == m_entries.end()) return false;
        found->second.host = host;
        return true;
    }

    void Release(uint64_t host) {
        std::lock_guard<std::mutex> lock(m_mutex);
        for (auto item = m_entries.begin(); item != m_entries.end();) {
            auto next = std::next(item);
            if (item->second.host == host && item->second.state != State::kDelivering) {
                Erase(item);
            }
            item = next;
        }
    }

    size_t Count() {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_entries.size();
    }

private:
    using Entries = std::unordered_map<uint64_t, Entry>;

    // Tickets travel as pointer-sized tokens: on 32-bit systems they wrap
    // (after 2^32 pieces of work), skipping tickets still out.
    uint64_t NextTicket() {
        for (;;) {
            if (m_nextTicket > std::numeric_limits<uintptr_t>::max()) m_nextTicket = 1;
            const uint64_t ticket = m_nextTicket++;
            if (m_entries.count(ticket) == 0) return ticket;
        }
    }

    static PageKey KeyOf(const MoxPageIdentity& page) {
        return PageKey(page.isWorker, page.webindex, page.workerid);
    }

    void StartDelivery(PageWork& work, Entry& entry, uint64_t ticket, Claim& claim) {
        entry.state = State::kDelivering;
        work.delivering.emplace(ticket, std::this_thread::get_id());
        claim.outcome = AnswerOutcome::kDeliver;
        claim.ticket = ticket;
        claim.hook = entry.hook;
    }

    // Removes an entry and its index item (`indexed`: still in an index).
    void Erase(Entries::iterator found, bool indexed = true) {
        const Entry& entry = found->second;
        const PageKey key = KeyOf(entry.page);
        const auto page = m_pages.find(key);
        if (page != m_pages.end()) {
            PageWork& work = page->second;
            if (indexed && entry.state == State::kOut) {
                TakeFromIndex(work.out, entry.page.callbackid, found->first);
            } else if (indexed && entry.state == State::kClosed &&
                       TakeFromIndex(work.closed, entry.page.callbackid, found->first)) {
                Unmark(AnswerKey{key, entry.page.callbackid});
            }
            work.delivering.erase(found->first);
            if (work.Size() == 0) m_pages.erase(page);
        }
        m_entries.erase(found);
    }

    void RememberAnswered(AnswerKey key) {
        if (!m_recentSet.insert(key).second) return;
        Mark(key);
        m_recent.push_back(std::move(key));
        if (m_recent.size() <= kRecentAnswers) return;
        if (m_recentSet.erase(m_recent.front())) Unmark(m_recent.front());
        m_recent.pop_front();
    }

    void Mark(const AnswerKey& key) { Slot(key).fetch_add(1, std::memory_order_relaxed); }
    void Unmark(const AnswerKey& key) { Slot(key).fetch_sub(1, std::memory_order_relaxed); }
    std::atomic<uint32_t>& Slot(const AnswerKey& key) {
        return m_marks[AnswerKeyHash()(key) % kMarkSlots];
    }

    std::mutex m_mutex;
    std::condition_variable m_delivered;
    uint64_t m_nextTicket = 1;
    Entries m_entries;
    std::unordered_map<PageKey, PageWork, PageKeyHash> m_pages;
    std::deque<AnswerKey> m_recent;
    std::unordered_set<AnswerKey, AnswerKeyHash> m_recentSet;
    std::array<std::atomic<uint32_t>, kMarkSlots> m_marks{};
};

// Never destroyed: host threads may answer while the library unloads.
Registry& TheRegistry() {
    static Registry* registry = new Registry;
    return *registry;
}

thread_local uint64_t t_handedOver = 0;

}  // namespace

bool OpenWork(MoxPageIdentity& page, AnswerHook hook) noexcept {
    page.ticket = 0;
    if (page.callbackid.size() > kMaxAnswerIdBytes || page.workerid.size() > kMaxAnswerIdBytes) {
        return false;
    }
    return CatchAll("OpenWork", false, [&] { return TheRegistry().Open(page, hook); });
}

bool CancelWork(uint64_t ticket) noexcept {
    return CatchAll("CancelWork", false, [&] { return TheRegistry().Cancel(ticket); });
}

Claim ClaimByTicket(uint64_t ticket) noexcept {
    return CatchAll("ClaimByTicket", Claim(), [&] { return TheRegistry().ByTicket(ticket); });
}

Claim ClaimByKey(bool isWorker, int32_t webindex, const std::string& workerid,
                 const std::string& callbackid) noexcept {
    Claim fallback;
    fallback.outcome = AnswerOutcome::kAsItIs;
    return CatchAll("ClaimByKey", fallback, [&] {
        return TheRegistry().ByKey(AnswerKey{PageKey(isWorker, webindex, workerid), callbackid});
    });
}

void FinishClaim(const Claim& claim) noexcept {
    if (claim.outcome != AnswerOutcome::kDeliver) return;
    CatchAll("FinishClaim", [&] { TheRegistry().Finish(claim); });
}

// NoteNewCall's rare part, kept out of line so that the common call stays
// small.
#if defined(__GNUC__) || defined(__clang__)
__attribute__((noinline))
#endif
static void ForgetForNewCall(const mox_h5_module_data& call, std::string_view workerid) noexcept {
    CatchAll("NoteNewCall", [&] {
        TheRegistry().NewCall(AnswerKey{
            PageKey(call.isWorker, call.webindex, std::string(workerid)), call.callbackid});
    });
}

void NoteNewCall(const mox_h5_module_data& call) noexcept {
    // Render pages have no worker id: their key never reads it.
    const std::string_view workerid =
        call.isWorker && call.workerid ? std::string_view(call.workerid) : std::string_view();
    if (!TheRegistry().MayMatter(
            HashOf(call.isWorker, call.webindex, workerid, call.callbackid))) {
        return;
    }
    ForgetForNewCall(call, workerid);
}

size_t CloseWorkOf(bool isWorker, int32_t webindex, const std::string& workerid) noexcept {
    return CatchAll("CloseWorkOf", size_t{0},
                    [&] { return TheRegistry().Close(PageKey(isWorker, webindex, workerid)); });
}

bool HoldWork(uint64_t ticket, uint64_t host) noexcept {
    return CatchAll("HoldWork", false, [&] { return TheRegistry().Hold(ticket, host); });
}

void ReleaseHostWork(uint64_t host) noexcept {
    CatchAll("ReleaseHostWork", [&] { TheRegistry().Release(host); });
}

size_t PendingWorkCount() noexcept {
    return CatchAll("PendingWorkCount", size_t{0}, [] { return TheRegistry().Count(); });
}

void LogDroppedAnswer(const char* what, const MoxPageIdentity& page) noexcept {
    CatchAll("LogDroppedAnswer", [&] {
        if (page.callbackid.empty() && page.ticket != 0) {
            // Work no longer recorded: its number is all there is to say.
            MOX_LOG(LOG_PRIORITY_WARNING, "LogDroppedAnswer", "[MoxH5] Dropped %s: ticket[%llu]",
                    what, static_cast<unsigned long long>(page.ticket));
            return;
        }
        // The ids are the page's own text: the log guard keeps the line one line.
        MOX_LOG(LOG_PRIORITY_WARNING, "LogDroppedAnswer",
                "[MoxH5] Dropped %s: worker[%d] webindex[%d] workerid[%.64s] callbackid[%.64s]",
                what, page.isWorker ? 1 : 0, page.webindex, page.workerid.c_str(),
                page.callbackid.c_str());
    });
}

uint64_t WorkBeingHandedOver() noexcept { return t_handedOver; }

LaterWork::LaterWork(const mox_h5_module_data& call, AnswerHook hook)
    : m_page(moxh5::PageIdentityOf(call)), m_hook(hook) {}

LaterWork::~LaterWork() {
    if (!m_open) return;
    t_handedOver = m_previous;
    CancelWork(m_page.ticket);
}

bool LaterWork::Open(Json::Value& answer) noexcept {
    if (!OpenWork(m_page, m_hook)) {
        CatchAll("LaterWork::Open", [&] { answer[key::kMessage] = text::kTooMuchPendingWork; });
        return false;
    }
    m_previous = t_handedOver;
    t_handedOver = m_page.ticket;
    m_open = true;
    return true;
}

bool LaterWork::Handed(bool accepted, Json::Value& answer) noexcept {
    if (!m_open) return false;
    m_open = false;
    t_handedOver = m_previous;
    // A host that refused after answering has answered: the page must not
    // hear a second, failed answer.
    const bool answered = !accepted && !CancelWork(m_page.ticket);
    if (accepted || answered) {
        CatchAll("LaterWork::Handed", [&] { answer[key::kAsynExec] = true; });
    }
    return accepted;
}

}  // namespace moxh5::detail
