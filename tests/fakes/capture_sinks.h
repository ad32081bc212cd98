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
    void Clear() {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_records.clear();
    }

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

// Installs a capturing log sink for the lifetime of the object.
class ScopedLogCapture {
public:
    explicit ScopedLogCapture(int maxPriority = LOG_PRIORITY_DEBUG)
        : m_sink(std::make_shared<CaptureLogSink>(maxPriority)),
          m_previous(CMoxLog::SetSink(m_sink)) {}
    ~ScopedLogCapture() { CMoxLog::SetSink(m_previous); }
    ScopedLogCapture(const ScopedLogCapture&) = delete;
    ScopedLogCapture& operator=(const ScopedLogCapture&) = delete;

    CaptureLogSink& operator*() const { return *m_sink; }
    CaptureLogSink* operator->() const { return m_sink.get(); }

private:
    std::shared_ptr<CaptureLogSink> m_sink;
    std::shared_ptr<IMoxLogSink> m_previous;
};

// Installs a capturing report sink for the lifetime of the object.
class ScopedReportCapture {
public:
    ScopedReportCapture()
        : m_sink(std::make_shared<CaptureReportSink>()),
          m_previous(WorkbenchReport::SetSink(m_sink)) {}
    ~ScopedReportCapture() { WorkbenchReport::SetSink(m_previous); }
    ScopedReportCapture(const ScopedReportCapture&) = delete;
    ScopedReportCapture& operator=(const ScopedReportCapture&) = delete;

    CaptureReportSink* operator->() const { return m_sink.get(); }

private:
    std::shared_ptr<CaptureReportSink> m_sink;
    std::shared_ptr<IReportSink> m_previous;
};

}  // namespace moxh5::test
