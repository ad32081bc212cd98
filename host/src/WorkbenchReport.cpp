#include "WorkbenchReport.h"

#include <atomic>

#include "MoxLog.h"

namespace {

// Without a report backend, reports become debug log lines so that they can
// still be seen while developing.
class LogReportSink final : public IReportSink {
public:
    void Send(const WorkbenchReportRecord& report) override {
        if (!CMoxLog::IsEnabled(LOG_PRIORITY_DEBUG)) return;
        std::string text = "report " + std::to_string(report.id);
        for (const auto& [key, value] : report.tags) text += " " + key + "=" + value;
        for (const auto& [key, value] : report.counters) {
            text += " " + key + "=" + std::to_string(value);
        }
        CMoxLog::MoxLog(LOG_PRIORITY_DEBUG, __FILE__, __LINE__, "WorkbenchReport::Report",
                        text.c_str());
    }
};

// Never destroyed: threads of the process may report while it exits.
std::shared_ptr<IReportSink>& Slot() {
    static auto& sink = *new std::shared_ptr<IReportSink>(std::make_shared<LogReportSink>());
    return sink;
}

}  // namespace

IReportSink::~IReportSink() = default;

void CReportSinkBase::Send(const WorkbenchReportRecord& report) {
    std::lock_guard<std::mutex> lock(m_mutex);
    SendLocked(report);
}

void WorkbenchReport::Report() const {
    if (std::shared_ptr<IReportSink> sink = std::atomic_load(&Slot())) sink->Send(m_record);
}

std::shared_ptr<IReportSink> WorkbenchReport::SetSink(std::shared_ptr<IReportSink> sink) {
    if (!sink) sink = std::make_shared<LogReportSink>();
    return std::atomic_exchange(&Slot(), std::move(sink));
}
