#pragma once

#include "rombus_support/TestFolder.h"

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace rombus_test {

// What a program run by a test gave: its exit status (-1 when it did not exit) and what it wrote
// on standard output and standard error.
struct Outcome {
    int status = -1;
    std::string out, err;
};

// The whole of a file; empty when it cannot be read.
inline std::string readAll(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

// Runs a shell command line with its standard output and error caught in the test's folder;
// from that folder when inFolder is set, so that relative names are the folder's.
inline Outcome runCommand(const TestFolder& folder, const std::string& commandLine,
                          bool inFolder = false) {
    const std::filesystem::path out = folder.path() / "stdout", err = folder.path() / "stderr";
    const std::string command = (inFolder ? "cd '" + folder.path().string() + "' && " : "") +
                                commandLine + " >'" + out.string() + "' 2>'" + err.string() + "'";
    const int raw = std::system(command.c_str());
    return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, readAll(out), readAll(err)};
}

// The text as one line, every run of blanks and line breaks one blank: what wrapping and column
// alignment leave aside.
inline std::string flat(const std::string& text) {
    std::string out;
    for (char c : text) {
        const bool blank = c == ' ' || c == '\n';
        if (!blank)
            out += c;
        else if (!out.empty() && out.back() != ' ')
            out += ' ';
    }
    return out;
}

} // namespace rombus_test
