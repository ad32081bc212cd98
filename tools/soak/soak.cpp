// moxh5-soak: hammers the host boundary from many threads and checks that
//   - every page call is answered exactly once, unless its page closed (or its
//     C host was destroyed) first;
//   - no answer reaches another page, another generation of a reloaded page or
//     another host, and none arrives for a closed page after the close returned;
//   - the library's record of pending work stays bounded and drains.
//
//   moxh5-soak [--seconds N] [--interface c|cpp|both] [--threads N]
//
// Callers make page calls on a few render and worker pages: some answered at
// once, some handed to the host as later work, which the host accepts,
// refuses, or answers at once from inside the operation. Completers finish the
// accepted work in random order, some of it twice, some after its page closed
// or its host went. One closer reloads pages (the new generation starts its
// callback ids again, so they repeat) and, on the C interface, destroys and
// recreates the host now and then.
//
// Telling answers apart: a callback id is "<page>.<sequence>", the sequence
// starting again with every generation. Later answers carry a marker in their
// data, [call number, generation, host, success]; an answer without one can
// only be the answer at once of the call running on the answering thread.
// A call's page is locked for the length of the call and for a close of that
// page, as a host serves a page's calls and its reload in order; completions
// take no page lock, so they race the closes.
#include <json/reader.h>
#include <json/value.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cinttypes>
#include <condition_variable>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <memory>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "MoxLog.h"
#include "core/delivery/pending_work.h"
#include "moxh5/action_defaults.h"
#include "moxh5/module_manager.h"
#include "moxh5/moxh5_c.h"
#include "moxh5/page_callback.h"

