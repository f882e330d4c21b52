#include "inspect/io/AtomicFile.h"

#include "rombus_support/TestFolder.h"
#include "rombus_support/ToolRun.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;
using rombus::WriteOutcome;
using rombus::WriteRules;
using rombus::writeWholeFile;
using rombus_test::namesIn;
using rombus_test::readAll;

mode_t modeOf(const fs::path& path) {
    struct stat status {};
    EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777;
}

const WriteRules Replace{.replace = true};

TEST(AtomicFile, AReplacedFileKeepsItsModeAndANewOneTakesTheUmask) {
    rombus_test::TestFolder folder;
    const std::string secret = folder.write("secret.rom", "old");
    ::chmod(secret.c_str(), 0600);
    const std::string shared = folder.write("shared.rom", "old");
    ::chmod(shared.c_str(), 0664);
    EXPECT_EQ(writeWholeFile(secret, "new bytes", Replace).outcome, WriteOutcome::Written);
    EXPECT_EQ(writeWholeFile(shared, "new bytes", Replace).outcome, WriteOutcome::Written);
    EXPECT_EQ(readAll(secret), "new bytes");
    EXPECT_EQ(modeOf(secret), 0600u);
    EXPECT_EQ(modeOf(shared), 0664u);

    const mode_t mask = ::umask(0);
    ::umask(mask);
    const std::string fresh = (folder.path() / "fresh.rom").string();
    EXPECT_EQ(writeWholeFile(fresh, "bytes", {}).outcome, WriteOutcome::Written);
    EXPECT_EQ(modeOf(fresh), 0666u & ~mask);
    EXPECT_EQ(namesIn(folder.path()),
              (std::vector<std::string>{"fresh.rom", "secret.rom", "shared.rom"}));
}

TEST(AtomicFile, LinksReadOnlyFilesAndWhatIsNoFileAreLeftAlone) {
    rombus_test::TestFolder folder;
    const std::string original = folder.write("a.rom", "old");
    const fs::path linked = folder.path() / "b.rom";
    fs::create_hard_link(original, linked);
    const rombus::FileWrite refused = writeWholeFile(original, "new", Replace);
    EXPECT_EQ(refused.outcome, WriteOutcome::Refused);
    EXPECT_EQ(refused.reason, "has 2 hard links, which a new file would part; not replaced");
    EXPECT_EQ(readAll(original), "old");
    // Kept as the user chooses: written through, so both names see the new bytes.
    EXPECT_EQ(writeWholeFile(original, "new", {.replace = true, .keepLinks = true}).outcome,
              WriteOutcome::Written);
    EXPECT_EQ(readAll(linked), "new");

    const fs::path symlink = folder.path() / "c.rom";
    fs::create_symlink(original, symlink);
    EXPECT_EQ(writeWholeFile(symlink.string(), "other", Replace).outcome, WriteOutcome::Refused);
    EXPECT_TRUE(fs::is_symlink(symlink));
    EXPECT_EQ(writeWholeFile(folder.path().string(), "x", Replace).outcome, WriteOutcome::Refused);

    // A file this user may not write is not replaced by one it may (the superuser may write
    // any, and keeps its mode).
    const std::string readOnly = folder.write("ro.rom", "old");
    ::chmod(readOnly.c_str(), 0444);
    const rombus::FileWrite write = writeWholeFile(readOnly, "new", Replace);
    if (::geteuid() != 0) {
        EXPECT_EQ(write.outcome, WriteOutcome::Refused);
        EXPECT_EQ(readAll(readOnly), "old");
    }
    EXPECT_EQ(modeOf(readOnly), 0444u);
}

TEST(AtomicFile, SameBytesOtherBytesAndLongNames) {
    rombus_test::TestFolder folder;
    const std::string path = folder.write("a.rom", "same");
    EXPECT_EQ(writeWholeFile(path, "same", {}).outcome, WriteOutcome::Unchanged);
    const rombus::FileWrite kept = writeWholeFile(path, "other", {});
    EXPECT_EQ(kept.outcome, WriteOutcome::Kept);
    EXPECT_EQ(readAll(path), "same");
    // A name of 255 bytes, the most a folder entry holds: the temporary name fits beside it.
    const fs::path longest = folder.path() / std::string(255, 'n');
    EXPECT_EQ(writeWholeFile(longest.string(), "bytes", {}).outcome, WriteOutcome::Written);
    EXPECT_EQ(writeWholeFile(longest.string(), "again", Replace).outcome, WriteOutcome::Written);
    EXPECT_EQ(readAll(longest), "again");
    EXPECT_EQ(namesIn(folder.path()).size(), 2u);
    const rombus::FileWrite missing =
        writeWholeFile((folder.path() / "no/such/folder.rom").string(), "x", {});
    EXPECT_EQ(missing.outcome, WriteOutcome::Failed);
    EXPECT_FALSE(missing.reason.empty());
}

TEST(AtomicFile, WritersRacingForANewNameNeverReplaceEachOther) {
    rombus_test::TestFolder folder;
    constexpr int Writers = 4, Rounds = 25;
    for (int round = 0; round < Rounds; ++round) {
        const std::string path = (folder.path() / ("race" + std::to_string(round))).string();
        std::vector<WriteOutcome> outcomes(Writers);
        std::vector<std::thread> threads;
        for (int w = 0; w < Writers; ++w)
            threads.emplace_back([&, w] {
                outcomes[w] = writeWholeFile(path, "writer " + std::to_string(w), {}).outcome;
            });
        for (std::thread& thread : threads)
            thread.join();
        int written = 0;
        for (int w = 0; w < Writers; ++w) {
            if (outcomes[w] == WriteOutcome::Written) {
                ++written;
                EXPECT_EQ(readAll(path), "writer " + std::to_string(w));
            } else {
                EXPECT_EQ(outcomes[w], WriteOutcome::Kept);
            }
        }
        EXPECT_EQ(written, 1) << "round " << round;
    }
    EXPECT_EQ(namesIn(folder.path()).size(), static_cast<size_t>(Rounds));
}

} // namespace
