#include "tools/play/transcript_player.h"

#include <json/reader.h>

#include <initializer_list>
#include <optional>
#include <utility>
#include <vector>

#include "MoxLog.h"
#include "WorkbenchReport.h"
#include "moxh5/module_manager.h"
#include "moxh5/os_seams.h"
#include "moxh5/platform.h"

namespace moxh5::play {
namespace {

// The JSON types an input member may have.
enum class Kind { String, Bool, Int, Object, Any };

struct Field {
    const char* name;
    Kind kind;
};

const char* KindName(Kind kind) {
    switch (kind) {
        case Kind::String:
            return "a string";
        case Kind::Bool:
            return "a boolean";
        case Kind::Int:
            return "an integer";
        case Kind::Object:
            return "an object";
        case Kind::Any:
            return "any value";
    }
    return "";
}

bool HasKind(const Json::Value& value, Kind kind) {
    switch (kind) {
        case Kind::String:
            return value.isString();
        case Kind::Bool:
            return value.isBool();
        case Kind::Int:
            return value.isInt();
        case Kind::Object:
            return value.isObject();
        case Kind::Any:
            return true;
    }
    return false;
}

// Checks that `input` holds only the listed members, each of its kind.
// Returns an empty text when it does, else what is wrong.
std::string CheckFields(const Json::Value& input, std::initializer_list<Field> fields) {
    for (const std::string& name : input.getMemberNames()) {
        const Field* field = nullptr;
        for (const Field& f : fields) {
            if (name == f.name) field = &f;
        }
        if (!field) return "unknown key \"" + name + "\" for \"" + input["do"].asString() + "\"";
        if (!HasKind(input[name], field->kind)) {
            return "\"" + name + "\" must be " + KindName(field->kind);
        }
    }
    return {};
}

bool ParseLine(const std::string& line, Json::Value& value, std::string& error) {
    static const Json::CharReaderBuilder builder = [] {
        Json::CharReaderBuilder b;
        Json::CharReaderBuilder::strictMode(&b.settings_);
        return b;
    }();
    std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    return reader->parse(line.data(), line.data() + line.size(), &value, &error);
}

// The reader's message on one line.
std::string OneLine(std::string text) {
    for (char& c : text) {
        if (c == '\n' || c == '\r') c = ' ';
    }
    std::string out;
    for (char c : text) {
        if (c != ' ' || out.empty() || out.back() != ' ') out += c;
    }
    return out;
}

std::string Trimmed(const std::string& text) {
    const size_t first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos) return {};
    const size_t last = text.find_last_not_of(" \t\r\n");
    return text.substr(first, last - first + 1);
}

class EventLogSink final : public CMoxLogSinkBase {
public:
    EventLogSink(int threshold, TranscriptPlayer::EventSink emit)
        : CMoxLogSinkBase(threshold), m_emit(std::move(emit)) {}

protected:
    void WriteLocked(const MoxLogRecord& record) override {
        Json::Value event;
        event["event"] = "log";
        event["priority"] = record.priority;
        event["function"] = record.function;
        event["text"] = record.text;
        m_emit(event);
    }

private:
    TranscriptPlayer::EventSink m_emit;
};

class EventReportSink final : public CReportSinkBase {
public:
    explicit EventReportSink(TranscriptPlayer::EventSink emit) : m_emit(std::move(emit)) {}

protected:
    void SendLocked(const WorkbenchReportRecord& report) override {
        Json::Value event;
        event["event"] = "report";
        event["id"] = Json::Int64(report.id);
        event["tags"] = Json::Value(Json::objectValue);
        for (const auto& [key, value] : report.tags) event["tags"][key] = value;
        event["counters"] = Json::Value(Json::objectValue);
        for (const auto& [key, value] : report.counters)
            event["counters"][key] = Json::Int64(value);
        m_emit(event);
    }

private:
    TranscriptPlayer::EventSink m_emit;
};

// Installs the player's sinks and puts the previous ones back when released.
std::shared_ptr<void> InstallSinks(int logThreshold, const TranscriptPlayer::EventSink& emit) {
    struct Restore {
        std::shared_ptr<IMoxLogSink> log;
        std::shared_ptr<IReportSink> report;
        ~Restore() {
            CMoxLog::SetSink(log);
            WorkbenchReport::SetSink(report);
        }
    };
    auto restore = std::make_shared<Restore>();
    // Without --logs no line is wanted: a sink that keeps nothing above
    // priority 0 also makes the library skip building trace texts.
    restore->log = CMoxLog::SetSink(std::make_shared<EventLogSink>(logThreshold, emit));
    restore->report = WorkbenchReport::SetSink(std::make_shared<EventReportSink>(emit));
    return restore;
}

// The answers of one user-centre operation: a text for every session, or an
// object from mallcsid to text.
template <typename Setter>
void SetSessionAnswers(const Json::Value& answers, Setter set) {
    if (answers.isString()) {
        set("", answers.asString());
        return;
    }
    for (const std::string& session : answers.getMemberNames()) {
        set(session, answers[session].asString());
    }
}

// The strings of an array of strings, or nullopt for anything else.
std::optional<std::vector<std::string>> StringList(const Json::Value& value) {
    if (!value.isArray()) return std::nullopt;
    std::vector<std::string> list;
    for (const Json::Value& item : value) {
        if (!item.isString()) return std::nullopt;
        list.push_back(item.asString());
    }
    return list;
}

// The page policy a "pagePolicy" object describes: "unrestricted", and the
// lists "shellSchemes", "fileRoots", "allowedNetworkHosts" and
// "allowedShellFileNames" (defaults where absent, "unrestricted" the
// player's); the problem found otherwise.
std::string ReadPagePolicy(const Json::Value& given, bool unrestricted, MoxPagePolicy& policy) {
    const std::string problem = CheckFields(given, {{"unrestricted", Kind::Bool},
                                                    {"shellSchemes", Kind::Any},
                                                    {"fileRoots", Kind::Any},
                                                    {"allowedNetworkHosts", Kind::Any},
                                                    {"allowedShellFileNames", Kind::Any}});
    if (!problem.empty()) return "\"pagePolicy\": " + problem;
    policy.unrestricted = given.get("unrestricted", unrestricted).asBool();
    for (auto [name, list] : {std::pair{"shellSchemes", &policy.shellSchemes},
                              std::pair{"fileRoots", &policy.fileRoots},
                              std::pair{"allowedNetworkHosts", &policy.allowedNetworkHosts},
                              std::pair{"allowedShellFileNames", &policy.allowedShellFileNames}}) {
        if (!given.isMember(name)) continue;
        std::optional<std::vector<std::string>> strings = StringList(given[name]);
        if (!strings)
            return std::string("\"pagePolicy\" \"") + name + "\" must be an array of strings";
        *list = std::move(*strings);
    }
    return {};
}

bool IsSessionAnswers(const Json::Value& value) {
    if (value.isString()) return true;
    if (!value.isObject()) return false;
    for (const Json::Value& member : value) {
        if (!member.isString()) return false;
    }
    return true;
}

// The player never opens links or files for real: a shell-open becomes an
// event, answered with the scripted code (default 42, a success).
TranscriptPlayer* g_shellPlayer = nullptr;

uintptr_t RecordShellOpen(const std::wstring& target) {
    return g_shellPlayer ? g_shellPlayer->ShellOpened(target) : 2;
}

}  // namespace

