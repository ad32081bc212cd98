// The C interface (moxh5/moxh5_c.h): texts in, texts out, over the same
// manager that C++ hosts drive. Every function stops exceptions here.
#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>
#include <atomic>
#include <mutex>
#include <new>
#include <thread>
#include <string>
#include <string_view>
#include <vector>

#include "core/c_interface/c_host_adapter.h"
#include "diagnostics.h"
#include "json_text.h"
#include "no_throw.h"
#include "core/dispatch/params.h"
#include "payload_limits.h"
#include "core/delivery/pending_work.h"
#include "moxh5/module_manager.h"
#include "moxh5/moxh5_c.h"

// The live host. The handle given to the host is not its address but its
// number (see HandleOf), so that a destroyed host's handle can never name a
// later one.
struct moxh5_host {
    moxh5_host(const moxh5_host_table& table, uintptr_t handleNumber)
        : number(handleNumber),
          adapter(table, handleNumber),
          logSink(std::make_shared<moxh5::detail::CLogSinkAdapter>(table)),
          reportSink(std::make_shared<moxh5::detail::CReportSinkAdapter>(table)) {}

    uintptr_t number;
    moxh5::detail::CHostAdapter adapter;
    std::shared_ptr<moxh5::detail::CLogSinkAdapter> logSink;
    std::shared_ptr<moxh5::detail::CReportSinkAdapter> reportSink;
    // The sinks that were installed before this host's, put back by destroy.
    std::shared_ptr<IMoxLogSink> previousLogSink;
    std::shared_ptr<IReportSink> previousReportSink;
    // Whether this host put a page policy in force (destroy puts back the
    // default one).
    bool setPolicy = false;
};