namespace {

using Clock = std::chrono::steady_clock;

// ---- violations -------------------------------------------------------------

constexpr size_t kShownViolations = 20;
std::mutex g_violationMutex;
size_t g_violations = 0;

void Violation(const char* format, ...) __attribute__((format(printf, 1, 2)));
void Violation(const char* format, ...) {
    char text[512];
    va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    std::lock_guard<std::mutex> lock(g_violationMutex);
    if (g_violations++ < kShownViolations) std::fprintf(stderr, "VIOLATION: %s\n", text);
}

size_t ViolationCount() {
    std::lock_guard<std::mutex> lock(g_violationMutex);
    return g_violations;
}

// ---- the library's log: drops are counted, failures inside are violations ----

class CountingLog : public IMoxLogSink {
public:
    int MaxPriority() const override { return LOG_PRIORITY_WARNING; }
    void Write(const MoxLogRecord& record) override {
        const std::string& text = record.text;
        if (text.find("Dropped answer for closed page") != std::string::npos) {
            ++closedDrops;
        } else if (text.find("Dropped ") != std::string::npos) {
            ++otherDrops;
        } else if (record.priority <= LOG_PRIORITY_CRITICAL ||
                   text.find("exception in") != std::string::npos) {
            Violation("the library logged at %d: %s", record.priority, text.c_str());
        }
    }
    std::atomic<uint64_t> closedDrops{0}, otherDrops{0};
};

// ---- what is called -----------------------------------------------------------

enum PageKinds : uint8_t { kRenderOnly = 1, kWorkerOnly = 2, kBoth = 3 };

struct Shape {
    const char* module;
    const char* method;
    const char* params;
    PageKinds kinds;
    bool byPointer;  // a C++ host answers it through the bare function pointer
};

const Shape kShapes[] = {
    {"JSCallNative", "showToast", R"({"content":"soak"})", kBoth, false},
    {"JSCallBasic", "canIUse", R"({"name":"JSCallNative.selectFile"})", kBoth, false},
    {"JSCallNative", "noSuchMethod", "{}", kBoth, false},  // render pages: the host's own path
    {"JSCallNative", "selectFile", R"({"filter":"*.txt"})", kBoth, false},
    {"JSCallNative", "showCommonTip", R"({"title":"t","content":"c"})", kBoth, false},
    {"JSCallNative", "openNewConversation", R"({"orderSn":"o-1"})", kBoth, false},
    {"JSNetwork", "httpRequest", R"({"type":"post","url":"https://shop.example/a","content":"x"})",
     kWorkerOnly, true},
    {"JSNetwork", "httpRequest", R"({"type":"get","url":"https://shop.example/a"})", kWorkerOnly,
     true},
};
constexpr size_t kShapeCount = sizeof kShapes / sizeof kShapes[0];

uint64_t Next(uint64_t& state) {  // xorshift64*
    state ^= state >> 12;
    state ^= state << 25;
    state ^= state >> 27;
    return state * 0x2545F4914F6CDD1DULL;
}
bool OneIn(uint64_t& rng, uint64_t n) { return Next(rng) % n == 0; }

// ---- pages, calls, hosts --------------------------------------------------------

enum class Expect : uint8_t { kInFlight, kNow, kLater, kNone, kHostGone };

struct CallRec {
    uint32_t gen = 0;
    uint32_t epoch = 0;
    uint8_t shape = 0;
    Expect expect = Expect::kInFlight;
    uint8_t answers = 0;
    bool lastSuccess = false;
};

struct Slot {
    bool isWorker = false;
    int32_t webindex = 0;
    std::string workerid, mallcsid, name;
    std::mutex page;  // a call of the page, or its close
    std::mutex book;  // the members below
    uint32_t gen = 1, closedGen = 0, nextSeq = 0;
    std::unordered_map<uint64_t, CallRec> calls;  // this generation's unsettled calls
    std::atomic<uint32_t> closingGen{0};          // set before the close starts
};

class Soak;

struct HostState {
    Soak* soak = nullptr;
    uint32_t epoch = 0;
    moxh5_host* handle = nullptr;
    std::atomic<bool> destroying{false}, dead{false};
};

enum class Via : uint8_t { kToken, kIdentity, kTip, kPointer };

// Host work that an operation took: finished later by a completer.
struct Work {
    Via via = Via::kToken;
    bool mustRefuse = false;  // answered, withdrawn or refused: a completion must do nothing
    bool success = true;
    uint32_t slot = 0, gen = 0;
    uint64_t n = 0;
    HostState* host = nullptr;
    moxh5_token* token = nullptr;
    MoxPageIdentity page;
    MoxTipCompletion tip;
};

// The call running on this thread, for the host's operations and for answers
// at once.
struct Plan {
    uint32_t slot = 0, gen = 0;
    uint64_t n = 0;
    HostState* host = nullptr;
    std::string callbackid;
    bool accept = true, silent = false, answerInside = false, success = true;
    bool handedOver = false, answeredInside = false;
    // Refused work, to be completed (uselessly) once the refusal is complete.
    std::vector<Work> refused;
};
thread_local Plan* t_plan = nullptr;

struct Marker {
    uint64_t n = 0, gen = 0, epoch = 0;
    int success = -1;  // unknown
};

// The marker of a later answer: "soak":[n,gen,epoch,success] in its data.
bool ReadMarker(const char* data, Marker& marker) {
    const char* at = std::strstr(data, "\"soak\":[");
    if (!at) return false;
    char* end = nullptr;
    marker.n = std::strtoull(at + 8, &end, 10);
    marker.gen = std::strtoull(end + 1, &end, 10);
    marker.epoch = std::strtoull(end + 1, &end, 10);
    marker.success = static_cast<int>(std::strtol(end + 1, &end, 10));
    return true;
}

class Soak final : public H5ActionDefaults {
public:
    Soak(bool cInterface, int callers) : m_c(cInterface), m_callers(callers) {
        for (uint32_t i = 0; i < kSlots; ++i) {
            Slot& slot = m_slots[i];
            // Render pages 1..6; worker pages two to a web view, told apart by workerid.
            slot.isWorker = i >= kSlots / 2;
            slot.webindex = static_cast<int32_t>(slot.isWorker ? (i - kSlots / 2) / 2 + 1 : i + 1);
            slot.workerid = slot.isWorker ? "w" + std::to_string(i) : "";
            slot.mallcsid = "mall|cs" + std::to_string(i);
            slot.name = (slot.isWorker ? "worker " : "render ") + std::to_string(slot.webindex) +
                        (slot.isWorker ? "/" + slot.workerid : "");
        }
        for (size_t s = 0; s < kShapeCount; ++s) {
            Json::Value params;
            std::istringstream text(kShapes[s].params);
            Json::parseFromStream(Json::CharReaderBuilder(), text, &params, nullptr);
            m_payloads[s]["method"] = kShapes[s].method;
            m_payloads[s]["params"] = params;
        }
    }

    bool Run(double seconds);

    // The page answers, from the C table or the C++ interface.
    void OnAnswer(HostState* host, int isWorker, const char* mallcsid, int webindex,
                  const char* callbackid, const char* data);
    // Host work handed over during a call: accepted (true) or refused.
    bool HandOver(Work work);

    // ---- the C++ host -----
    void RenderJsCallback(const std::string& mallcsid, int webindex, const std::string& callId,
                          const std::string& data) override {
        OnAnswer(m_current.load(), 0, mallcsid.c_str(), webindex, callId.c_str(), data.c_str());
    }
    void WorkerJsCallback(const std::string& mallcsid, int webindex, const std::string& callbackid,
                          const std::string& data) override {
        OnAnswer(m_current.load(), 1, mallcsid.c_str(), webindex, callbackid.c_str(), data.c_str());
    }
    bool SelectFile(const std::string&, const MoxPageIdentity& page, MoxPageCallbackFn) override {
        return HandOverIdentity(page);
    }
    bool OpenNewConversation(const mox_h5_module_data*, const std::string&, const std::string&,
                             const MoxPageIdentity& page, MoxPageCallbackFn) override {
        return HandOverIdentity(page);
    }
    bool ShowCommonTip(bool, std::string, std::string, std::string, std::string,
                       MoxTipCompletion done) override {
        Work work;
        work.via = Via::kTip;
        work.tip = std::move(done);
        return HandOver(std::move(work));
    }
    bool HttpPost(int, const mox_h5_module_data* request, int, const std::string&,
                  const std::string&, MoxPageCallbackFn, const std::string&, const std::string&,
                  const std::string&, const std::vector<std::string>&) override {
        return HandOverPointer(request);
    }
    bool HttpGet(int, const mox_h5_module_data* request, int, const std::string&,
                 const std::string&, MoxPageCallbackFn, const std::string&, const std::string&,
                 const std::string&) override {
        return HandOverPointer(request);
    }

private:
    static constexpr uint32_t kSlots = 12;
    static constexpr size_t kBacklog = 256;          // later work the host sits on...
    static constexpr size_t kMaxOutstanding = 4096;  // ...and the most before callers wait
    static constexpr double kGraceSeconds = 60;      // to wind down once the time is up

