#include "zul/Log.h"

#include <cstdio>
#include <map>
#include <memory>

namespace zul {
namespace {

struct LogState {
    unsigned priority = LOG_PROBLEM;
    std::map<std::string, std::unique_ptr<Logger>> loggers;
    std::map<std::string, unsigned> configured;
    LogSink sink;
};

LogState& state() {
    static LogState instance;
    return instance;
}

void writeToStandardError(const String& logger, unsigned priority, const String& text) {
    std::fprintf(stderr, "%s [%u] %s\n", logger.getUTF8String(), priority, text.getUTF8String());
}

} // namespace

LoggerStream& LoggerStream::operator+(const char* text) {
    text_ += text ? text : "";
    return *this;
}

LoggerStream& LoggerStream::operator+(const String& text) {
    text_ += text.str();
    return *this;
}

LoggerStream& LoggerStream::operator+(unsigned long long number) {
    text_ += std::to_string(number);
    return *this;
}

unsigned Logger::resolvePriority() const {
    // The logger's own name first, then each enclosing name: the most specific setting wins.
    std::string name = name_.str();
    while (true) {
        bool found = false;
        unsigned priority = LogFactory::configuredPriority(name, found);
        if (found)
            return priority;
        size_t dot = name.rfind('.');
        if (dot == std::string::npos)
            return LOG_ALL;
        name.resize(dot);
    }
}

void Logger::log(unsigned priority, const LoggerStream& stream) const {
    LogFactory::write(name_, priority, String(stream.text()));
}

unsigned LogFactory::getPriority() {
    return state().priority;
}

void LogFactory::setPriority(unsigned priority) {
    state().priority = priority;
}

void LogFactory::createLogger(const String& name, Logger*& slot) {
    auto& logger = state().loggers[name.str()];
    if (!logger) {
        logger = std::make_unique<Logger>(name);
        bool found = false;
        unsigned priority = configuredPriority(name, found);
        if (found)
            logger->setPriority(priority);
    }
    slot = logger.get();
}

size_t LogFactory::loggerCount() {
    return state().loggers.size();
}

Logger* LogFactory::findLogger(const String& name) {
    auto it = state().loggers.find(name.str());
    return it == state().loggers.end() ? nullptr : it->second.get();
}

void LogFactory::setLoggerPriority(const String& name, unsigned priority) {
    state().configured[name.str()] = priority;
    if (Logger* logger = findLogger(name))
        logger->setPriority(priority);
}

unsigned LogFactory::configuredPriority(const String& name, bool& found) {
    auto it = state().configured.find(name.str());
    found = it != state().configured.end();
    return found ? it->second : LOG_ALL;
}

void LogFactory::setSink(LogSink sink) {
    state().sink = std::move(sink);
}

void LogFactory::write(const String& logger, unsigned priority, const String& text) {
    if (state().sink)
        state().sink(logger, priority, text);
    else
        writeToStandardError(logger, priority, text);
}

} // namespace zul
