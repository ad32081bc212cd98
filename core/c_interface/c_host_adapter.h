// The C++ host interfaces served by a C host table (moxh5/moxh5_c.h): every
// operation becomes one call of the table's generic `operation` callback with
// its name and its arguments as JSON text; page answers, user-centre values,
// switches, log lines and reports go to their own callbacks.
//
// Threads: as the interfaces it implements; the adapter keeps no state but the
// table, and the token registry is locked.
#pragma once

#include <json/value.h>

#include <cstdint>
#include <memory>
#include <string>

#include "MoxLog.h"
#include "WorkbenchReport.h"
#include "moxh5/host_interfaces.h"
#include "moxh5/host_operations.h"
#include "moxh5/moxh5_c.h"
#include "moxh5/page_policy.h"

// What a callback answered through moxh5_reply.
struct moxh5_reply_slot {
    bool given = false;
    Json::Value value;
};

namespace moxh5::detail {

// An operation's arguments: a JSON object's text.
struct ArgsText {
    std::string text;
};

// A token is the number of the pending work it stands for (never a pointer
// the library dereferences), so a stale or repeated completion finds nothing.
inline moxh5_token* TokenOf(uint64_t ticket) {
    return reinterpret_cast<moxh5_token*>(static_cast<uintptr_t>(ticket));
}
inline uint64_t TicketOf(const moxh5_token* token) {
    return reinterpret_cast<uintptr_t>(token);
}

// The table's method_allowed as a page policy's method filter; empty when the
// table has none. It keeps copies of what it needs, not the table.
MoxMethodFilter MethodFilterOf(const moxh5_host_table& table);

class CHostAdapter final : public IH5ActionImplCallBack, public IUserCenter {
public:
    // `host` is the handle's number, which the host's tokens are held under.
    CHostAdapter(const moxh5_host_table& table, uint64_t host) : m_table(table), m_host(host) {}

    const moxh5_host_table& Table() const { return m_table; }
    bool HasActionInterface() const {
        return HasOperation() || m_table.page_answer || m_table.page_answer_to;
    }
    bool HasOperation() const { return m_table.operation || m_table.page_operation; }
    bool HasUserCenter() const { return m_table.user_value != nullptr; }
    // The switch `key`, asked of the table's config_switch.
    bool Switch(const std::string& key, const std::string& mallcsid,
                const MoxConfigValue& value) const;

    // Every operation of the catalogue, each one call of the table's
    // operation callback.
#define MOXH5_DECLARE_OPERATION(Name, Shape, Params, Args, Doc) \
    MOXH5_OPERATION_RETURNS_##Shape Name Params override;
    MOXH5_HOST_OPERATIONS(MOXH5_DECLARE_OPERATION, , )
#undef MOXH5_DECLARE_OPERATION
    void RenderJsCallback(const std::string& mallcsid, int webindex, const std::string& callId,
                          const std::string& data) override;
    void WorkerJsCallback(const std::string& mallcsid, int webindex, const std::string& callbackid,
                          const std::string& data) override;

    std::string GetMallId(const std::string& mallcsid) override;
    std::string GetCsId(const std::string& mallcsid) override;
    std::string GetCurrentMallCsId() override;
    std::string GetCurrentUid(const std::string& mallcsid) override;

private:
    // Asks the host; what it replied.
    moxh5_reply_slot Ask(const char* op, const ArgsText& args, moxh5_token* token = nullptr);
    // The replies of each shape of operation (moxh5/host_operations.h).
    bool ReplyAccepted(const char* op, const ArgsText& args);
    bool ReplyHostAnswers(const char* op, const ArgsText& args) { return ReplyAccepted(op, args); }
    // Work that finishes later: the work being handed over goes with the call
    // as its token; a refusal withdraws it (in the handler).
    bool ReplyLater(const char* op, const ArgsText& args);
    void ReplyWindow(const char* op, const ArgsText& args);
    bool ReplyVersion(const char* op, const ArgsText& args, Json::Value& result);
    std::string ReplyText(const char* op, const ArgsText& args);
    void ReplyNothing(const char* op, const ArgsText& args) { Ask(op, args); }
    std::string UserValue(const char* name, const std::string& mallcsid);
    void AnswerPage(int isWorker, const std::string& mallcsid, int webindex,
                    const std::string& callbackId, const std::string& data);

    moxh5_host_table m_table;
    uint64_t m_host;
};

// The log lines, to the table's log callback.
class CLogSinkAdapter final : public IMoxLogSink {
public:
    explicit CLogSinkAdapter(const moxh5_host_table& table) : m_table(table) {}
    int MaxPriority() const override;
    void Write(const MoxLogRecord& record) override;

private:
    moxh5_host_table m_table;
};

// The business reports, to the table's report callback as JSON.
class CReportSinkAdapter final : public IReportSink {
public:
    explicit CReportSinkAdapter(const moxh5_host_table& table) : m_table(table) {}
    void Send(const WorkbenchReportRecord& report) override;

private:
    moxh5_host_table m_table;
};

}  // namespace moxh5::detail