    struct Outcome {
        bool hostGone = false, registered = false, later = false, ownPath = false;
    };

    bool HandOverIdentity(const MoxPageIdentity& page) {
        Work work;
        work.via = Via::kIdentity;
        work.page = page;
        return HandOver(std::move(work));
    }
    bool HandOverPointer(const mox_h5_module_data* request) {
        Work work;
        work.via = Via::kPointer;
        if (request) work.page = PageIdentityOf(*request);
        return HandOver(std::move(work));
    }

    HostState* NewHost();
    void CycleHost();
    void Caller(uint64_t seed);
    void CallOnce(uint64_t& rng);
    Outcome CallC(const Slot& slot, const Shape& shape, const Plan& plan);
    Outcome CallCpp(const Slot& slot, size_t shape, const Plan& plan);
    void Settle(Slot& slot, const Plan& plan, size_t shape, const Outcome& outcome);
    void Completer(uint64_t seed);
    void Complete(Work& work, uint64_t& rng);
    void Closer(uint64_t seed);
    void ClosePage(Slot& slot);
    void Push(Work work);
    bool Pop(uint64_t& rng, Work& work);
    void FinalChecks();

    const bool m_c;
    const int m_callers;
    Slot m_slots[kSlots];
    Json::Value m_payloads[kShapeCount];
    std::atomic<uint64_t> m_nextCall{1};

    std::mutex m_hostsMutex;
    std::deque<std::unique_ptr<HostState>> m_hosts;  // every host of the run, by epoch
    std::atomic<HostState*> m_current{nullptr};

    std::mutex m_poolMutex;
    std::vector<Work> m_pool;
    std::atomic<size_t> m_poolSize{0};

    std::atomic<bool> m_stop{false}, m_draining{false};
    std::atomic<const char*> m_stage{"calling"};