uintptr_t TranscriptPlayer::ShellOpened(const std::wstring& target) {
    Json::Value event;
    event["event"] = "shell";
    event["verb"] = "open";
    event["target"] = platform::WideToUtf8(target);
    event["result"] = static_cast<Json::UInt64>(m_shellResult);
    m_emit(event);
    return m_shellResult;
}

TranscriptPlayer::TranscriptPlayer(PlayerOptions options, EventSink emit)
    : m_options(options), m_emit(std::move(emit)) {
    m_sinks = InstallSinks(m_options.logThreshold, m_emit);
    g_shellPlayer = this;
    // The library's own OS layer: on Windows the player's is another copy.
    MoxH5SetShellOpenHook(&RecordShellOpen);
    m_host.SetCallObserver([this](const test::HostCall& call) { EmitHostCall(call); });
    m_host.SetPendingObserver([this](size_t number, const test::PendingPageWork& work) {
        Json::Value event;
        event["event"] = "pending";
        event["number"] = static_cast<Json::UInt64>(number);
        event["op"] = work.op;
        m_emit(event);
    });
}

TranscriptPlayer::~TranscriptPlayer() { MoxModuleManager::GetInstance()->SetCallback(nullptr); }

void TranscriptPlayer::EmitHostCall(const test::HostCall& call) {
    Json::Value event;
    const bool render = call.op == "RenderJsCallback";
    if (render || call.op == "WorkerJsCallback") {
        // A page delivery: show the envelope as JSON, not as text.
        event["event"] = "page";
        event["page"] = render ? "render" : "worker";
        event["mallcsid"] = call.args["mallcsid"];
        event["webindex"] = call.args["webindex"];
        event[render ? "callId" : "callbackid"] = call.args[render ? "callId" : "callbackid"];
        std::string error;
        if (!ParseLine(call.args["data"].asString(), event["envelope"], error)) {
            event["envelope"] = call.args["data"];
        }
    } else {
        event["event"] = "host";
        event["op"] = call.op;
        event["args"] = call.args.isNull() ? Json::Value(Json::objectValue) : call.args;
    }
    m_emit(event);
}

