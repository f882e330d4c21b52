// The manual page documents every option and command that --help lists, and man renders it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "rombus_support/TestFolder.h"

#include <cstdio>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>

namespace {

std::string output(const std::string& command) {
    FILE* pipe = popen(command.c_str(), "r");
    std::string text;
    char buffer[4096];
    while (size_t count = std::fread(buffer, 1, sizeof buffer, pipe))
        text.append(buffer, count);
    pclose(pipe);
    return text;
}

// The page as a reader sees its words: font changes dropped, "\-" a plain hyphen.
std::string pageText() {
    std::ifstream in(ROMBUS_SOURCE_DIR "/doc/rombus.1");
    std::stringstream page;
    page << in.rdbuf();
    std::string text = std::regex_replace(page.str(), std::regex(R"(\\f[BIRP])"), "");
    return std::regex_replace(text, std::regex(R"(\\-)"), "-");
}

// Every option the help of the tool and of its commands names.
std::set<std::string> helpOptions() {
    std::set<std::string> options;
    const std::regex option(R"((^|[ ,])(--?[a-z][a-z-]*))");
    for (const char* command :
         {"", "scan", "check", "registry import", "diff", "repair", "describe", "build"}) {
        std::istringstream lines(
            output(std::string("'") + ROMBUS_BINARY + "' " + command + " --help"));
        for (std::string line; std::getline(lines, line);) {
            if (line.rfind("  -", 0) != 0)
                continue;
            const std::string column = line.substr(0, line.find("  ", 2));
            for (std::sregex_iterator it(column.begin(), column.end(), option), end; it != end;
                 ++it)
                options.insert((*it)[2]);
        }
    }
    return options;
}

TEST(ManPage, EveryOptionOfTheHelpIsInThePageAndManRendersIt) {
    const std::set<std::string> options = helpOptions();
    EXPECT_GE(options.size(), 15u);
    const std::string page = pageText();
    for (const std::string& option : options)
        EXPECT_NE(page.find(option), std::string::npos) << option << " is not in the page";
    for (const char* section : {"NAME", "SYNOPSIS", "DESCRIPTION", "COMMANDS", "OPTIONS",
                                "EXIT STATUS", "FILES", "EXAMPLES", "SEE ALSO"})
        EXPECT_NE(page.find(std::string(".SH ") + section), std::string::npos) << section;

    const std::string rendered =
        output("MANWIDTH=80 man -l '" ROMBUS_SOURCE_DIR "/doc/rombus.1' 2>&1");
    EXPECT_THAT(rendered, testing::HasSubstr("EXIT STATUS"));
    EXPECT_THAT(rendered, testing::HasSubstr("--save-roms"));
}

} // namespace
