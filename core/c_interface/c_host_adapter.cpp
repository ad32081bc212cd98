#include "core/c_interface/c_host_adapter.h"

#include <charconv>
#include <type_traits>
#include <utility>

#include "json_text.h"
#include "core/delivery/pending_work.h"
#include "core/delivery/serving_page.h"
#include "moxh5/platform.h"

namespace moxh5::detail {
namespace {

// An operation's arguments are written as JSON text straight from the C++
// values, without building a JSON value first: this is most of the cost of an
// operation call. Each argument type of the catalogue takes exactly the C++
// types listed here, so a catalogue entry whose type disagrees with the
// interface's parameter does not compile.
namespace arg {
struct String {};
struct Integer {};
struct Boolean {};
struct Json {};
struct Strings {};
struct StringOrNull {};
struct Request {};
struct Page {};
struct EasyWindow {};
}  // namespace arg

class ArgsWriter {
public:
    ArgsWriter() {
        m_args.text.reserve(256);
        m_args.text = "{";
    }
    ArgsText Close() {
        m_args.text += '}';
        return std::move(m_args);
    }

    template <typename Text, std::enable_if_t<std::is_same_v<Text, std::string> ||
                                                  std::is_same_v<Text, std::string_view>,
                                              int> = 0>
    void Put(const char* name, arg::String, const Text& value) {
        Name(name);
        AppendJsonString(value, m_args.text);
    }
    template <typename Integer, std::enable_if_t<std::is_integral_v<Integer> &&
                                                     !std::is_same_v<Integer, bool>,
                                                 int> = 0>
    void Put(const char* name, arg::Integer, Integer value) {
        Name(name);
        char digits[24];
        m_args.text.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
    }
    template <typename Bool, std::enable_if_t<std::is_same_v<Bool, bool>, int> = 0>
    void Put(const char* name, arg::Boolean, Bool value) {
        Name(name);
        m_args.text += value ? "true" : "false";
    }
    void Put(const char* name, arg::Json, const Json::Value& value) {
        Name(name);
        AppendJson(value, m_args.text);
    }
    void Put(const char* name, arg::Strings, const std::vector<std::string>& values) {
        Name(name);
        m_args.text += '[';
        for (size_t i = 0; i < values.size(); ++i) {
            if (i) m_args.text += ',';
            AppendJsonString(values[i], m_args.text);
        }
        m_args.text += ']';
    }
    void Put(const char* name, arg::StringOrNull, const char* value) {
        Name(name);
        if (value) {
            AppendJsonString(value, m_args.text);
        } else {
            m_args.text += "null";
        }
    }
    void Put(const char* name, arg::Request, const mox_h5_module_data* request) {
        Name(name);
        if (!request) {
            m_args.text += "null";
            return;
        }
        ArgsWriter out;
        out.Put("mallcsid", arg::String(), request->mallcsid);
        out.Put("payload", arg::Json(), request->payload);
        out.Put("isWorker", arg::Boolean(), request->isWorker);
        out.Put("webindex", arg::Integer(), request->webindex);
        out.Put("callbackid", arg::String(), request->callbackid);
        out.Put("workerid", arg::StringOrNull(), request->workerid);
        m_args.text += out.Close().text;
    }
    void Put(const char* name, arg::Page, const MoxPageIdentity& page) {
        Name(name);
        m_args.text += PageText(page).text;
    }
    void Put(const char* name, arg::EasyWindow, const EasyWndParam& param) {
        Name(name);
        ArgsWriter frequency, left, right, out;
        frequency.Put("interval", arg::Integer(), param.frequency.interval);
        frequency.Put("dimensions", arg::String(), param.frequency.dimensions);
        left.Put("text", arg::String(), param.left.text);
        left.Put("action", arg::String(), param.left.action);
        right.Put("text", arg::String(), param.right.text);
        right.Put("action", arg::String(), param.right.action);
        out.Put("title", arg::String(), param.title);
        out.Put("content", arg::String(), param.content);
        out.Put("scene", arg::String(), param.scene);
        out.Put("frequency", arg::Json(), frequency.Close());
        out.Put("left", arg::Json(), left.Close());
        out.Put("right", arg::Json(), right.Close());
        m_args.text += out.Close().text;
    }
    // An object written before.
    void Put(const char* name, arg::Json, const ArgsText& object) {
        Name(name);
        m_args.text += object.text;
    }

