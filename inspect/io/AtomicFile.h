#pragma once

#include <string>

namespace rombus {

// What became of a file written whole.
enum class WriteOutcome {
    Written,   // the file now holds the bytes
    Unchanged, // it held them already and was left alone
    Kept,      // it holds other bytes and was not to be replaced
    Refused,   // the path is a link, no regular file, a file this user may not write, or a file
               // with other hard links, and is left alone
    Failed,    // the bytes could not be written; the file is as it was
};

struct FileWrite {
    WriteOutcome outcome = WriteOutcome::Failed;
    std::string reason; // why not, in words that follow the path; empty when written or unchanged

    bool ok() const { return reason.empty(); }
};

// What a write may do to a file that is there already.
struct WriteRules {
    bool replace = false;   // replace a file that holds other bytes; else keep it
    bool keepLinks = false; // write a file with other hard links in place, keeping the links
                            // (not atomic); else refuse it
};

// Writes a file whole or not at all: the bytes go to a new file of the same folder, made for
// this write alone under a short name, which is flushed to the disk and then renamed over the
// path, so that a reader, a full disk or a crash never meets a part of it. The new file keeps
// the mode, owner and group of the one it replaces (owner and group as far as this user may give
// them), and a new path gets the mode of the umask. A symbolic link or anything but a regular
// file at the path is refused, never followed, and so is a file this user may not write. A file
// created by another writer while this one writes is never replaced unless rules.replace is set.
FileWrite writeWholeFile(const std::string& path, const std::string& bytes,
                         const WriteRules& rules);

} // namespace rombus