    struct Counts {
        std::atomic<uint64_t> calls{0}, answers{0}, answeredNow{0}, answeredLater{0}, refused{0},
            completions{0}, refusedAgain{0}, staleTokens{0}, closes{0}, closedUnanswered{0},
            hosts{0}, hostGone{0};
    } m_counts;
    size_t m_peakOutstanding = 0, m_peakPending = 0;
    Clock::duration m_longestDestroy{};
};

HostState* Soak::NewHost() {
    std::lock_guard<std::mutex> lock(m_hostsMutex);
    m_hosts.push_back(std::make_unique<HostState>());
    HostState* host = m_hosts.back().get();
    host->soak = this;
    host->epoch = static_cast<uint32_t>(m_hosts.size());
    ++m_counts.hosts;
    if (!m_c) return host;
    moxh5_host_table table;
    std::memset(&table, 0, sizeof table);
    table.size = sizeof table;
    table.user = host;
    table.operation = [](void* user, const char*, const char*, moxh5_token* token,
                         moxh5_reply_slot* reply) {
        auto* self = static_cast<HostState*>(user);
        if (self->dead) Violation("host %u asked for an operation after its destroy", self->epoch);
        if (!token) return;  // a toast: nothing to answer
        Work work;
        work.token = token;
        const bool accepted = self->soak->HandOver(std::move(work));
        if (accepted || !t_plan || !t_plan->silent) moxh5_reply(reply, accepted ? "true" : "false");
    };
    table.page_answer = [](void* user, int isWorker, const char* mallcsid, int webindex,
                           const char* callbackid, const char* data) {
        auto* self = static_cast<HostState*>(user);
        self->soak->OnAnswer(self, isWorker, mallcsid, webindex, callbackid, data);
    };
    if (moxh5_create(&table, &host->handle) != MOXH5_OK) {
        Violation("moxh5_create failed: %s", moxh5_last_error());
    }
    return host;
}

void Soak::CycleHost() {
    HostState* old = m_current.load();
    old->destroying = true;
    const Clock::time_point start = Clock::now();
    if (moxh5_destroy(old->handle) != MOXH5_OK) {
        Violation("moxh5_destroy failed: %s", moxh5_last_error());
    }
    old->dead = true;
    m_longestDestroy = std::max(m_longestDestroy, Clock::now() - start);
    // Its calls are settled: none may hear anything from now on.
    for (Slot& slot : m_slots) {
        std::lock_guard<std::mutex> lock(slot.book);
        for (auto it = slot.calls.begin(); it != slot.calls.end();) {
            it = it->second.epoch == old->epoch ? slot.calls.erase(it) : std::next(it);
        }
    }
    m_current = NewHost();
}

void Soak::Push(Work work) {
    std::lock_guard<std::mutex> lock(m_poolMutex);
    m_pool.push_back(std::move(work));
    m_poolSize = m_pool.size();
}

bool Soak::Pop(uint64_t& rng, Work& work) {
    std::lock_guard<std::mutex> lock(m_poolMutex);
    if (m_pool.empty()) return false;
    const size_t at = Next(rng) % m_pool.size();
    std::swap(m_pool[at], m_pool.back());
    work = std::move(m_pool.back());
    m_pool.pop_back();
    m_poolSize = m_pool.size();
    return true;
}

bool Soak::HandOver(Work work) {
    Plan* plan = t_plan;
    if (!plan) {
        Violation("host work handed over outside a page call");
        return false;
    }
    plan->handedOver = true;
    work.n = plan->n;
    work.gen = plan->gen;
    work.slot = plan->slot;
    work.host = plan->host;
    work.success = plan->success;
    uint64_t rng = plan->n * 0x9E3779B97F4A7C15ULL + 1;
    // A tip's completion may not run before the call that started it returns.
    plan->answeredInside = plan->answerInside && work.via != Via::kTip;
    if (plan->answeredInside) Complete(work, rng);  // before the operation returns (and refuses)
    if (!plan->accept) {
        ++m_counts.refused;
        // A refused token or identity must be dead; a refused tip or pointer is
        // never kept (the pointer path cannot tell a stale answer from a new one).
        if (work.via == Via::kToken || work.via == Via::kIdentity) {
            work.mustRefuse = true;
            plan->refused.push_back(std::move(work));
        }
        return false;
    }
    if (!plan->answeredInside) Push(std::move(work));
    return true;
}

void Soak::Complete(Work& work, uint64_t& rng) {
    Slot& slot = m_slots[work.slot];
    const bool hostWasDead = work.host->dead;
    bool done = false;  // the library says the answer went on (or the page was closed)
    const std::string marker = "[" + std::to_string(work.n) + "," + std::to_string(work.gen) + "," +
                               std::to_string(work.host->epoch) + "," +
                               (work.success ? "1]" : "0]");
    Json::Value answer(Json::objectValue);
    if (work.via != Via::kToken) {
        Json::Value& soak = answer["data"]["soak"];
        for (const uint64_t value : {work.n, uint64_t{work.gen}, uint64_t{work.host->epoch},
                                     uint64_t{work.success ? 1u : 0u}}) {
            soak.append(Json::UInt64(value));
        }
    }
    switch (work.via) {
        case Via::kToken: {
            const std::string text = std::string(R"({"success":)") +
                                     (work.success ? "true" : "false") +
                                     R"(,"answer":{"data":{"soak":)" + marker + "}}}";
            const int status = moxh5_complete(work.token, text.c_str());
            done = status == MOXH5_OK;
            if (status != MOXH5_OK && status != MOXH5_ERROR_STATE) {
                Violation("moxh5_complete answered %d: %s", status, moxh5_last_error());
            }
            if (done && hostWasDead) {
                Violation("a token of host %u was accepted after its destroy", work.host->epoch);
            }
            if (!done && hostWasDead) ++m_counts.staleTokens;
            break;
        }
        case Via::kIdentity:
            done = AnswerPage(work.page, work.success, answer);
            break;
        case Via::kTip:
            done = work.tip(work.success, answer);
            break;
        case Via::kPointer:
            done = callBackToWebPage(work.page.isWorker, work.success, work.page.webindex,
                                     work.page.mallcsid, work.page.callbackid, work.page.workerid,
                                     answer);
            break;
    }
    if (work.mustRefuse) {
        if (done) {
            Violation("call %" PRIu64
                      " (%s): a completion of answered or refused work was accepted",
                      work.n, slot.name.c_str());
        }
        ++m_counts.refusedAgain;
        return;
    }
    ++m_counts.completions;
    // Unless a close of its page or a destroy of its host has started, the page
    // has its answer by now.
    if (slot.closingGen.load() < work.gen && !work.host->destroying) {
        std::lock_guard<std::mutex> lock(slot.book);
        const auto it = slot.calls.find(work.n);
        if (!done || (it != slot.calls.end() && it->second.answers == 0)) {
            Violation("call %" PRIu64
                      " (%s, %s): completion returned (%s) but the open page heard "
                      "nothing",
                      work.n, slot.name.c_str(),
                      kShapes[it != slot.calls.end() ? it->second.shape : 0].method,
                      done ? "accepted" : "refused");
        }
    }
    // Some work is completed a second time, later: that must do nothing.
    if (work.via != Via::kPointer && OneIn(rng, 8)) {
        work.mustRefuse = true;
        Push(work);
    }
}

void Soak::OnAnswer(HostState* host, int isWorker, const char* mallcsid, int webindex,
                    const char* callbackid, const char* data) {
    ++m_counts.answers;
    if (host->dead) Violation("a page answer reached host %u after its destroy", host->epoch);
    char* end = nullptr;
    const unsigned long index = std::strtoul(callbackid, &end, 10);
    if (end == callbackid || *end != '.' || index >= kSlots) {
        Violation("an answer under a callback id never used: \"%s\"", callbackid);
        return;
    }
    Slot& slot = m_slots[index];
    if (slot.isWorker != (isWorker != 0) || slot.webindex != webindex ||
        slot.mallcsid != mallcsid) {
        Violation("answer %s of page %s reached %s page %d of %s", callbackid, slot.name.c_str(),
                  isWorker ? "worker" : "render", webindex, mallcsid);
    }
    Marker marker;
    if (!ReadMarker(data, marker)) {
        const Plan* plan = t_plan;
        if (!plan || plan->slot != index || plan->callbackid != callbackid) {
            Violation("answer %s of page %s with no marker, off the thread of its call: %s",
                      callbackid, slot.name.c_str(), data);
            return;
        }
        marker.n = plan->n;
        marker.gen = plan->gen;
        marker.epoch = plan->host->epoch;
    }
    if (marker.epoch != host->epoch) {
        Violation("call %" PRIu64 " of host %" PRIu64 " answered through host %u", marker.n,
                  marker.epoch, host->epoch);
    }
    const bool success = std::strstr(data, "\"success\":true") != nullptr;
    std::lock_guard<std::mutex> lock(slot.book);
    const auto it = slot.calls.find(marker.n);
    if (it == slot.calls.end()) {
        if (marker.gen <= slot.closedGen) {
            Violation("call %" PRIu64 " of generation %" PRIu64
                      " of page %s answered after the page closed",
                      marker.n, marker.gen, slot.name.c_str());
        } else {
            Violation("call %" PRIu64 " of page %s answered again (or never made): %s", marker.n,
                      slot.name.c_str(), data);
        }
        return;
    }
    CallRec& call = it->second;
    call.lastSuccess = success;
    if (++call.answers > 1) {
        Violation("call %" PRIu64 " (%s, %s) answered twice", marker.n, slot.name.c_str(),
                  kShapes[call.shape].method);
    }
    if (call.gen != marker.gen) {
        Violation("call %" PRIu64 " of generation %u answered as generation %" PRIu64 "", marker.n,
                  call.gen, marker.gen);
    }
    if (marker.success >= 0 && (marker.success != 0) != success) {
        Violation("call %" PRIu64 " completed with success %d reached its page with %d", marker.n,
                  marker.success, success ? 1 : 0);
    }
    if (call.expect == Expect::kLater) {
        ++m_counts.answeredLater;
        slot.calls.erase(it);
    }
}

Soak::Outcome Soak::CallC(const Slot& slot, const Shape& shape, const Plan& plan) {
    const std::string request =
        std::string(R"({"mallcsid":")") + slot.mallcsid + R"(","isWorker":)" +
        (slot.isWorker ? "true" : "false") + R"(,"webindex":)" + std::to_string(slot.webindex) +
        R"(,"workerid":")" + slot.workerid + R"(","callbackid":")" + plan.callbackid +
        R"(","payload":{"method":")" + shape.method + R"(","params":)" + shape.params + "}}";
    Outcome outcome;
    unsigned bits = 0;
    char* answer = nullptr;
    int status = moxh5_execute(plan.host->handle, shape.module, request.c_str(), &bits, &answer);
    if (status == MOXH5_OK) {
        outcome.registered = (bits & MOXH5_REGISTERED) != 0;
        outcome.later = std::strstr(answer, "\"AsynExec\":true") != nullptr;
        outcome.ownPath = std::strstr(answer, "\"NoNeedUnifyCallBack\":true") != nullptr;
        if (outcome.registered) {
            status = moxh5_answer_page(plan.host->handle, request.c_str(),
                                       (bits & MOXH5_HANDLED) != 0, answer);
        }
        moxh5_free(answer);
    }
    if (status != MOXH5_OK) {
        if (status != MOXH5_ERROR_STATE) Violation("a call failed: %s", moxh5_last_error());
        outcome.hostGone = true;
    }
    return outcome;
}

