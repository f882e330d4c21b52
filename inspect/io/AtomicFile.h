#pragma once

#include <string>

namespace rombus {

// What became of a file written whole.
enum class WriteOutcome {
    Written,   // the file now holds the bytes
    Unchanged, // it held them already and was left alone
    Kept,      // it holds other bytes and was not to be replaced
    Refused,   // the path is a link or no regular file, and is left alone
    Failed,    // the bytes could not be written; the file is as it was
};

struct FileWrite {
    WriteOutcome outcome = WriteOutcome::Failed;
    std::string reason; // why not, in words that follow the path; empty when written or unchanged

    bool ok() const { return reason.empty(); }
};

// Writes a file whole or not at all: the bytes go to a new file of the same folder, made for
// this write alone, which is flushed to the disk and then renamed over the path, so that a
// reader, a full disk or a crash never meets a part of it. A symbolic link or anything but a
// regular file at the path is refused, never followed; a regular file that holds other bytes is
// replaced only when replace is set.
FileWrite writeWholeFile(const std::string& path, const std::string& bytes, bool replace);

} // namespace rombus
