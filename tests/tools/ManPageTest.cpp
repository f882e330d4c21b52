// The manual page documents every option and command that --help lists, and man renders it; the
// bash completion offers every option of each command's --help.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "rombus_support/TestFolder.h"

#include <cstdio>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>

namespace {

using rombus_test::TestFolder;

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

const char* const Commands[] = {"",         "scan",  "check", "registry import", "diff",
                                "repair",   "describe", "build", "hwdb", "drivers table",
                                "topology"};

// Every option the help of the tool or of one of its commands names.
std::set<std::string> helpOptions(const std::string& command) {
    std::set<std::string> options;
    const std::regex option(R"((^|[ ,])(--?[a-z][a-z-]*))");
    std::istringstream lines(output(std::string("'") + ROMBUS_BINARY + "' " + command + " --help"));
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind("  -", 0) != 0)
            continue;
        const std::string column = line.substr(0, line.find("  ", 2));
        for (std::sregex_iterator it(column.begin(), column.end(), option), end; it != end; ++it)
            options.insert((*it)[2]);
    }
    return options;
}

// Asks bash for what doc/rombus.bash-completion offers when the words after "rombus" are $2.
const char* const CompletionScript = R"(source /usr/share/bash-completion/bash_completion
source "$1"
COMP_LINE="rombus $2"
COMP_POINT=${#COMP_LINE}
read -ra COMP_WORDS <<< "$COMP_LINE"
[[ $COMP_LINE == *' ' ]] && COMP_WORDS+=('')
COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
_rombus
printf '%s\n' "${COMPREPLY[@]}"
)";

// What bash offers for the last of the words typed after "rombus".
std::set<std::string> completionsIn(const TestFolder& folder, const std::string& typed) {
    const std::string script = folder.write("complete.sh", CompletionScript);
    std::istringstream lines(output("bash '" + script +
                                    "' '" ROMBUS_SOURCE_DIR "/doc/rombus.bash-completion' '" +
                                    typed + "'"));
    std::set<std::string> offered;
    for (std::string line; std::getline(lines, line);)
        if (!line.empty())
            offered.insert(line);
    return offered;
}

TEST(ManPage, EveryOptionOfTheHelpIsInThePageAndManRendersIt) {
    std::set<std::string> options;
    for (const char* command : Commands)
        options.merge(helpOptions(command));
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

TEST(Completion, OffersEveryOptionOfEachCommandsHelpAndTheValuesOfTheChoices) {
    const TestFolder folder;
    const auto completions = [&folder](const std::string& typed) {
        return completionsIn(folder, typed);
    };
    for (const char* command : Commands) {
        const std::set<std::string> options = helpOptions(command);
        EXPECT_GE(options.size(), 2u) << command;
        const std::set<std::string> offered = completions(std::string(command) + " -");
        for (const std::string& option : options)
            EXPECT_TRUE(offered.count(option)) << option << " of '" << command << " --help'";
    }
    // After a command, the options of another are not offered.
    EXPECT_FALSE(completions("check --").count("--sysfs"));
    EXPECT_FALSE(completions("scan --").count("--from"));
    EXPECT_EQ(completions("registry i"), (std::set<std::string>{"import"}));
    EXPECT_EQ(completions("--format "), (std::set<std::string>{"text", "json"}));
    EXPECT_EQ(completions("scan --color a"), (std::set<std::string>{"auto", "always"}));
    EXPECT_EQ(completions("check --crc-level "), (std::set<std::string>{"0", "1", "2"}));
    EXPECT_EQ(completions("topology --graph "), (std::set<std::string>{"dot", "svg"}));
}

} // namespace