Soak::Outcome Soak::CallCpp(const Slot& slot, size_t shape, const Plan& plan) {
    mox_h5_module_data call;
    call.mallcsid = slot.mallcsid;
    call.payload = m_payloads[shape];
    call.isWorker = slot.isWorker;
    call.webindex = slot.webindex;
    call.callbackid = plan.callbackid;
    call.workerid = slot.isWorker ? slot.workerid.c_str() : nullptr;
    Json::Value answer(Json::objectValue);
    const auto [registered, handled] =
        MoxModuleManager::GetInstance()->Execute(kShapes[shape].module, call, answer);
    Outcome outcome;
    outcome.registered = registered;
    outcome.later = answer.get("AsynExec", false) == true;
    outcome.ownPath = answer.get("NoNeedUnifyCallBack", false) == true;
    if (registered) {
        callBackToWebPage(call.isWorker, handled, call.webindex, call.mallcsid, call.callbackid,
                          slot.workerid, answer);
    }
    return outcome;
}

void Soak::CallOnce(uint64_t& rng) {
    if (m_poolSize.load() >= kMaxOutstanding) {  // the host is busy: let it catch up
        std::this_thread::sleep_for(std::chrono::microseconds(50));
        return;
    }
    Plan plan;
    plan.slot = static_cast<uint32_t>(Next(rng) % kSlots);
    Slot& slot = m_slots[plan.slot];
    size_t shape = 0;
    do {
        shape = Next(rng) % kShapeCount;
    } while (!(kShapes[shape].kinds & (slot.isWorker ? kWorkerOnly : kRenderOnly)));
    plan.host = m_current.load();
    plan.accept = !OneIn(rng, 5);
    plan.silent = OneIn(rng, 2);
    plan.answerInside = OneIn(rng, 20);
    plan.success = OneIn(rng, 2);

    std::lock_guard<std::mutex> page(slot.page);
    uint32_t seq = 0;
    {
        std::lock_guard<std::mutex> lock(slot.book);
        plan.gen = slot.gen;
        seq = slot.nextSeq++;
        plan.n = m_nextCall++;
        CallRec call;
        call.gen = plan.gen;
        call.epoch = plan.host->epoch;
        call.shape = static_cast<uint8_t>(shape);
        slot.calls.emplace(plan.n, call);
    }
    // Ids repeat in every generation; a C++ host that answers through the bare
    // pointer cannot tell a reloaded page's call from its predecessor's, so
    // those ids carry the generation.
    plan.callbackid = std::to_string(plan.slot) + "." + std::to_string(seq);
    if (!m_c && kShapes[shape].byPointer) plan.callbackid += "g" + std::to_string(plan.gen);
    t_plan = &plan;
    const Outcome outcome = m_c ? CallC(slot, kShapes[shape], plan) : CallCpp(slot, shape, plan);
    t_plan = nullptr;
    ++m_counts.calls;
    Settle(slot, plan, shape, outcome);
    for (Work& work : plan.refused) Push(std::move(work));
    if (outcome.hostGone) std::this_thread::yield();  // the next host is on its way
}

