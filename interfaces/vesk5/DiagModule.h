#pragma once

#include "zul/Api.h"

#include "vesk5/Event.h"

#include <vector>

namespace vesk5 {

// The diagnostics side of the framework: events, library registration and reports.
class ROMBUS_API DiagModule {
public:
    enum class Severity { Progress, Warning, Error };

    struct Report {
        Severity severity;
        VeskString event;
        zul::String text;
        VeskString sourceFile;
        int line;
    };

    static Event* createEvent(const VeskString& name);
    static void registerLibrary(const VeskString& name);

    static void progress(const Event* event);
    static void warning(const Event* event, const VeskString& sourceFile, int line);
    static void error(const Event* event, const VeskString& sourceFile, int line);

    static const std::vector<Event*>& events();
    static const std::vector<VeskString>& libraries();
    static const std::vector<Report>& reports();
    static void clearReports();
};

} // namespace vesk5
