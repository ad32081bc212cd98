// The C interface (moxh5/moxh5_c.h): texts in, texts out, over the same
// manager that C++ hosts drive. Every function stops exceptions here.
#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "core/detail/c_host_adapter.h"
#include "core/detail/diagnostics.h"
#include "core/detail/json_text.h"
#include "core/detail/no_throw.h"
#include "core/detail/pending_answers.h"
#include "moxh5/module_manager.h"
#include "moxh5/moxh5_c.h"

struct moxh5_host {
    explicit moxh5_host(const moxh5_host_table& table)
        : adapter(table),
          logSink(std::make_shared<moxh5::detail::CLogSinkAdapter>(table)),
          reportSink(std::make_shared<moxh5::detail::CReportSinkAdapter>(table)) {}

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

using moxh5::detail::CompactJson;
using moxh5::detail::ParseJson;
using moxh5::detail::ParseJsonMembers;

// The one host of the process (set and cleared by create and destroy only).
moxh5_host* g_host = nullptr;

// Runs the body of a C function: an exception becomes MOXH5_ERROR_INTERNAL and
// a log line, never an unwinding into the caller.
template <typename Body>
int Guarded(const char* function, Body&& body) noexcept {
    return moxh5::detail::CatchAll(function, int{MOXH5_ERROR_INTERNAL}, body);
}

// A copy of `text` in memory that moxh5_free releases.
char* HandOut(const std::string& text) {
    char* copy = static_cast<char*>(std::malloc(text.size() + 1));
    if (!copy) throw std::bad_alloc();
    std::memcpy(copy, text.c_str(), text.size() + 1);
    return copy;
}

// One call's record, read from a request or page text. It owns the worker id
// that the record points at.
struct ReadCall {
    mox_h5_module_data data;
    std::string workerid;
    bool hasWorkerid = false;
};

// Reads a member of the request; absent or null members keep their defaults,
// members of other names are ignored.
bool ReadMember(void* context, const std::string& key, Json::Value& value) {
    ReadCall& call = *static_cast<ReadCall*>(context);
    mox_h5_module_data& data = call.data;
    if (key == "payload") {
        data.payload.swap(value);
        return true;
    }
    if (value.isNull()) return true;
    if (key == "mallcsid" || key == "callbackid" || key == "workerid") {
        if (!value.isString()) return false;
        if (key == "workerid") call.hasWorkerid = true;
        (key == "mallcsid"     ? data.mallcsid
         : key == "callbackid" ? data.callbackid
                               : call.workerid) = value.asString();
    } else if (key == "isWorker") {
        if (!value.isBool()) return false;
        data.isWorker = value.asBool();
    } else if (key == "webindex") {
        if (!value.isInt()) return false;
        data.webindex = value.asInt();
    }
    return true;
}

bool ReadRequest(const char* text, ReadCall& call) {
    if (!ParseJsonMembers(text, &ReadMember, &call)) return false;
    call.data.workerid = call.hasWorkerid ? call.workerid.c_str() : nullptr;
    call.data.configCallback = MoxModuleManager::GetInstance()->GetConfigCallback();
    return true;
}

bool IsCurrent(const moxh5_host* host) { return host && host == g_host; }

// The configuration callable the manager keeps: it asks whichever host is
// current, so that a later host needs no second Init.
bool AskCurrentHost(const std::string& key, const std::string& mallcsid,
                    const MoxConfigValue& value) {
    const moxh5_host* host = g_host;
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

// {"unrestricted": bool, "shellSchemes": [...], "fileRoots": [...]}; a
// misspelt member is refused rather than left to loosen nothing silently.
bool ReadPolicy(const char* text, MoxPagePolicy& policy) {
    Json::Value value;
    if (!ParseJson(text, value) || !value.isObject()) return false;
    for (const std::string& name : value.getMemberNames()) {
        const Json::Value& member = value[name];
        if (name == "unrestricted" && member.isBool()) {
            policy.unrestricted = member.asBool();
        } else if (!(name == "shellSchemes" && ReadStrings(member, policy.shellSchemes)) &&
                   !(name == "fileRoots" && ReadStrings(member, policy.fileRoots))) {
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

}  // namespace

extern "C" {

unsigned MOXH5_CALL moxh5_abi_version(void) { return MOXH5_C_ABI_VERSION; }

int MOXH5_CALL moxh5_create(const moxh5_host_table* table, moxh5_host** host) {
    return Guarded("moxh5_create", [&] {
        if (!table || !host || table->size < offsetof(moxh5_host_table, log)) {
            return MOXH5_ERROR_ARGUMENT;
        }
        if (g_host) return MOXH5_ERROR_STATE;
        // Members the host's older table lacks stay null.
        moxh5_host_table copy;
        std::memset(&copy, 0, sizeof copy);
        std::memcpy(&copy, table, table->size < sizeof copy ? table->size : sizeof copy);
        auto created = std::make_unique<moxh5_host>(copy);
        Install(*created);
        g_host = created.release();
        *host = g_host;
        return MOXH5_OK;
    });
}

int MOXH5_CALL moxh5_destroy(moxh5_host* host) {
    return Guarded("moxh5_destroy", [&] {
        if (!IsCurrent(host)) return MOXH5_ERROR_STATE;
        MoxModuleManager* manager = MoxModuleManager::GetInstance();
        manager->SetCallback(nullptr);
        manager->SetUserCenter(nullptr);
        if (host->setPolicy) manager->SetPagePolicy(MoxPagePolicy());
        if (host->adapter.Table().log) CMoxLog::SetSink(host->previousLogSink);
        if (host->adapter.Table().report) WorkbenchReport::SetSink(host->previousReportSink);
        g_host = nullptr;
        delete host;
        return MOXH5_OK;
    });
}

int MOXH5_CALL moxh5_execute(moxh5_host* host, const char* module, const char* request_json,
                             unsigned* outcome, char** answer_json) {
    return Guarded("moxh5_execute", [&] {
        if (!module || !request_json || !outcome || !answer_json) return MOXH5_ERROR_ARGUMENT;
        if (!IsCurrent(host)) return MOXH5_ERROR_STATE;
        ReadCall call;
        if (!ReadRequest(request_json, call)) return MOXH5_ERROR_JSON;
        Json::Value answer(Json::objectValue);
        const auto [registered, handled] =
            MoxModuleManager::GetInstance()->Execute(module, call.data, answer);
        *answer_json = HandOut(CompactJson(answer));
        *outcome = (registered ? MOXH5_REGISTERED : 0u) | (handled ? MOXH5_HANDLED : 0u);
        return MOXH5_OK;
    });
}

int MOXH5_CALL moxh5_exist(moxh5_host* host, const char* request_json, int* exists) {
    return Guarded("moxh5_exist", [&] {
        if (!request_json || !exists) return MOXH5_ERROR_ARGUMENT;
        if (!IsCurrent(host)) return MOXH5_ERROR_STATE;
        ReadCall call;
        if (!ReadRequest(request_json, call)) return MOXH5_ERROR_JSON;
        *exists = MoxModuleManager::GetInstance()->Exist(call.data) ? 1 : 0;
        return MOXH5_OK;
    });
}

int MOXH5_CALL moxh5_answer_page(moxh5_host* host, const char* page_json, int success,
                                 const char* answer_json) {
    return Guarded("moxh5_answer_page", [&] {
        if (!page_json) return MOXH5_ERROR_ARGUMENT;
        if (!IsCurrent(host)) return MOXH5_ERROR_STATE;
        ReadCall page;
        Json::Value answer;
        if (!ReadRequest(page_json, page) || (answer_json && !ParseJson(answer_json, answer))) {
            return MOXH5_ERROR_JSON;
        }
        const mox_h5_module_data& d = page.data;
        callBackToWebPage(d.isWorker, success != 0, d.webindex, d.mallcsid, d.callbackid,
                          page.workerid, answer);
        return MOXH5_OK;
    });
}

int MOXH5_CALL moxh5_reply(moxh5_reply_slot* reply, const char* result_json) {
    return Guarded("moxh5_reply", [&] {
        if (!reply || !result_json) return MOXH5_ERROR_ARGUMENT;
        if (!ParseJson(result_json, reply->value)) return MOXH5_ERROR_JSON;
        reply->given = true;
        return MOXH5_OK;
    });
}

int MOXH5_CALL moxh5_complete(moxh5_token* token, const char* result_json) {
    return Guarded("moxh5_complete", [&] {
        if (!token) return MOXH5_ERROR_ARGUMENT;
        Json::Value result(Json::objectValue);
        if ((result_json && !ParseJson(result_json, result)) || !result.isObject() ||
            !(result["success"].isNull() || result["success"].isBool())) {
            // The token stays with the host, which may complete it again.
            return MOXH5_ERROR_JSON;
        }
        const Json::Value& success = result["success"];
        std::unique_ptr<moxh5_token> work = moxh5::detail::WithdrawToken(token);
        if (!work) return MOXH5_ERROR_STATE;
        if (work->pageClosed) {
            moxh5::detail::LogDroppedAnswer(moxh5::detail::kClosedPageAnswer, work->page);
            return MOXH5_OK;
        }
        const Json::Value answer = result.get("answer", Json::Value(Json::objectValue));
        const bool succeeded = success.isNull() || success.asBool();
        if (work->tipDone) {
            work->tipDone(succeeded, answer);
        } else if (work->done) {
            const MoxPageIdentity& p = work->page;
            work->done(p.isWorker, succeeded, p.webindex, p.mallcsid, p.callbackid, p.workerid,
                       answer);
        }
        return MOXH5_OK;
    });
}

int MOXH5_CALL moxh5_page_closed(moxh5_host* host, int is_worker, int webindex,
                                 const char* workerid) {
    return Guarded("moxh5_page_closed", [&] {
        if (!IsCurrent(host)) return MOXH5_ERROR_STATE;
        const std::string worker = workerid ? workerid : "";
        moxh5::detail::CloseTokensOf(is_worker != 0, webindex, worker);
        MoxModuleManager::GetInstance()->PageClosed(is_worker != 0, webindex, worker);
        return MOXH5_OK;
    });
}

int MOXH5_CALL moxh5_set_page_policy(moxh5_host* host, const char* policy_json) {
    return Guarded("moxh5_set_page_policy", [&] {
        if (!policy_json) return MOXH5_ERROR_ARGUMENT;
        if (!IsCurrent(host)) return MOXH5_ERROR_STATE;
        MoxPagePolicy policy;
        if (!ReadPolicy(policy_json, policy)) return MOXH5_ERROR_JSON;
        InstallPolicy(*host, std::move(policy));
        return MOXH5_OK;
    });
}

void MOXH5_CALL moxh5_free(void* buffer) { std::free(buffer); }

}  // extern "C"