// What the page must have heard once its call returned.
void Soak::Settle(Slot& slot, const Plan& plan, size_t shape, const Outcome& outcome) {
    Expect expect = Expect::kNow;
    if (outcome.hostGone) {
        if (!plan.host->destroying) Violation("a call was refused while its host was live");
        expect = Expect::kHostGone;
        ++m_counts.hostGone;
    } else if (!outcome.registered) {
        Violation("module %s not registered", kShapes[shape].module);
        expect = Expect::kNone;
    } else if (outcome.later) {
        expect = Expect::kLater;
    } else if (!slot.isWorker && outcome.ownPath) {
        expect = Expect::kNone;
    }
    if (!outcome.hostGone && plan.handedOver) {
        const bool later = plan.accept || plan.answeredInside;
        if (later != (expect == Expect::kLater)) {
            Violation("call %" PRIu64 " (%s): work %s by the host, yet the call is answered %s",
                      plan.n, kShapes[shape].method, plan.accept ? "accepted" : "refused",
                      later ? "at once" : "later");
        }
    } else if (expect == Expect::kLater && !outcome.hostGone) {
        Violation("call %" PRIu64 " (%s) is to be answered later, but no work reached the host",
                  plan.n, kShapes[shape].method);
    }
    std::lock_guard<std::mutex> lock(slot.book);
    const auto it = slot.calls.find(plan.n);
    if (it == slot.calls.end()) return;  // its host is gone and its calls settled
    CallRec& call = it->second;
    call.expect = expect;
    switch (expect) {
        case Expect::kNow:
            if (call.answers != 1) {
                Violation("call %" PRIu64 " (%s, %s) answered %d times at once", plan.n,
                          slot.name.c_str(), kShapes[shape].method, call.answers);
            } else if (plan.handedOver && !plan.accept && call.lastSuccess) {
                Violation("call %" PRIu64 " (%s): refused work answered as a success", plan.n,
                          kShapes[shape].method);
            }
            ++m_counts.answeredNow;
            slot.calls.erase(it);
            break;
        case Expect::kNone:
            if (call.answers != 0) {
                Violation("call %" PRIu64
                          " (%s) answered by the library though the host answers it",
                          plan.n, kShapes[shape].method);
            }
            slot.calls.erase(it);
            break;
        case Expect::kLater:
            if (call.answers != 0) {  // completed before the call returned
                ++m_counts.answeredLater;
                slot.calls.erase(it);
            }
            break;
        case Expect::kInFlight:
        case Expect::kHostGone:
            break;  // settled when the host's destroy has returned
    }
}