    static ArgsText PageText(const MoxPageIdentity& page) {
        ArgsWriter out;
        out.Put("isWorker", arg::Boolean(), page.isWorker);
        out.Put("webindex", arg::Integer(), page.webindex);
        out.Put("mallcsid", arg::String(), page.mallcsid);
        out.Put("callbackid", arg::String(), page.callbackid);
        out.Put("workerid", arg::String(), page.workerid);
        return out.Close();
    }

private:
    void Name(const char* name) {
        if (m_args.text.size() > 1) m_args.text += ',';
        AppendJsonString(name, m_args.text);
        m_args.text += ':';
    }

    ArgsText m_args;
};

// The page this thread serves, as page_json ("null": none).
std::string ServedPageText() {
    MoxPageIdentity page;
    if (!ServedPage(page)) return "null";
    return ArgsWriter::PageText(page).text;
}

}  // namespace

MoxMethodFilter MethodFilterOf(const moxh5_host_table& table) {
    if (!table.method_allowed) return MoxMethodFilter();
    return [allowed = table.method_allowed, user = table.user](
               const MoxCallingPage& page, std::string_view module, std::string_view method) {
        ArgsWriter pageText;
        pageText.Put("isWorker", arg::Boolean(), page.isWorker);
        pageText.Put("webindex", arg::Integer(), page.webindex);
        pageText.Put("mallcsid", arg::String(), page.mallcsid);
        pageText.Put("workerid", arg::String(), page.workerid);
        return allowed(user, pageText.Close().text.c_str(), std::string(module).c_str(),
                       std::string(method).c_str()) != 0;
    };
}

bool CHostAdapter::Switch(const std::string& key, const std::string& mallcsid,
                          const MoxConfigValue& value) const {
    if (!m_table.config_switch) return false;
    const Json::Value defaultValue = std::visit(
        [](const auto& v) {
            using T = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<T, long>)
                return Json::Value(Json::Int64(v));
            else
                return Json::Value(v);
        },
        value);
    const std::string text = CompactJson(defaultValue);
    return m_table.config_switch(m_table.user, key.c_str(), mallcsid.c_str(), text.c_str()) != 0;
}

moxh5_reply_slot CHostAdapter::Ask(const char* op, const ArgsText& args, moxh5_token* token) {
    moxh5_reply_slot reply;
    if (m_table.page_operation) {
        const std::string page = ServedPageText();
        m_table.page_operation(m_table.user, op, page.c_str(), args.text.c_str(), token, &reply);
    } else if (m_table.operation) {
        m_table.operation(m_table.user, op, args.text.c_str(), token, &reply);
    }
    return reply;
}

bool CHostAdapter::ReplyAccepted(const char* op, const ArgsText& args) {
    const Json::Value reply = Ask(op, args).value;
    return reply.isBool() && reply.asBool();
}

bool CHostAdapter::ReplyLater(const char* op, const ArgsText& args) {
    const uint64_t ticket = WorkBeingHandedOver();
    if (!ticket || !HasOperation() || !HoldWork(ticket, m_host)) return false;
    const Json::Value reply = Ask(op, args, TokenOf(ticket)).value;
    return reply.isBool() && reply.asBool();
}

void CHostAdapter::ReplyWindow(const char* op, const ArgsText& args) {
    // The window always answers later: the token stays with the host; with no
    // host to take it, the page hears at once that there is no window.
    const uint64_t ticket = WorkBeingHandedOver();
    if (!HasOperation() || !HoldWork(ticket, m_host)) {
        AnswerWork(ticket, false, Json::Value());
        return;
    }
    Ask(op, args, TokenOf(ticket));
}

bool CHostAdapter::ReplyVersion(const char* op, const ArgsText& args, Json::Value& result) {
    moxh5_reply_slot reply = Ask(op, args);
    if (!reply.given || (reply.value.isBool() && !reply.value.asBool())) return false;
    result = std::move(reply.value);
    return true;
}

std::string CHostAdapter::ReplyText(const char* op, const ArgsText& args) {
    const Json::Value reply = Ask(op, args).value;
    return reply.isString() ? reply.asString() : std::string();
}

