// Which late answers may still reach their page.
//
// Host work that answers later is recorded when it is handed to the host,
// keyed by the page and the callback id (isWorker, webindex, workerid,
// callbackid; render pages have no workerid). The first answer for a recorded
// key is delivered and the key remembered as answered; a second answer for
// it is dropped. When the host says a page closed, the keys of its work are
// remembered as closed and their answers dropped. An answer for a key that was
// never handed over (a host answering on its own) is delivered as before. A
// new call of the page under a remembered key makes the key answerable again:
// a reloaded page counts its callback ids from the start.
//
// Bounded: at most kAnswerKeyCapacity outstanding and as many remembered
// keys, the oldest forgotten first; ids longer than kMaxAnswerIdBytes are not
// tracked (their answers are delivered as before). Every drop is logged at
// priority 400.
//
// Threads: any; one lock, held only for the table work.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "moxh5/page_callback.h"
#include "moxh5/records.h"

namespace moxh5::detail {

inline constexpr size_t kAnswerKeyCapacity = 4096;
inline constexpr size_t kMaxAnswerIdBytes = 256;

// Records that host work will answer `page` later, and returns `done`, so that
// a hand-off reads as one expression:
//   host->SelectFile(filter, page, AnswerLater(page, &AnswerPageHandingFiles));
MoxPageCallbackFn AnswerLater(const MoxPageIdentity& page,
                              MoxPageCallbackFn done = &callBackToWebPage) noexcept;

// A new call from a page: its key may be answered again.
void NoteNewCall(const mox_h5_module_data& call) noexcept;

// Whether an answer about to go to the page may go: false (logged) when the
// key was answered before or its page closed. Takes the key out of the
// outstanding work.
bool AdmitAnswer(bool isWorker, int32_t webindex, const std::string& workerid,
                 const std::string& callbackid) noexcept;

// The page closed or reloaded: its outstanding work will not be answered.
// Returns how many answers were outstanding.
size_t CloseAnswersOf(bool isWorker, int32_t webindex, const std::string& workerid) noexcept;

// The line for a dropped answer: "[MoxH5] Dropped <what>: <page and id>".
inline constexpr char kClosedPageAnswer[] = "answer for closed page";
inline constexpr char kRepeatedAnswer[] = "repeated answer";
void LogDroppedAnswer(const char* what, const MoxPageIdentity& page) noexcept;

}  // namespace moxh5::detail
