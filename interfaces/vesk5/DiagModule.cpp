#include "vesk5/DiagModule.h"

#include <memory>

namespace vesk5 {
namespace {

struct Diagnostics {
    std::vector<std::unique_ptr<Event>> ownedEvents;
    std::vector<Event*> events;
    std::vector<VeskString> libraries;
    std::vector<DiagModule::Report> reports;
};

Diagnostics& diagnostics() {
    static Diagnostics instance;
    return instance;
}

void report(DiagModule::Severity severity, const Event* event, const VeskString& file, int line) {
    if (event)
        diagnostics().reports.push_back({severity, event->name(), event->text(), file, line});
}

} // namespace

Event* DiagModule::createEvent(const VeskString& name) {
    auto& state = diagnostics();
    state.ownedEvents.push_back(std::make_unique<Event>(name));
    state.events.push_back(state.ownedEvents.back().get());
    return state.events.back();
}

void DiagModule::registerLibrary(const VeskString& name) { diagnostics().libraries.push_back(name); }

void DiagModule::progress(const Event* event) { report(Severity::Progress, event, "", 0); }

void DiagModule::warning(const Event* event, const VeskString& sourceFile, int line) {
    report(Severity::Warning, event, sourceFile, line);
}

void DiagModule::error(const Event* event, const VeskString& sourceFile, int line) {
    report(Severity::Error, event, sourceFile, line);
}

const std::vector<Event*>& DiagModule::events() { return diagnostics().events; }

const std::vector<VeskString>& DiagModule::libraries() { return diagnostics().libraries; }

const std::vector<DiagModule::Report>& DiagModule::reports() { return diagnostics().reports; }

void DiagModule::clearReports() { diagnostics().reports.clear(); }

} // namespace vesk5