bool TranscriptPlayer::Refuse(int number, const std::string& message) {
    Json::Value event;
    event["event"] = "error";
    event["line"] = number;
    event["message"] = message;
    m_emit(event);
    return false;
}

void TranscriptPlayer::StartLibrary() {
    if (m_started) return;
    m_started = true;
    MoxModuleManager* manager = CSingleton<MoxModuleManager>::GetInstance();
    manager->Init(m_userCenter ? &m_host : nullptr, nullptr,
                  [this](const std::string& key, const std::string&, const MoxConfigValue&) {
                      const auto it = m_switches.find(key);
                      return it != m_switches.end() && it->second;
                  });
    manager->SetCallback(m_actionInterface ? &m_host : nullptr);
    if (m_options.unrestricted) manager->SetPagePolicy(MoxPagePolicy::Unrestricted());
    manager->Create();
}

bool TranscriptPlayer::PlayLine(const std::string& line, int number) {
    const std::string text = Trimmed(line);
    if (text.empty() || text[0] == '#') return true;
    Json::Value input;
    std::string error;
    if (!ParseLine(text, input, error))
        return Refuse(number, "not JSON: " + OneLine(Trimmed(error)));
    return Play(input, number);
}

bool TranscriptPlayer::Play(const Json::Value& input, int number) {
    if (!input.isObject()) return Refuse(number, "a line must be a JSON object");
    const Json::Value& kind = input["do"];
    if (!kind.isString())
        return Refuse(number, "\"do\" must be one of call, exist, host, complete, pageClosed");
    const std::string what = kind.asString();
    if (what == "call") return Call(input, number);
    if (what == "exist") return Exist(input, number);
    if (what == "host") return Host(input, number);
    if (what == "complete") return Complete(input, number);
    if (what == "pageClosed") return PageClosed(input, number);
    return Refuse(number, "\"do\" must be one of call, exist, host, complete, pageClosed, not \"" +
                              what + "\"");
}

