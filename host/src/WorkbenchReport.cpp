#include "WorkbenchReport.h"

#include <atomic>
#include <thread>

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

// The installed sink, read by every report without a lock. It sits in one of
// two holders; a report counts itself in as a user of the current holder and
// checks that the holder is still current before it uses the sink. SetSink
// fills the other holder, makes it current and waits until the users of the
// one it replaced are gone before it hands that sink back, so a sink is never
// released while a report uses it. (The two steps on each side are
// sequentially consistent: a report either sees the new holder and tries
// again, or SetSink sees it counted and waits.)
struct Holder {
    std::shared_ptr<IReportSink> sink;
    std::atomic<long> users{0};
};

struct SinkSlot {
    SinkSlot() {
        holders[0].sink = std::make_shared<LogReportSink>();
        current.store(&holders[0]);
    }
    std::mutex setting;  // one SetSink at a time
    Holder holders[2];
    std::atomic<Holder*> current{nullptr};
};

// Never destroyed: threads of the process may report while it exits.
SinkSlot& Slot() {
    static SinkSlot& slot = *new SinkSlot;
    return slot;
}

class Use {
public:
    explicit Use(Holder& holder) : m_holder(holder) {}
    ~Use() { m_holder.users.fetch_sub(1); }
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;

private:
    Holder& m_holder;
};

}  // namespace

IReportSink::~IReportSink() = default;

void CReportSinkBase::Send(const WorkbenchReportRecord& report) {
    std::lock_guard<std::mutex> lock(m_mutex);
    SendLocked(report);
}

void WorkbenchReport::Report() const {
    SinkSlot& slot = Slot();
    for (;;) {
        Holder* holder = slot.current.load();
        holder->users.fetch_add(1);
        const Use use(*holder);
        if (slot.current.load() == holder) {
            if (IReportSink* sink = holder->sink.get()) sink->Send(m_record);
            return;
        }
    }
}

std::shared_ptr<IReportSink> WorkbenchReport::SetSink(std::shared_ptr<IReportSink> sink) {
    if (!sink) sink = std::make_shared<LogReportSink>();
    SinkSlot& slot = Slot();
    std::lock_guard<std::mutex> lock(slot.setting);
    Holder* replaced = slot.current.load();
    Holder* next = replaced == &slot.holders[0] ? &slot.holders[1] : &slot.holders[0];
    // Reports still counting themselves in `next` (from before the last swap)
    // find it not current and never read its sink.
    next->sink = std::move(sink);
    slot.current.store(next);
    while (replaced->users.load() != 0) std::this_thread::yield();
    return std::move(replaced->sink);
}
