#include "inspect/io/AtomicFile.h"

#include "lib1394/RegularFile.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace rombus {
namespace {

namespace fs = std::filesystem;

FileWrite outcome(WriteOutcome what, std::string reason = std::string()) {
    return {what, std::move(reason)};
}

std::string errorText(const char* what) {
    return std::string(what) + ": " + std::strerror(errno);
}

// Writes all bytes to a descriptor and flushes them to the disk; empty on success, else why not.
std::string writeAndSync(int fd, const std::string& bytes) {
    for (size_t done = 0; done < bytes.size();) {
        const ssize_t written = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return errorText("cannot be written");
        done += static_cast<size_t>(written);
    }
    if (::fsync(fd) != 0)
        return errorText("cannot be written");
    return std::string();
}

// The permissions a new file gets: read and write for all, less the process's umask.
mode_t newFileMode() {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

// Writes the bytes to a fresh file beside the path and renames it over the path; on failure
// nothing is left behind.
FileWrite replaceWith(const fs::path& path, const std::string& bytes) {
    std::string temporary =
        (path.parent_path() / ("." + path.filename().string() + ".XXXXXX")).string();
    const int fd = ::mkostemp(temporary.data(), O_CLOEXEC);
    if (fd < 0)
        return outcome(WriteOutcome::Failed, errorText("cannot be written"));
    std::string reason =
        ::fchmod(fd, newFileMode()) == 0 ? writeAndSync(fd, bytes) : errorText("cannot be written");
    if (::close(fd) != 0 && reason.empty())
        reason = errorText("cannot be written");
    if (reason.empty() && ::rename(temporary.c_str(), path.c_str()) != 0)
        reason = errorText("cannot be put in place");
    if (!reason.empty()) {
        ::unlink(temporary.c_str());
        return outcome(WriteOutcome::Failed, reason);
    }
    return outcome(WriteOutcome::Written);
}

} // namespace

FileWrite writeWholeFile(const std::string& path, const std::string& bytes, bool replace) {
    struct stat status;
    if (::lstat(path.c_str(), &status) == 0) {
        if (S_ISLNK(status.st_mode))
            return outcome(WriteOutcome::Refused, "is a symbolic link; not replaced");
        if (!S_ISREG(status.st_mode))
            return outcome(WriteOutcome::Refused, lib1394::notRegularFile(path) + "; not replaced");
        const lib1394::RegularFile old = lib1394::readRegularFile(path, bytes.size());
        if (old.ok() && old.content == bytes)
            return outcome(WriteOutcome::Unchanged);
        if (!replace)
            return outcome(WriteOutcome::Kept, "exists and differs; kept");
    } else if (errno != ENOENT) {
        return outcome(WriteOutcome::Failed, errorText("cannot be examined"));
    }
    return replaceWith(fs::path(path), bytes);
}

} // namespace rombus