bool TranscriptPlayer::Call(const Json::Value& input, int number) {
    const std::string problem = CheckFields(input, {{"do", Kind::String},
                                                    {"module", Kind::String},
                                                    {"payload", Kind::Any},
                                                    {"mallcsid", Kind::String},
                                                    {"isWorker", Kind::Bool},
                                                    {"webindex", Kind::Int},
                                                    {"callbackid", Kind::String},
                                                    {"workerid", Kind::String}});
    if (!problem.empty()) return Refuse(number, problem);
    if (!input.isMember("module")) return Refuse(number, "\"call\" needs \"module\"");
    StartLibrary();

    mox_h5_module_data request;
    request.mallcsid = input.get("mallcsid", "mall-1|cs-1").asString();
    request.payload = input.get("payload", Json::Value(Json::objectValue));
    request.isWorker = input.get("isWorker", false).asBool();
    request.webindex = input.get("webindex", 0).asInt();
    request.callbackid = input.get("callbackid", "").asString();
    const std::string workerid = input.get("workerid", "").asString();
    request.workerid = input.isMember("workerid") ? workerid.c_str() : nullptr;
    request.configCallback = MoxModuleManager::GetInstance()->GetConfigCallback();

    Json::Value answer(Json::objectValue);
    const std::string module = input["module"].asString();
    const auto [registered, handled] =
        MoxModuleManager::GetInstance()->Execute(module, request, answer);

    Json::Value event;
    event["event"] = "result";
    event["line"] = number;
    event["module"] = module;
    if (request.payload.isObject() && request.payload["method"].isString()) {
        event["method"] = request.payload["method"];
    }
    event["registered"] = registered;
    event["handled"] = handled;
    event["answer"] = answer;
    m_emit(event);

    // As a host does after every call: the unified callback decides from the
    // answer's flags whether the page hears anything now.
    if (registered) {
        callBackToWebPage(request.isWorker, handled, request.webindex, request.mallcsid,
                          request.callbackid, workerid, answer);
    }
    return true;
}

bool TranscriptPlayer::Exist(const Json::Value& input, int number) {
    const std::string problem =
        CheckFields(input, {{"do", Kind::String}, {"name", Kind::String}, {"payload", Kind::Any}});
    if (!problem.empty()) return Refuse(number, problem);
    if (input.isMember("name") == input.isMember("payload")) {
        return Refuse(number, "\"exist\" needs either \"name\" or \"payload\"");
    }
    StartLibrary();
    mox_h5_module_data request;
    request.mallcsid = "mall-1|cs-1";
    if (input.isMember("name")) {
        request.payload["method"] = "canIUse";
        request.payload["params"]["name"] = input["name"];
    } else {
        request.payload = input["payload"];
    }
    Json::Value event;
    event["event"] = "exist";
    event["line"] = number;
    if (input.isMember("name")) event["name"] = input["name"];
    event["answer"] = MoxModuleManager::GetInstance()->Exist(request);
    m_emit(event);
    return true;
}

