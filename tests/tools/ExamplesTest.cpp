// Every example of the README and of the man page, run as written against the sample bus and ROM
// images of examples/: from a folder of the test's own that holds build/bin/rombus and examples/
// where the README names them, the man page's installed folder of samples read as examples/.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "rombus_support/TestFolder.h"

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

namespace {

namespace fs = std::filesystem;

const fs::path source = ROMBUS_SOURCE_DIR;
const std::string installedSamples = "/usr/share/doc/rombus/examples";

std::vector<std::string> linesOf(const fs::path& path) {
    std::ifstream in(path);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

// The commands of the README's shell blocks that run the tool; those that need root are left
// out (they read the machine's devices).
std::vector<std::string> readmeExamples() {
    std::vector<std::string> commands;
    bool inShell = false;
    for (const std::string& line : linesOf(source / "README.md")) {
        if (line.starts_with("```"))
            inShell = line == "```sh";
        else if (inShell && line.starts_with("build/bin/rombus "))
            commands.push_back(line);
    }
    return commands;
}

// The man page's examples, the lines in bold after EXAMPLES, unescaped, the tool named by its
// path in the test's folder and the installed samples by the folder's examples/.
std::vector<std::string> manExamples() {
    std::vector<std::string> commands;
    bool inExamples = false;
    for (const std::string& line : linesOf(source / "doc/rombus.1")) {
        if (line.starts_with(".SH"))
            inExamples = line == ".SH EXAMPLES";
        else if (inExamples && line.starts_with(".B rombus ")) {
            std::string command = std::regex_replace(line.substr(3), std::regex(R"(\\-)"), "-");
            command = std::regex_replace(command, std::regex(installedSamples), "examples");
            command =
                std::regex_replace(command, std::regex("(^|; )rombus "), "$1build/bin/rombus ");
            commands.push_back(command);
        }
    }
    return commands;
}

class Examples : public ::testing::Test {
protected:
    void SetUp() override {
        fs::create_directories(folder_.path() / "build/bin");
        fs::create_symlink(ROMBUS_BINARY, folder_.path() / "build/bin/rombus");
        fs::create_directory_symlink(source / "examples", folder_.path() / "examples");
    }

    // Runs each command in order from the folder: each must end with 0 or 1 (a sample with
    // problems), or with 3 where it scans this machine, which may have no FireWire bus.
    void runAll(const std::vector<std::string>& commands) {
        for (const std::string& command : commands) {
            // On a line of its own, so that the example's comment ends before the redirections.
            const std::string shell =
                "cd '" + folder_.path().string() + "' && {\n" + command + "\n} >stdout 2>stderr";
            const int raw = std::system(shell.c_str());
            const int status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
            const bool machine = command.find(" scan") != std::string::npos &&
                                 command.find("--sysfs") == std::string::npos;
            std::ifstream err(folder_.path() / "stderr");
            std::ostringstream text;
            text << err.rdbuf();
            EXPECT_TRUE(status == 0 || status == 1 || (machine && status == 3))
                << command << ": status " << status << "\n"
                << text.str();
        }
    }

    rombus_test::TestFolder folder_;
};

TEST_F(Examples, EveryReadmeExampleRunsAsWritten) {
    const std::vector<std::string> commands = readmeExamples();
    ASSERT_GE(commands.size(), 15u);
    runAll(commands);
    // What the examples wrote: the saved ROMs, the repaired copies, the description and the
    // ROM built from it, which is the sample disk byte for byte.
    EXPECT_TRUE(fs::exists(folder_.path() / "roms/0030e00000000001.rom"));
    EXPECT_TRUE(fs::exists(folder_.path() / "good.rom"));
    EXPECT_TRUE(fs::exists(folder_.path() / "good.hex"));
    std::ifstream built(folder_.path() / "disk.rom", std::ios::binary);
    std::ifstream sample(source / "examples/roms/disk.rom", std::ios::binary);
    std::ostringstream builtBytes, sampleBytes;
    builtBytes << built.rdbuf();
    sampleBytes << sample.rdbuf();
    EXPECT_EQ(builtBytes.str(), sampleBytes.str());
}

TEST_F(Examples, EveryManPageExampleRunsAsWritten) {
    const std::vector<std::string> commands = manExamples();
    ASSERT_GE(commands.size(), 10u);
    for (const std::string& command : commands)
        EXPECT_EQ(command.find(installedSamples), std::string::npos) << command;
    runAll(commands);
    EXPECT_TRUE(fs::exists(folder_.path() / "roms"));
    EXPECT_TRUE(fs::exists(folder_.path() / "disk.yaml"));
}

} // namespace
