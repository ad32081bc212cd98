#include "MoxLog.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <vector>

#include "moxh5/platform.h"

namespace {

class StderrSink final : public CMoxLogSinkBase {
public:
    StderrSink() : CMoxLogSinkBase(LOG_PRIORITY_WARNING) {}

protected:
    void WriteLocked(const MoxLogRecord& r) override {
        std::fprintf(stderr, "[%d] %s(%d) %s: %s\n", r.priority, r.file.c_str(), r.line,
                     r.function.c_str(), r.text.c_str());
    }
};

struct SinkSlot {
    std::shared_ptr<IMoxLogSink> sink = std::make_shared<StderrSink>();
    std::atomic<int> maxPriority{LOG_PRIORITY_WARNING};
};

// Never destroyed: threads of the process may log while it exits.
SinkSlot& Slot() {
    static SinkSlot& slot = *new SinkSlot;
    return slot;
}

std::string FormatV(const char* format, va_list args) {
    va_list copy;
    va_copy(copy, args);
    const int size = std::vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    if (size <= 0) return {};
    std::string text(static_cast<size_t>(size), '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, args);
    return text;
}

// vswprintf reports only failure when the buffer is short, so grow until the
// text fits.
std::wstring FormatWideV(const wchar_t* format, va_list args) {
    std::vector<wchar_t> buffer(256);
    for (;;) {
        va_list copy;
        va_copy(copy, args);
        const int size = std::vswprintf(buffer.data(), buffer.size(), format, copy);
        va_end(copy);
        if (size >= 0 && static_cast<size_t>(size) < buffer.size()) {
            return std::wstring(buffer.data(), static_cast<size_t>(size));
        }
        if (buffer.size() >= (1u << 24)) return {};  // a malformed format, not a long text
        buffer.resize(buffer.size() * 2);
    }
}

void Emit(int priority, const char* file, int line, const char* function, std::string text) {
    std::shared_ptr<IMoxLogSink> sink = std::atomic_load(&Slot().sink);
    if (!sink) return;
    MoxLogRecord record;
    record.priority = priority;
    record.file = CMoxLog::BaseName(file);
    record.line = line;
    record.function = function ? function : "";
    record.text = std::move(text);
    sink->Write(record);
}

}  // namespace

IMoxLogSink::~IMoxLogSink() = default;

void CMoxLogSinkBase::Write(const MoxLogRecord& record) {
    std::lock_guard<std::mutex> lock(m_mutex);
    WriteLocked(record);
}

const char* CMoxLog::BaseName(const char* file) {
    if (!file) return "";
    const char* base = file;
    for (const char* p = file; *p; ++p) {
        if (*p == '\\' || *p == '/') base = p + 1;
    }
    return base;
}

bool CMoxLog::IsEnabled(int priority) {
    return priority <= Slot().maxPriority.load(std::memory_order_relaxed);
}

std::shared_ptr<IMoxLogSink> CMoxLog::SetSink(std::shared_ptr<IMoxLogSink> sink) {
    if (!sink) sink = std::make_shared<StderrSink>();
    Slot().maxPriority.store(sink->MaxPriority(), std::memory_order_relaxed);
    return std::atomic_exchange(&Slot().sink, std::move(sink));
}

void CMoxLog::MoxLogFormat(int priority, const char* file, int line, const char* function,
                           const char* format, ...) {
    if (!IsEnabled(priority) || !format) return;
    va_list args;
    va_start(args, format);
    std::string text = FormatV(format, args);
    va_end(args);
    Emit(priority, file, line, function, std::move(text));
}

void CMoxLog::MoxLogFormatW(int priority, const wchar_t* file, int line, const wchar_t* function,
                            const wchar_t* format, ...) {
    if (!IsEnabled(priority) || !format) return;
    va_list args;
    va_start(args, format);
    const std::wstring text = FormatWideV(format, args);
    va_end(args);
    const std::string narrowFile = file ? moxh5::platform::WideToUtf8(file) : std::string();
    const std::string narrowFunction =
        function ? moxh5::platform::WideToUtf8(function) : std::string();
    Emit(priority, narrowFile.c_str(), line, narrowFunction.c_str(),
         moxh5::platform::WideToUtf8(text));
}

void CMoxLog::MoxLog(int priority, const char* file, int line, const char* function,
                     const char* text) {
    if (!IsEnabled(priority)) return;
    Emit(priority, file, line, function, text ? text : "");
}
