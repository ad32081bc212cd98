// Answering a page later: the unified callback.
//
// A handler that cannot answer at once hands the host `callBackToWebPage` and
// the page's identity; the host calls it when the work is done. It wraps the
// answer in the envelope
//     {"success": <bool>, "message": "success"|"failed", "data": null, ...}
// ("success" always set; "message" and "data" only when the answer lacks them;
// every other member passed through) and hands it as compact JSON text (no
// spaces or line breaks) to the host's
// RenderJsCallback (render pages, keyed by callId) or WorkerJsCallback (worker
// pages, keyed by callbackid).
//
// Delivery is skipped when the answer holds "AsynExec": true (the answer comes
// by another path), when the answer of a render page holds
// "NoNeedUnifyCallBack": true (the handler answered by itself; worker pages
// ignore this flag), when the callback id is empty, and when the answer is
// neither an object nor null.
//
// Each piece of host work answers its page exactly once. The library records
// the work it hands to the host, with its page, under a ticket that is never
// reused (MoxPageIdentity::ticket):
//   - moxh5::AnswerPage(page, ...) with the identity the host was handed answers that
//     very work: a second answer, or one for work of a page that closed or
//     reloaded since (MoxModuleManager::PageClosed), is dropped.
//   - The bare function pointer (`done`, i.e. callBackToWebPage) answers the
//     oldest outstanding work of that page under that callback id. An answer
//     for a closed page's work is dropped, and so is a repeat of an answer
//     given lately (the last 4096 answers are remembered). Risk left to a
//     host that answers through the pointer: once a reloaded page has made a
//     call under the same callback id, a late answer of its predecessor's
//     work under that id reaches the reloaded page. A host that answers with
//     moxh5::AnswerPage never takes that risk: every operation that finishes
//     later either hands it the MoxPageIdentity or lets it ask for one
//     (moxh5::CurrentPage, below), ticket included.
//   - Any other answer (the unified answer right after a call, a host
//     answering on its own) is delivered as it is.
// Every drop is logged at priority 400 ("[MoxH5] Dropped ..."). Work is
// bounded per page; beyond the bound the call fails at once ("Too many
// pending calls.").
//
// No exception leaves these functions: one thrown inside (by the host's
// RenderJsCallback, say, or a failed allocation) is logged at priority 300
// and the answer counts as not passed on.
//
// Threads: may run on any thread; reads only the installed action interface
// and the record of outstanding work (locked).
#pragma once

#include <json/value.h>

#include <cstdint>
#include <string>

#include "moxh5/export.h"
#include "moxh5/records.h"

// The signature of callBackToWebPage, as the host receives it. (The library's
// functions are noexcept; they convert to this type.)
using MoxPageCallbackFn = bool (*)(bool isWorker, bool success, int webindex,
                                   const std::string& mallcsid, const std::string& callbackid,
                                   const std::string& workerid, const Json::Value& answer);

// What the host needs to answer one page later: a copy of the request's page
// identity. It owns its texts, so it outlives the request record.
struct MoxPageIdentity {
    bool isWorker = false;
    int32_t webindex = 0;
    std::string mallcsid;
    std::string callbackid;
    std::string workerid;
    // The work this identity was handed with (0: none): moxh5::AnswerPage
    // answers exactly that work.
    uint64_t ticket = 0;
};

// Returns true when the answer was passed on to the render or worker path
// (which may still decide to stay silent), false when there is no action
// interface or no callback id.
MOXH5_API bool callBackToWebPage(bool isWorker, bool success, int webindex,
                                 const std::string& mallcsid, const std::string& callbackid,
                                 const std::string& workerid, const Json::Value& answer) noexcept;

namespace moxh5 {

// The identity of the page that made `request`, with no ticket. The library
// hands the host identities with tickets (the `page` arguments of the action
// interface); a host that answers on its own builds one with this.
MOXH5_API MoxPageIdentity PageIdentityOf(const mox_h5_module_data& request);

// Answers the work `page` was handed with (see above); an identity with no
// ticket answers as callBackToWebPage does. Returns true when the answer was
// passed on.
MOXH5_API bool AnswerPage(const MoxPageIdentity& page, bool success,
                          const Json::Value& answer) noexcept;

// The page the library is serving on this thread, for a host that wants to
// know whom an operation or an answer is for: to parent a toast, tip or
// dialog to the right window, or to tell two workers of one webindex apart in
// WorkerJsCallback.
//   - Inside an operation of IH5ActionImplCallBack: the calling page. When
//     the operation finishes later (HttpGet, HttpPost, ShowEasyWnd,
//     ShowCommonTip, the file operations...), `page.ticket` names the work
//     being handed over, so AnswerPage(page, ...) answers exactly that work:
//     never twice, never a page that closed or reloaded since.
//   - Inside RenderJsCallback or WorkerJsCallback: the page being answered
//     (ticket 0).
// Fills `page` and returns true; false (page untouched) on a thread the
// library is serving no page on. Any thread.
MOXH5_API bool CurrentPage(MoxPageIdentity& page) noexcept;

}  // namespace moxh5

// Write moxh5::AnswerPage and moxh5::PageIdentityOf. The global names below
// are the same two functions under the names earlier releases declared, kept
// so that host code written against those releases still compiles (also with
// `using namespace moxh5;`, as both names denote one function). The library
// also still exports the functions under their earlier global symbols, so a
// host built against an earlier release keeps loading. A host that wants the
// global namespace left alone defines MOXH5_NO_GLOBAL_PAGE_NAMES before
// including this header.
#ifndef MOXH5_NO_GLOBAL_PAGE_NAMES
using moxh5::AnswerPage;
using moxh5::PageIdentityOf;
#endif