void Soak::Caller(uint64_t seed) {
    uint64_t rng = seed;
    while (!m_stop) CallOnce(rng);
}

void Soak::Completer(uint64_t seed) {
    uint64_t rng = seed;
    Work work;
    for (;;) {
        // A backlog of work keeps pages closing, and hosts going, with work out.
        if (!m_draining && m_poolSize.load() < kBacklog) {
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        } else if (Pop(rng, work)) {
            Complete(work, rng);
        } else if (m_draining) {
            return;
        } else {
            std::this_thread::yield();
        }
    }
}

// Closes a page and opens its next generation: the reload of a page.
void Soak::ClosePage(Slot& slot) {
    std::lock_guard<std::mutex> page(slot.page);
    uint32_t gen = 0;
    {
        std::lock_guard<std::mutex> lock(slot.book);
        gen = slot.gen;
    }
    slot.closingGen = gen;
    if (m_c) {
        const int status = moxh5_page_closed(m_current.load()->handle, slot.isWorker ? 1 : 0,
                                             slot.webindex, slot.workerid.c_str());
        if (status != MOXH5_OK) Violation("moxh5_page_closed failed: %s", moxh5_last_error());
    } else {
        MoxModuleManager::GetInstance()->PageClosed(slot.isWorker, slot.webindex, slot.workerid);
    }
    std::lock_guard<std::mutex> lock(slot.book);
    for (const auto& item : slot.calls) {
        if (item.second.answers == 0) ++m_counts.closedUnanswered;
    }
    slot.calls.clear();
    slot.closedGen = gen;
    ++slot.gen;
    slot.nextSeq = 0;
    ++m_counts.closes;
}

void Soak::Closer(uint64_t seed) {
    uint64_t rng = seed;
    Clock::time_point lastCycle = Clock::now();
    while (!m_stop) {
        std::this_thread::sleep_for(std::chrono::microseconds(200 + Next(rng) % 1800));
        ClosePage(m_slots[Next(rng) % kSlots]);
        if (m_c && Clock::now() - lastCycle > std::chrono::milliseconds(250)) {
            CycleHost();
            lastCycle = Clock::now();
        }
    }
}

// Once all work is completed: every call of an open page of the live host has
// its one answer; then, with every page closed, the library holds no work.
void Soak::FinalChecks() {
    for (Slot& slot : m_slots) {
        std::lock_guard<std::mutex> lock(slot.book);
        for (const auto& [n, call] : slot.calls) {
            if (m_hosts[call.epoch - 1]->dead) continue;
            if (call.expect != Expect::kLater || call.answers != 1) {
                Violation("call %" PRIu64 " (%s, %s, generation %u) never answered", n,
                          slot.name.c_str(), kShapes[call.shape].method, call.gen);
            }
        }
    }
    for (Slot& slot : m_slots) ClosePage(slot);
    if (const size_t left = moxh5::detail::PendingWorkCount()) {
        Violation("%zu pieces of pending work left after all were answered and all pages closed",
                  left);
    }
}

