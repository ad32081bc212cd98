// Host logging library (stand-in with the calls of the host's MOXLog).
//
// Every line carries a priority, the source file name (cut after its last
// path separator), the line, a function text and the message. Lines go to one
// process-wide sink. The default sink writes lines at priority 400 (warning)
// or more urgent to stderr; an embedding application installs its own sink
// with CMoxLog::SetSink.
//
// Threads: all functions may be called from any thread at the same time. The
// sink is swapped atomically; a sink's Write may run on several threads at once
// and must guard its own state (CMoxLogSinkBase does that for subclasses).
#pragma once

#include <memory>
#include <mutex>
#include <string>

#include "MoxHostExport.h"

// Smaller numbers are more urgent.
enum LogPriority : int {
    LOG_PRIORITY_ALERT = 100,
    LOG_PRIORITY_CRITICAL = 200,
    LOG_PRIORITY_ERROR = 300,
    LOG_PRIORITY_WARNING = 400,
    LOG_PRIORITY_NOTICE = 500,
    LOG_PRIORITY_INFO = 600,
    LOG_PRIORITY_DEBUG = 700,
};

// One formatted log line as a sink receives it.
struct MoxLogRecord {
    int priority = 0;
    std::string file;  // base name only
    int line = 0;
    // qualified function text, e.g. "H5NativeWorker::showToast"
    std::string function;
    // UTF-8 message
    std::string text;
};

class MOXHOST_API IMoxLogSink {
public:
    virtual ~IMoxLogSink();
    // Least urgent priority this sink wants; lines with a larger number are
    // dropped before they are formatted.
    virtual int MaxPriority() const = 0;
    virtual void Write(const MoxLogRecord& record) = 0;
};

// Base for sinks that keep state: serialises Write calls so that subclasses
// need no locking of their own.
class MOXHOST_API CMoxLogSinkBase : public IMoxLogSink {
public:
    explicit CMoxLogSinkBase(int maxPriority) : m_maxPriority(maxPriority) {}
    int MaxPriority() const override { return m_maxPriority; }
    void Write(const MoxLogRecord& record) final;

protected:
    virtual void WriteLocked(const MoxLogRecord& record) = 0;

private:
    int m_maxPriority;
    std::mutex m_mutex;
};

class MOXHOST_API CMoxLog {
public:
    // printf-style message; file is usually __FILE__.
    static void MoxLogFormat(int priority, const char* file, int line, const char* function,
                             const char* format, ...)
#if defined(__GNUC__)
        __attribute__((format(printf, 5, 6)))
#endif
        ;
    // The same with a wide format and wide arguments; the text reaches the
    // sink as UTF-8.
    static void MoxLogFormatW(int priority, const wchar_t* file, int line, const wchar_t* function,
                              const wchar_t* format, ...);
    // A ready text, written as it stands.
    static void MoxLog(int priority, const char* file, int line, const char* function,
                       const char* text);

    // True when a line of this priority reaches the sink. Callers use it to skip
    // building expensive message arguments (such as JSON text) for lines that
    // would be dropped.
    static bool IsEnabled(int priority);

    // Installs the process-wide sink; null restores the default stderr sink.
    // Returns the sink that was installed before.
    static std::shared_ptr<IMoxLogSink> SetSink(std::shared_ptr<IMoxLogSink> sink);

    // The file name as lines carry it: the text after the last '\\' or '/'.
    static const char* BaseName(const char* file);
};
