// Log and report sinks that keep what they receive, for assertions. Install
// them with the scoped installers, which restore the previous sink.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "MoxLog.h"
#include "WorkbenchReport.h"

namespace moxh5::test {

class CaptureLogSink final : public CMoxLogSinkBase {
public:
    explicit CaptureLogSink(int maxPriority = LOG_PRIORITY_DEBUG) : CMoxLogSinkBase(maxPriority) {}

    std::vector<MoxLogRecord> Records() const {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_records;
    }
    // Records whose text contains `fragment`.
    std::vector<MoxLogRecord> Matching(const std::string& fragment) const {
        std::vector<MoxLogRecord> found;
        for (const MoxLogRecord& r : Records()) {
            if (r.text.find(fragment) != std::string::npos) found.push_back(r);
        }
        return found;
    }
    bool Contains(const std::string& fragment) const { return !Matching(fragment).empty(); }

protected:
    void WriteLocked(const MoxLogRecord& record) override {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_records.push_back(record);
    }

private:
    mutable std::mutex m_mutex;
    std::vector<MoxLogRecord> m_records;
};

class CaptureReportSink final : public CReportSinkBase {
public:
    std::vector<WorkbenchReportRecord> Reports() const {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_reports;
    }

protected:
    void SendLocked(const WorkbenchReportRecord& report) override {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_reports.push_back(report);
    }

private:
    mutable std::mutex m_mutex;
    std::vector<WorkbenchReportRecord> m_reports;
};

// Installs a capturing sink through `Owner::SetSink` for the lifetime of the
// object.
template <typename Sink, typename Owner>
class ScopedCapture {
public:
    template <typename... Args>
    explicit ScopedCapture(Args... args)
        : m_sink(std::make_shared<Sink>(args...)), m_previous(Owner::SetSink(m_sink)) {}
    ~ScopedCapture() { Owner::SetSink(m_previous); }
    ScopedCapture(const ScopedCapture&) = delete;
    ScopedCapture& operator=(const ScopedCapture&) = delete;

    Sink* operator->() const { return m_sink.get(); }

private:
    std::shared_ptr<Sink> m_sink;
    decltype(Owner::SetSink(nullptr)) m_previous;
};

using ScopedLogCapture = ScopedCapture<CaptureLogSink, CMoxLog>;
using ScopedReportCapture = ScopedCapture<CaptureReportSink, WorkbenchReport>;

}  // namespace moxh5::test