bool Soak::Run(double seconds) {
    const size_t before = ViolationCount();
    if (m_c) {
        m_current = NewHost();
    } else {
        MoxModuleManager* manager = MoxModuleManager::GetInstance();
        if (manager->Modules().empty()) {
            manager->Init(nullptr, nullptr, MoxConfigCallback());
            manager->Create();
        }
        m_current = NewHost();
        manager->SetCallback(this);
    }
    const uint64_t seed = static_cast<uint64_t>(Clock::now().time_since_epoch().count()) | 1;
    std::vector<std::thread> callers, completers;
    for (int i = 0; i < m_callers; ++i) {
        callers.emplace_back(&Soak::Caller, this, seed + 2 * static_cast<uint64_t>(i));
    }
    for (int i = 0; i < std::max(1, m_callers / 4); ++i) {
        completers.emplace_back(&Soak::Completer, this, seed * 3 + 2 * static_cast<uint64_t>(i));
    }
    std::thread closer(&Soak::Closer, this, seed * 5);
    // A run that hangs (a close waiting for a delivery that never ends, a
    // destroy waiting for a call) is a failure too, not a stuck CI job.
    std::mutex finishedMutex;
    std::condition_variable finishedSignal;
    bool finished = false;
    std::thread watchdog([&] {
        std::unique_lock<std::mutex> lock(finishedMutex);
        const auto limit = std::chrono::duration<double>(seconds + kGraceSeconds);
        if (finishedSignal.wait_for(lock, limit, [&] { return finished; })) return;
        Violation("no progress %.0f s after the end of the run, while %s", kGraceSeconds,
                  m_stage.load());
        std::fflush(stdout);
        std::_Exit(3);
    });

    // Pending work is bounded by what the host holds: a leak would outgrow it.
    const Clock::time_point start = Clock::now();
    const auto length = std::chrono::duration<double>(seconds);
    bool overflowed = false;
    while (Clock::now() - start < length) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        const size_t pending = moxh5::detail::PendingWorkCount();
        m_peakPending = std::max(m_peakPending, pending);
        m_peakOutstanding = std::max(m_peakOutstanding, m_poolSize.load());
        if (pending > 2 * kMaxOutstanding && !overflowed) {
            overflowed = true;
            Violation("the library holds %zu pieces of pending work; the host has at most %zu",
                      pending, kMaxOutstanding + static_cast<size_t>(m_callers));
        }
    }
    m_stop = true;
    m_stage = "stopping the callers";
    for (std::thread& t : callers) t.join();
    m_stage = "stopping the closer";
    closer.join();
    m_stage = "completing the work left";
    m_draining = true;
    for (std::thread& t : completers) t.join();
    const double elapsed = std::chrono::duration<double>(Clock::now() - start).count();
    m_stage = "closing every page";
    FinalChecks();
    if (m_c) {
        HostState* last = m_current.load();
        last->destroying = true;
        moxh5_destroy(last->handle);
        last->dead = true;
    } else {
        MoxModuleManager::GetInstance()->SetCallback(nullptr);
    }
    {
        std::lock_guard<std::mutex> lock(finishedMutex);
        finished = true;
    }
    finishedSignal.notify_all();
    watchdog.join();

    const Counts& c = m_counts;
    std::printf("%s interface: %.1f s, %d calling, %d completing, 1 closing thread\n",
                m_c ? "C" : "C++", elapsed, m_callers, std::max(1, m_callers / 4));
    const uint64_t served = c.calls.load() - c.hostGone.load();
    std::printf("  calls %" PRIu64 " (%.0f/s), and %" PRIu64
                " refused by a host being "
                "destroyed; answers %" PRIu64 ": at once %" PRIu64 ", later %" PRIu64 "\n",
                served, double(served) / elapsed, c.hostGone.load(), c.answers.load(),
                c.answeredNow.load(), c.answeredLater.load());
    std::printf("  later work refused %" PRIu64 ", completed %" PRIu64
                "; completions refused as they must be "
                "(second, withdrawn) %" PRIu64 ", tokens of destroyed hosts %" PRIu64 "\n",
                c.refused.load(), c.completions.load(), c.refusedAgain.load(),
                c.staleTokens.load());
    std::printf("  page reloads %" PRIu64 " (calls still out when their page closed %" PRIu64
                "); hosts %" PRIu64
                ", "
                "longest destroy %.1f ms\n",
                c.closes.load(), c.closedUnanswered.load(), c.hosts.load(),
                std::chrono::duration<double, std::milli>(m_longestDestroy).count());
    std::printf("  peak outstanding host work %zu; peak library pending work %zu, left %zu\n",
                m_peakOutstanding, m_peakPending, moxh5::detail::PendingWorkCount());
    return ViolationCount() == before;
}

// Peak resident set, from /proc (0 where there is none).
long PeakRssKb() {
    FILE* status = std::fopen("/proc/self/status", "r");
    if (!status) return 0;
    char line[256];
    long kb = 0;
    while (std::fgets(line, sizeof line, status)) {
        if (std::strncmp(line, "VmHWM:", 6) == 0) kb = std::strtol(line + 6, nullptr, 10);
    }
    std::fclose(status);
    return kb;
}

int Usage() {
    std::fprintf(stderr,
                 "usage: moxh5-soak [--seconds N] [--interface c|cpp|both] [--threads N]\n");
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    double seconds = 10;
    std::string interfaces = "both";
    int callers = 8;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (i + 1 >= argc) return Usage();
        const char* value = argv[++i];
        if (arg == "--seconds") {
            seconds = std::strtod(value, nullptr);
        } else if (arg == "--interface") {
            interfaces = value;
        } else if (arg == "--threads") {
            callers = std::atoi(value);
        } else {
            return Usage();
        }
    }
    if (seconds <= 0 || callers < 1 || callers > 256 ||
        (interfaces != "c" && interfaces != "cpp" && interfaces != "both")) {
        return Usage();
    }
    auto log = std::make_shared<CountingLog>();
    CMoxLog::SetSink(log);
    const bool both = interfaces == "both";
    const double share = both ? seconds / 2 : seconds;
    // The C interface first: it registers the modules, which the C++ run reuses.
    if (interfaces != "cpp") Soak(true, callers).Run(share);
    if (interfaces != "c") Soak(false, callers).Run(share);
    std::printf("late answers dropped for closed pages %" PRIu64 ", other drops %" PRIu64 "\n",
                log->closedDrops.load(), log->otherDrops.load());
    std::printf("peak RSS (VmHWM) %ld kB; violations %zu\n", PeakRssKb(), ViolationCount());
    CMoxLog::SetSink(nullptr);
    return ViolationCount() == 0 ? 0 : 1;
}