namespace {

using moxh5::detail::ParseJson;

// The one host of the process. `g_live` is set by create before the host's
// number is published in `g_current`, and freed by destroy only after
// `g_current` is cleared and every call inside the library (`g_inside`) has
// left: a call that counted itself in and then saw its host current may use
// it to the end. (Both are sequentially consistent, so a destroy and a call
// cannot miss each other.)
std::mutex g_lifecycle;  // create and destroy
moxh5_host* g_live = nullptr;
std::atomic<uintptr_t> g_current{0};
std::atomic<int> g_inside{0};
uintptr_t g_lastNumber = 0;
thread_local int t_depth = 0;  // calls of this thread inside the library

moxh5_host* HandleOf(uintptr_t number) { return reinterpret_cast<moxh5_host*>(number); }

// A call inside the library. Only the outermost call of a thread counts:
// callbacks may call the library again.
class Inside {
public:
    explicit Inside(const moxh5_host* handle) : m_outer(t_depth == 0) {
        if (m_outer) g_inside.fetch_add(1);
        ++t_depth;
        m_current = handle && handle == HandleOf(g_current.load());
    }
    ~Inside() {
        --t_depth;
        if (m_outer) g_inside.fetch_sub(1);
    }
    Inside(const Inside&) = delete;
    Inside& operator=(const Inside&) = delete;
    // Whether `handle` named the live host, which then stays until this ends.
    bool Current() const { return m_current; }

private:
    bool m_outer;
    bool m_current = false;
};

// What went wrong in the last call of this thread that failed (moxh5_last_error).
thread_local std::string t_lastError;

// A failure: its text, for moxh5_last_error and a log line at 400.
int Fail(int code, const char* function, const std::string& what) {
    t_lastError = std::string(function) + ": " + what;
    MOX_LOG(LOG_PRIORITY_WARNING, function, "[MoxH5] %s", t_lastError.c_str());
    return code;
}

// Runs the body of a C function: an exception becomes MOXH5_ERROR_INTERNAL and
// a log line, never an unwinding into the caller.
template <typename Body>
int Guarded(const char* function, Body&& body) noexcept {
    return moxh5::detail::CatchAll(function, int{MOXH5_ERROR_INTERNAL}, [&] {
        t_lastError.clear();
        const int status = body();
        if (status == MOXH5_ERROR_INTERNAL && t_lastError.empty()) {
            t_lastError = std::string(function) + ": internal failure";
        }
        return status;
    });
}

// The usual refusals, worded once.
int NullArgument(const char* function, const char* name) {
    return Fail(MOXH5_ERROR_ARGUMENT, function, std::string(name) + " is null");
}
int NotCurrent(const char* function) {
    return Fail(MOXH5_ERROR_STATE, function,
                "the host handle is not the live host (destroyed, or never created)");
}

// `value` as compact JSON text, in memory that moxh5_free releases.
char* HandOut(const Json::Value& value) {
    std::string text;
    moxh5::detail::AppendJson(value, text);
    // Compact JSON escapes every NUL, so the text ends at its terminator.
    char* copy = strdup(text.c_str());
    if (!copy) throw std::bad_alloc();
    return copy;
}

// Reads a request or page text into `call`; the payload only when wanted (a
// page text's is checked and skipped).
bool ReadRequest(std::string_view text, moxh5::detail::RequestRecord& call,
                 bool withPayload = true) {
    if (!moxh5::detail::ReadRequestText(text, call, withPayload)) {
        if (call.problem.empty()) {
            call.problem = "not a JSON object (or nested deeper than 128 levels)";
        }
        return false;
    }
    call.data.configCallback = MoxModuleManager::GetInstance()->GetConfigCallback();
    return true;
}

// Whether the payload read from `text` is known to keep within the payload
// bounds without a walk (see ReadRequestText).
bool ShortEnough(std::string_view text) {
    return text.size() <= moxh5::detail::kMaxPayloadValues;
}

// The configuration callable the manager keeps: it asks whichever host is
// current, so that a later host needs no second Init.
bool AskCurrentHost(const std::string& key, const std::string& mallcsid,
                    const MoxConfigValue& value) {
    // Asked only inside a call, while the host cannot go.
    const moxh5_host* host = g_current.load() ? g_live : nullptr;
    return host && host->adapter.Switch(key, mallcsid, value);
}

// A list of strings, or false.
bool ReadStrings(const Json::Value& value, std::vector<std::string>& strings) {
    if (!value.isArray()) return false;
    strings.clear();
    for (const Json::Value& item : value) {
        if (!item.isString()) return false;
        strings.push_back(item.asString());
    }
    return true;
}

// {"unrestricted": bool, "shellSchemes": [...], "fileRoots": [...],
// "allowedNetworkHosts": [...], "allowedShellFileNames": [...]}; a misspelt
// member is refused rather than left to loosen nothing silently.
bool ReadPolicy(const char* text, MoxPagePolicy& policy) {
    Json::Value value;
    if (!ParseJson(text, value) || !value.isObject()) return false;
    for (const std::string& name : value.getMemberNames()) {
        const Json::Value& member = value[name];
        if (name == "unrestricted" && member.isBool()) {
            policy.unrestricted = member.asBool();
        } else if (!(name == "shellSchemes" && ReadStrings(member, policy.shellSchemes)) &&
                   !(name == "fileRoots" && ReadStrings(member, policy.fileRoots)) &&
                   !(name == "allowedNetworkHosts" &&
                     ReadStrings(member, policy.allowedNetworkHosts)) &&
                   !(name == "allowedShellFileNames" &&
                     ReadStrings(member, policy.allowedShellFileNames))) {
            return false;
        }
    }
    return true;
}

// Puts `policy` in force with the host's method filter.
void InstallPolicy(moxh5_host& host, MoxPagePolicy policy) {
    policy.methodFilter = moxh5::detail::MethodFilterOf(host.adapter.Table());
    MoxModuleManager::GetInstance()->SetPagePolicy(std::move(policy));
    host.setPolicy = true;
}

void Install(moxh5_host& host) {
    MoxModuleManager* manager = MoxModuleManager::GetInstance();
    IUserCenter* userCenter = host.adapter.HasUserCenter() ? &host.adapter : nullptr;
    // The modules are registered once per process; later hosts only swap the
    // interfaces.
    static bool initialized = false;
    if (!initialized) {
        manager->Init(userCenter, nullptr, &AskCurrentHost);
        manager->Create();
        initialized = true;
    } else {
        manager->SetUserCenter(userCenter);
    }
    manager->SetCallback(host.adapter.HasActionInterface() ? &host.adapter : nullptr);
    if (host.adapter.Table().method_allowed) InstallPolicy(host, MoxPagePolicy());
    if (host.adapter.Table().log) host.previousLogSink = CMoxLog::SetSink(host.logSink);
    if (host.adapter.Table().report) {
        host.previousReportSink = WorkbenchReport::SetSink(host.reportSink);
    }
}

// Table sizes of the published layouts: the table as first published and the
// shorter ones it documents for older hosts (ending after page_answer,
// user_value, config_switch, log, log_priority, report or method_allowed). A size that ends
// inside a member is a host built against no published header.
bool PublishedTableSize(size_t size) {
    for (const size_t published :
         {offsetof(moxh5_host_table, user_value), offsetof(moxh5_host_table, config_switch),
          offsetof(moxh5_host_table, log), offsetof(moxh5_host_table, log_priority),
          offsetof(moxh5_host_table, report), offsetof(moxh5_host_table, method_allowed),
          offsetof(moxh5_host_table, page_answer_to), sizeof(moxh5_host_table)}) {
        if (size == published) return true;
    }
    return false;
}

// Whether the host has made a call (start-up calls are refused from then on).
std::atomic<bool> g_started{false};

}  // namespace