std::string CHostAdapter::UserValue(const char* name, const std::string& mallcsid) {
    moxh5_reply_slot reply;
    if (m_table.user_value) m_table.user_value(m_table.user, name, mallcsid.c_str(), &reply);
    return reply.value.isString() ? reply.value.asString() : std::string();
}

void CHostAdapter::AnswerPage(int isWorker, const std::string& mallcsid, int webindex,
                              const std::string& callbackId, const std::string& data) {
    if (m_table.page_answer_to) {
        const std::string page = ServedPageText();
        m_table.page_answer_to(m_table.user, page.c_str(), data.c_str());
    } else if (m_table.page_answer) {
        m_table.page_answer(m_table.user, isWorker, mallcsid.c_str(), webindex,
                            callbackId.c_str(), data.c_str());
    }
}

// Each operation writes its arguments as the catalogue lists them and reads
// the reply of its shape. Parameters that are no arguments (`done`, and
// `result`, which the Version reply fills) stay unnamed in the body.
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-parameter"
#elif defined(_MSC_VER)
#pragma warning(push)
#pragma warning(disable : 4100)
#endif
#define MOXH5_PUT_ARG(name, Type, doc) args.Put(#name, arg::Type(), name);
#define MOXH5_PUT_ARG_VALUE(name, Type, value, doc) args.Put(#name, arg::Type(), value);
#define MOXH5_REPLY_ARGS_Version , result
#define MOXH5_DEFINE_OPERATION(Name, Shape, Params, Args, Doc)                     \
    MOXH5_OPERATION_RETURNS_##Shape CHostAdapter::Name Params {                    \
        ArgsWriter args;                                                           \
        Args return Reply##Shape(#Name, args.Close() MOXH5_REPLY_ARGS_##Shape); \
    }
#define MOXH5_REPLY_ARGS_Accepted
#define MOXH5_REPLY_ARGS_HostAnswers
#define MOXH5_REPLY_ARGS_Later
#define MOXH5_REPLY_ARGS_Window
#define MOXH5_REPLY_ARGS_Text
#define MOXH5_REPLY_ARGS_Nothing
MOXH5_HOST_OPERATIONS(MOXH5_DEFINE_OPERATION, MOXH5_PUT_ARG, MOXH5_PUT_ARG_VALUE)
#undef MOXH5_DEFINE_OPERATION
#undef MOXH5_PUT_ARG
#undef MOXH5_PUT_ARG_VALUE
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#elif defined(_MSC_VER)
#pragma warning(pop)
#endif

void CHostAdapter::RenderJsCallback(const std::string& mallcsid, int webindex,
                                    const std::string& callId, const std::string& data) {
    AnswerPage(0, mallcsid, webindex, callId, data);
}

void CHostAdapter::WorkerJsCallback(const std::string& mallcsid, int webindex,
                                    const std::string& callbackid, const std::string& data) {
    AnswerPage(1, mallcsid, webindex, callbackid, data);
}

std::string CHostAdapter::GetMallId(const std::string& mallcsid) {
    return UserValue("GetMallId", mallcsid);
}
std::string CHostAdapter::GetCsId(const std::string& mallcsid) {
    return UserValue("GetCsId", mallcsid);
}
std::string CHostAdapter::GetCurrentUid(const std::string& mallcsid) {
    return UserValue("GetCurrentUid", mallcsid);
}
std::string CHostAdapter::GetCurrentMallCsId() { return UserValue("GetCurrentMallCsId", ""); }

int CLogSinkAdapter::MaxPriority() const {
    return m_table.log_priority > 0 ? m_table.log_priority : LOG_PRIORITY_WARNING;
}

void CLogSinkAdapter::Write(const MoxLogRecord& record) {
    m_table.log(m_table.user, record.priority, record.file.c_str(), record.line,
                record.function.c_str(), record.text.c_str());
}

void CReportSinkAdapter::Send(const WorkbenchReportRecord& report) {
    Json::Value tags(Json::objectValue);
    Json::Value counters(Json::objectValue);
    for (const auto& [key, tag] : report.tags) tags[key] = tag;
    for (const auto& [key, counter] : report.counters) counters[key] = Json::Int64(counter);
    ArgsWriter text;
    text.Put("id", arg::Integer(), report.id);
    text.Put("tags", arg::Json(), tags);
    text.Put("counters", arg::Json(), counters);
    m_table.report(m_table.user, text.Close().text.c_str());
}

}  // namespace moxh5::detail
