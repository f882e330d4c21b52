#pragma once

#include "zul/Api.h"

#include "zul/String.h"

#include <cstdint>
#include <functional>

namespace zul {

// Log priorities: a larger value is more important. A gate set to p lets through p and above.
enum LOGGER_PRIORITY : unsigned {
    LOG_ALL = 0,
    LOG_DETAIL = 1,
    LOG_INFO = 2,
    LOG_PROBLEM = 3,
    LOG_FAILURE = 4,
    LOG_NONE = 5,
};

// The text of one log line, built piece by piece.
class ROMBUS_API LoggerStream {
public:
    LoggerStream& operator+(const char* text);
    LoggerStream& operator+(const String& text);
    LoggerStream& operator+(unsigned long long number);
    LoggerStream& operator+(unsigned number) { return *this + (unsigned long long)number; }

    const std::string& text() const { return text_; }

private:
    std::string text_;
};

// A named logger. Its own priority is set by name through LogFactory or directly; the resolved
// priority is the one configured for the nearest enclosing name ("a.b" encloses "a.b.c").
class ROMBUS_API Logger {
public:
    explicit Logger(String name) : name_(std::move(name)) {}

    const String& name() const { return name_; }
    unsigned getPriority() const { return priority_; }
    void setPriority(unsigned priority) { priority_ = priority; }
    unsigned resolvePriority() const;

    void log(unsigned priority, const LoggerStream& stream) const;

private:
    String name_;
    unsigned priority_ = LOG_ALL;
};

// Receives every line that passes the gates: logger name, priority and text.
using LogSink = std::function<void(const String& logger, unsigned priority, const String& text)>;

class ROMBUS_API LogFactory {
public:
    static unsigned getPriority();
    static void setPriority(unsigned priority);

    // Fills the slot with the logger of that name, creating it on first request.
    static void createLogger(const String& name, Logger*& slot);
    static size_t loggerCount();
    static Logger* findLogger(const String& name);

    // Configures a logger, or every logger under an enclosing name, before or after creation.
    static void setLoggerPriority(const String& name, unsigned priority);
    static unsigned configuredPriority(const String& name, bool& found);

    // Replaces the line sink; an empty sink restores the default, standard error.
    static void setSink(LogSink sink);
    static void write(const String& logger, unsigned priority, const String& text);
};

} // namespace zul