extern "C" {

unsigned MOXH5_CALL moxh5_abi_version(void) { return MOXH5_C_ABI_VERSION; }

int MOXH5_CALL moxh5_create(const moxh5_host_table* table, moxh5_host** host) {
    constexpr char kFunction[] = "moxh5_create";
    return Guarded(kFunction, [&] {
        if (!table) return NullArgument(kFunction, "table");
        if (!host) return NullArgument(kFunction, "host");
        if (!PublishedTableSize(table->size)) {
            return Fail(MOXH5_ERROR_ARGUMENT, kFunction,
                        "table size " + std::to_string(table->size) +
                            " is not the size of a published moxh5_host_table");
        }
        if (t_depth > 0) return Fail(MOXH5_ERROR_STATE, kFunction, "called from a callback");
        std::lock_guard<std::mutex> lock(g_lifecycle);
        if (g_current.load()) return Fail(MOXH5_ERROR_STATE, kFunction, "a host exists");
        // Members the host's older table lacks stay null.
        moxh5_host_table copy;
        std::memset(&copy, 0, sizeof copy);
        std::memcpy(&copy, table, table->size);
        uintptr_t number = g_lastNumber + 1;
        if (number == 0) number = 1;
        auto created = std::make_unique<moxh5_host>(copy, number);
        Install(*created);
        g_started = false;
        g_lastNumber = number;
        g_live = created.release();
        g_current.store(number);
        *host = HandleOf(number);
        return MOXH5_OK;
    });
}

int MOXH5_CALL moxh5_destroy(moxh5_host* host) {
    constexpr char kFunction[] = "moxh5_destroy";
    return Guarded(kFunction, [&] {
        if (!host) return NullArgument(kFunction, "host");
        // A callback cannot wait for the call it runs in to end.
        if (t_depth > 0) return Fail(MOXH5_ERROR_STATE, kFunction, "called from a callback");
        std::lock_guard<std::mutex> lock(g_lifecycle);
        uintptr_t number = reinterpret_cast<uintptr_t>(host);
        if (number == 0 || !g_current.compare_exchange_strong(number, 0)) {
            return NotCurrent(kFunction);
        }
        // New calls now see no host; the ones inside finish with it.
        while (g_inside.load() != 0) std::this_thread::yield();
        MoxModuleManager* manager = MoxModuleManager::GetInstance();
        manager->SetCallback(nullptr);
        manager->SetUserCenter(nullptr);
        moxh5_host* live = g_live;
        if (live->setPolicy) manager->SetPagePolicy(MoxPagePolicy());
        if (live->adapter.Table().log) CMoxLog::SetSink(live->previousLogSink);
        if (live->adapter.Table().report) WorkbenchReport::SetSink(live->previousReportSink);
        // Its tokens answer nothing from now on (moxh5_complete: MOXH5_ERROR_STATE).
        moxh5::detail::ReleaseHostWork(live->number);
        g_live = nullptr;
        delete live;
        return MOXH5_OK;
    });
}

int MOXH5_CALL moxh5_execute(moxh5_host* host, const char* module, const char* request_json,
                             unsigned* outcome, char** answer_json) {
    constexpr char kFunction[] = "moxh5_execute";
    return Guarded(kFunction, [&] {
        if (!host) return NullArgument(kFunction, "host");
        if (!module) return NullArgument(kFunction, "module");
        if (!request_json) return NullArgument(kFunction, "request_json");
        if (!outcome) return NullArgument(kFunction, "outcome");
        if (!answer_json) return NullArgument(kFunction, "answer_json");
        const Inside inside(host);
        if (!inside.Current()) return NotCurrent(kFunction);
        const std::string_view text(request_json);
        moxh5::detail::RequestRecord call;
        if (!ReadRequest(text, call)) {
            return Fail(MOXH5_ERROR_JSON, kFunction, "request_json: " + call.problem);
        }
        g_started = true;
        Json::Value answer(Json::objectValue);
        const std::string moduleName(module);
        const auto [registered, handled] =
            ShortEnough(text)
                ? moxh5::detail::ExecuteWithinLimits(moduleName, call.data, call.members, answer)
                : MoxModuleManager::GetInstance()->Execute(moduleName, call.data, answer);
        *answer_json = HandOut(answer);
        *outcome = (registered ? MOXH5_REGISTERED : 0u) | (handled ? MOXH5_HANDLED : 0u);
        return MOXH5_OK;
    });
}

int MOXH5_CALL moxh5_exist(moxh5_host* host, const char* request_json, int* exists) {
    constexpr char kFunction[] = "moxh5_exist";
    return Guarded(kFunction, [&] {
        if (!host) return NullArgument(kFunction, "host");
        if (!request_json) return NullArgument(kFunction, "request_json");
        if (!exists) return NullArgument(kFunction, "exists");
        const Inside inside(host);
        if (!inside.Current()) return NotCurrent(kFunction);
        const std::string_view text(request_json);
        moxh5::detail::RequestRecord call;
        if (!ReadRequest(text, call)) {
            return Fail(MOXH5_ERROR_JSON, kFunction, "request_json: " + call.problem);
        }
        g_started = true;
        if (ShortEnough(text)) {
            // Within the bounds already: Exist need not walk the payload.
            const moxh5::detail::DispatchedPayload read(call.data.payload, call.members);
            *exists = MoxModuleManager::GetInstance()->Exist(call.data) ? 1 : 0;
        } else {
            *exists = MoxModuleManager::GetInstance()->Exist(call.data) ? 1 : 0;
        }
        return MOXH5_OK;
    });
}

int MOXH5_CALL moxh5_answer_page(moxh5_host* host, const char* page_json, int success,
                                 const char* answer_json) {
    constexpr char kFunction[] = "moxh5_answer_page";
    return Guarded(kFunction, [&] {
        if (!host) return NullArgument(kFunction, "host");
        if (!page_json) return NullArgument(kFunction, "page_json");
        const Inside inside(host);
        if (!inside.Current()) return NotCurrent(kFunction);
        moxh5::detail::RequestRecord page;
        if (!ReadRequest(page_json, page, /*withPayload=*/false)) {
            return Fail(MOXH5_ERROR_JSON, kFunction, "page_json: " + page.problem);
        }
        Json::Value answer;
        if (answer_json && !ParseJson(answer_json, answer)) {
            return Fail(MOXH5_ERROR_JSON, kFunction, "answer_json is not JSON");
        }
        if (!answer.isObject() && !answer.isNull()) {
            return Fail(MOXH5_ERROR_JSON, kFunction, "answer_json must be an object or null");
        }
        const mox_h5_module_data& d = page.data;
        callBackToWebPage(d.isWorker, success != 0, d.webindex, d.mallcsid, d.callbackid,
                          page.workerid, answer);
        return MOXH5_OK;
    });
}

int MOXH5_CALL moxh5_reply(moxh5_reply_slot* reply, const char* result_json) {
    constexpr char kFunction[] = "moxh5_reply";
    return Guarded(kFunction, [&] {
        if (!reply) return NullArgument(kFunction, "reply");
        if (!result_json) return NullArgument(kFunction, "result_json");
        if (!ParseJson(result_json, reply->value)) {
            return Fail(MOXH5_ERROR_JSON, kFunction, "result_json is not JSON");
        }
        reply->given = true;
        return MOXH5_OK;
    });
}

int MOXH5_CALL moxh5_complete(moxh5_token* token, const char* result_json) {
    constexpr char kFunction[] = "moxh5_complete";
    return Guarded(kFunction, [&] {
        if (!token) return NullArgument(kFunction, "token");
        Json::Value result(Json::objectValue);
        // A refused result leaves the token with the host, which may complete
        // it again.
        if (result_json && (!ParseJson(result_json, result) || !result.isObject())) {
            return Fail(MOXH5_ERROR_JSON, kFunction, "result_json must be a JSON object");
        }
        const Json::Value& success = result["success"];
        if (!success.isNull() && !success.isBool()) {
            return Fail(MOXH5_ERROR_JSON, kFunction, "member \"success\" must be a boolean");
        }
        const Json::Value answer = result.get("answer", Json::Value(Json::objectValue));
        if (!answer.isObject() && !answer.isNull()) {
            return Fail(MOXH5_ERROR_JSON, kFunction,
                        "member \"answer\" must be an object or null");
        }
        const Inside inside(HandleOf(g_current.load()));
        if (!inside.Current()) {
            return Fail(MOXH5_ERROR_STATE, kFunction, "no live host: its tokens answer nothing");
        }
        using moxh5::detail::AnswerOutcome;
        const AnswerOutcome outcome = moxh5::detail::AnswerWork(
            moxh5::detail::TicketOf(token), success.isNull() || success.asBool(), answer);
        if (outcome == AnswerOutcome::kDeliver || outcome == AnswerOutcome::kPageClosed) {
            return MOXH5_OK;
        }
        return Fail(MOXH5_ERROR_STATE, kFunction,
                    "the token is not live (completed before, or of a destroyed host)");
    });
}

int MOXH5_CALL moxh5_page_closed(moxh5_host* host, int is_worker, int webindex,
                                 const char* workerid) {
    constexpr char kFunction[] = "moxh5_page_closed";
    return Guarded(kFunction, [&] {
        if (!host) return NullArgument(kFunction, "host");
        const Inside inside(host);
        if (!inside.Current()) return NotCurrent(kFunction);
        MoxModuleManager::GetInstance()->PageClosed(is_worker != 0, webindex,
                                                    workerid ? workerid : "");
        return MOXH5_OK;
    });
}

int MOXH5_CALL moxh5_set_page_policy(moxh5_host* host, const char* policy_json) {
    constexpr char kFunction[] = "moxh5_set_page_policy";
    return Guarded(kFunction, [&] {
        if (!host) return NullArgument(kFunction, "host");
        if (!policy_json) return NullArgument(kFunction, "policy_json");
        std::lock_guard<std::mutex> lock(g_lifecycle);
        if (HandleOf(g_current.load()) != host) return NotCurrent(kFunction);
        // Calls read the policy without a lock: it may change only before them.
        if (g_started) {
            return Fail(MOXH5_ERROR_STATE, kFunction,
                        "a start-up call: set the policy before the first moxh5_execute");
        }
        MoxPagePolicy policy;
        if (!ReadPolicy(policy_json, policy)) {
            return Fail(MOXH5_ERROR_JSON, kFunction,
                        "policy_json must be {\"unrestricted\": bool, \"shellSchemes\": "
                        "[string...], \"fileRoots\": [string...], \"allowedNetworkHosts\": "
                        "[string...], \"allowedShellFileNames\": [string...]}");
        }
        InstallPolicy(*g_live, std::move(policy));
        return MOXH5_OK;
    });
}

const char* MOXH5_CALL moxh5_last_error(void) { return t_lastError.c_str(); }

void MOXH5_CALL moxh5_free(void* buffer) { std::free(buffer); }

}  // extern "C"
