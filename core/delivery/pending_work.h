// The one registry of work the host finishes later, and the rule that each
// piece of it answers its page exactly once.
//
// Work is recorded when a handler hands it to the host (LaterWork below) and
// named by a ticket: a number that is never reused, so a stale or repeated
// ticket can never reach later work. Each entry carries its page: the page key
// (isWorker, webindex, workerid; render pages have no workerid) and the
// callback id. The C interface hands the ticket to the host as its token; a
// C++ host gets it inside the MoxPageIdentity it is handed (AnswerPage), and
// tips carry it in their completion.
//
// Answers arrive three ways:
//   - by ticket (a token, AnswerPage with a handed identity, a tip): exact;
//   - by page key and callback id (the bare completion function pointer): the
//     oldest outstanding work of that page under that id is answered;
//   - an answer for no recorded work (the unified answer right after a call,
//     or a host answering on its own) is delivered as it is, unless it repeats
//     an answer given moments ago or answers work of a closed page.
//
// Closing a page takes only that page's entries: outstanding work is marked
// closed, so its late answer is dropped (and logged), and the close waits for
// deliveries to that page already under way on other threads, so that once it
// returns no answer of the closed page can reach the page that replaces it.
// A new call of the page under an id makes the id's closed work forgettable:
// through a bare function pointer a reloaded page cannot be told from the old
// one (tickets can).
//
// Bounded: at most kMaxPendingPerPage entries per page key and kMaxPending in
// all; work beyond that is refused at once (the page is answered "failed").
//
// Threads: any. One lock, held only for table work, never while the host is
// called.
#pragma once

#include <json/value.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "moxh5/page_callback.h"
#include "moxh5/records.h"

namespace moxh5::detail {

inline constexpr size_t kMaxPendingPerPage = 65536;
inline constexpr size_t kMaxPending = 1u << 20;
// Ids longer than this are refused as work (the page gets "failed").
inline constexpr size_t kMaxAnswerIdBytes = 256;

// What to do before an answer reaches the page.
enum class AnswerHook : uint8_t {
    kNone,
    kHandFiles,  // remember the files the answer hands the page
};

// Records `page`'s work; its ticket goes into page.ticket. False (and ticket 0)
// when the registry is full or the ids are too long.
bool OpenWork(MoxPageIdentity& page, AnswerHook hook) noexcept;

// Withdraws work the host refused. False when it was answered meanwhile (a
// host that answered before refusing).
bool CancelWork(uint64_t ticket) noexcept;

// How an answer for recorded work goes.
enum class AnswerOutcome : uint8_t {
    kDeliver,     // recorded work, now claimed: deliver it, then FinishClaim
    kAsItIs,      // no recorded work under this key: deliver the answer as it is
    kPageClosed,  // drop: the page closed while the work was out
    kRepeated,    // drop: the work was answered before
    kUnknown,     // drop: no such ticket (never issued, answered, or of a destroyed host)
};

// An answer's right to reach its page. While claimed, a close of the page
// waits for the delivery to end.
struct Claim {
    AnswerOutcome outcome = AnswerOutcome::kUnknown;
    uint64_t ticket = 0;
    AnswerHook hook = AnswerHook::kNone;
    MoxPageIdentity page;  // the recorded page (kDeliver, kPageClosed)
};

// Claims the work `ticket` (tokens, handed identities, tips).
Claim ClaimByTicket(uint64_t ticket) noexcept;
// Claims the oldest outstanding work of the page under `callbackid` (the bare
// function pointer); kAsItIs when there is none and the answer is no repeat.
Claim ClaimByKey(bool isWorker, int32_t webindex, const std::string& workerid,
                 const std::string& callbackid) noexcept;
// Ends a kDeliver claim once the page has its answer (or the delivery failed).
void FinishClaim(const Claim& claim) noexcept;

// Answers the work `ticket` with the recorded page (the envelope rules of
// callBackToWebPage apply): kDeliver when it was passed on; an answer that is
// neither an object nor null is refused (kUnknown) and claims nothing.
AnswerOutcome AnswerWork(uint64_t ticket, bool success, const Json::Value& answer) noexcept;

// A new call of a page: an answer under its id is no longer a repeat.
void NoteNewCall(const mox_h5_module_data& call) noexcept;

// The page closed or reloaded. Returns how much of its work was outstanding.
size_t CloseWorkOf(bool isWorker, int32_t webindex, const std::string& workerid) noexcept;

// Marks work as held by the C host `host` (its token); Release drops all of
// it when that host is destroyed, so its tokens then answer nothing.
bool HoldWork(uint64_t ticket, uint64_t host) noexcept;
void ReleaseHostWork(uint64_t host) noexcept;

// Entries held now (outstanding and closed), for tests and the soak.
size_t PendingWorkCount() noexcept;

// The line for a dropped answer: "[MoxH5] Dropped <what>: <page and id>".
inline constexpr char kClosedPageAnswer[] = "answer for closed page";
inline constexpr char kRepeatedAnswer[] = "repeated answer";
inline constexpr char kUnknownWork[] = "answer for unknown work";
void LogDroppedAnswer(const char* what, const MoxPageIdentity& page) noexcept;

// The work a handler is handing to the host, on this thread: the C interface
// makes its token of it.
uint64_t WorkBeingHandedOver() noexcept;

// One piece of later work, from a handler's point of view:
//
//   LaterWork work(*data, AnswerHook::kHandFiles);
//   if (!work.Open(answer)) return false;
//   const bool accepted = host->SelectFile(filter, work.Page(), work.Done());
//   return work.Handed(accepted, answer);
//
// Handed answers the page at once with a failure when the host refused (and
// had not answered already), or marks the call as answered later.
class LaterWork {
public:
    LaterWork(const mox_h5_module_data& call, AnswerHook hook = AnswerHook::kNone);
    ~LaterWork();
    LaterWork(const LaterWork&) = delete;
    LaterWork& operator=(const LaterWork&) = delete;

    // Records the work; false (with the failure in `answer`) when it cannot be.
    bool Open(Json::Value& answer) noexcept;
    const MoxPageIdentity& Page() const { return m_page; }
    MoxPageCallbackFn Done() const { return &callBackToWebPage; }
    // Ends the hand-over: true (and "AsynExec") when the host took the work.
    bool Handed(bool accepted, Json::Value& answer) noexcept;

private:
    MoxPageIdentity m_page;
    AnswerHook m_hook;
    uint64_t m_previous = 0;
    bool m_open = false;
};

}  // namespace moxh5::detail