bool TranscriptPlayer::Host(const Json::Value& input, int number) {
    const std::string problem = CheckFields(input, {{"do", Kind::String},
                                                    {"actionInterface", Kind::Bool},
                                                    {"userCenter", Kind::Bool},
                                                    {"results", Kind::Object},
                                                    {"switches", Kind::Object},
                                                    {"mallId", Kind::Any},
                                                    {"csId", Kind::Any},
                                                    {"currentUid", Kind::Any},
                                                    {"currentMallCsId", Kind::String},
                                                    {"pluginVersion", Kind::Any},
                                                    {"shellResult", Kind::Int},
                                                    {"clientLinkPrefix", Kind::String},
                                                    {"pagePolicy", Kind::Object}});
    if (!problem.empty()) return Refuse(number, problem);
    MoxPagePolicy policy;
    if (input.isMember("pagePolicy")) {
        const std::string policyProblem =
            ReadPagePolicy(input["pagePolicy"], m_options.unrestricted, policy);
        if (!policyProblem.empty()) return Refuse(number, policyProblem);
    }
    for (const char* name : {"results", "switches"}) {
        for (const Json::Value& value : input.get(name, Json::Value(Json::objectValue))) {
            if (!value.isBool())
                return Refuse(number, std::string("\"") + name + "\" values must be booleans");
        }
    }
    for (const char* name : {"mallId", "csId", "currentUid"}) {
        if (input.isMember(name) && !IsSessionAnswers(input[name])) {
            return Refuse(number, std::string("\"") + name +
                                      "\" must be a string or an object of strings by mallcsid");
        }
    }
    if (input.isMember("userCenter")) {
        m_userCenter = input["userCenter"].asBool();
        if (m_started)
            MoxModuleManager::GetInstance()->SetUserCenter(m_userCenter ? &m_host : nullptr);
    }
    if (input.isMember("actionInterface")) {
        m_actionInterface = input["actionInterface"].asBool();
        if (m_started)
            MoxModuleManager::GetInstance()->SetCallback(m_actionInterface ? &m_host : nullptr);
    }
    const Json::Value& results = input["results"];
    for (const std::string& op : results.getMemberNames())
        m_host.SetResult(op, results[op].asBool());
    const Json::Value& switches = input["switches"];
    for (const std::string& key : switches.getMemberNames())
        m_switches[key] = switches[key].asBool();
    SetSessionAnswers(input["mallId"], [this](const std::string& s, std::string v) {
        m_host.SetMallId(s, std::move(v));
    });
    SetSessionAnswers(input["csId"], [this](const std::string& s, std::string v) {
        m_host.SetCsId(s, std::move(v));
    });
    SetSessionAnswers(input["currentUid"], [this](const std::string& s, std::string v) {
        m_host.SetCurrentUid(s, std::move(v));
    });
    if (input.isMember("currentMallCsId"))
        m_host.SetCurrentMallCsId(input["currentMallCsId"].asString());
    if (input.isMember("pluginVersion")) m_host.SetPluginVersionAnswer(input["pluginVersion"]);
    if (input.isMember("clientLinkPrefix"))
        m_host.SetClientLinkPrefix(input["clientLinkPrefix"].asString());
    if (input.isMember("shellResult")) {
        const int code = input["shellResult"].asInt();
        if (code < 0) return Refuse(number, "\"shellResult\" must not be negative");
        m_shellResult = static_cast<uintptr_t>(code);
    }
    if (input.isMember("pagePolicy"))
        MoxModuleManager::GetInstance()->SetPagePolicy(std::move(policy));
    return true;
}

bool TranscriptPlayer::Complete(const Json::Value& input, int number) {
    const std::string problem = CheckFields(input, {{"do", Kind::String},
                                                    {"pending", Kind::Int},
                                                    {"success", Kind::Bool},
                                                    {"answer", Kind::Any}});
    if (!problem.empty()) return Refuse(number, problem);
    if (!input.isMember("pending")) return Refuse(number, "\"complete\" needs \"pending\"");
    const int pending = input["pending"].asInt();
    if (pending <= 0 ||
        !m_host.CompletePending(static_cast<size_t>(pending), input.get("success", true).asBool(),
                                input.get("answer", Json::Value(Json::objectValue)))) {
        return Refuse(number, "no unfinished pending operation " + std::to_string(pending));
    }
    return true;
}

bool TranscriptPlayer::PageClosed(const Json::Value& input, int number) {
    const std::string problem = CheckFields(input, {{"do", Kind::String},
                                                    {"isWorker", Kind::Bool},
                                                    {"webindex", Kind::Int},
                                                    {"workerid", Kind::String}});
    if (!problem.empty()) return Refuse(number, problem);
    MoxModuleManager::GetInstance()->PageClosed(input.get("isWorker", false).asBool(),
                                                input.get("webindex", 0).asInt(),
                                                input.get("workerid", "").asString());
    return true;
}

}  // namespace moxh5::play
