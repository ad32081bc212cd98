// Host business-report library (stand-in with the calls of the host's
// MOXBizReport).
//
// A report is an event id with string tags and integer counters, built on the
// stack and sent with Report(). Reports go to one process-wide sink; the
// default sink writes each report as a debug (700) log line. Threads: as for
// the log library, any thread, sinks serialised by CReportSinkBase.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "MoxHostExport.h"

struct WorkbenchReportRecord {
    int64_t id = 0;
    std::map<std::string, std::string> tags;
    std::map<std::string, int64_t> counters;
};

class MOXHOST_API IReportSink {
public:
    virtual ~IReportSink();
    virtual void Send(const WorkbenchReportRecord& report) = 0;
};

class MOXHOST_API CReportSinkBase : public IReportSink {
public:
    void Send(const WorkbenchReportRecord& report) final;

protected:
    virtual void SendLocked(const WorkbenchReportRecord& report) = 0;

private:
    std::mutex m_mutex;
};

class MOXHOST_API WorkbenchReport {
public:
    explicit WorkbenchReport(int64_t id) { m_record.id = id; }

    void SetTags(std::map<std::string, std::string> tags) { m_record.tags = std::move(tags); }
    void SetTag(const std::string& key, const std::string& value) { m_record.tags[key] = value; }
    void SetCounter(const std::string& key, int64_t value) { m_record.counters[key] = value; }
    const WorkbenchReportRecord& Record() const { return m_record; }

    // Hands the report to the installed sink.
    void Report() const;

    // Installs the process-wide report sink; null restores the default.
    // Returns the sink that was installed before, once no report uses it any
    // more (so not from inside a sink's Send). Reports take no lock to reach
    // the sink.
    static std::shared_ptr<IReportSink> SetSink(std::shared_ptr<IReportSink> sink);

private:
    WorkbenchReportRecord m_record;
};
