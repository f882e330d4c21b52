#include "inspect/io/AtomicFile.h"

#include "lib1394/RegularFile.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace rombus {
namespace {

namespace fs = std::filesystem;

// The name of the temporary file beside the path: short, so that it fits wherever the path's own
// name does.
constexpr const char* TemporaryName = ".rombus-XXXXXX";
constexpr mode_t PermissionBits = 07777;

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

// Gives the new file the owner, group and mode of the old one, or the umask's mode for a new
// path. Owner and group are kept as far as this user may give them; the mode comes after them,
// since a change of owner clears the set-id bits.
std::string takeOver(int fd, const struct stat* old) {
    if (!old)
        return ::fchmod(fd, newFileMode()) == 0 ? std::string() : errorText("cannot be written");
    if (::fchown(fd, old->st_uid, old->st_gid) != 0)
        (void)::fchown(fd, static_cast<uid_t>(-1), old->st_gid);
    if (::fchmod(fd, old->st_mode & PermissionBits) != 0)
        return errorText("cannot be written");
    return std::string();
}

// Makes the temporary file beside the path, holding the bytes; empty on failure, with the reason.
std::string temporaryWith(const fs::path& path, const std::string& bytes, const struct stat* old,
                          std::string& reason) {
    const fs::path folder = path.has_parent_path() ? path.parent_path() : fs::path(".");
    std::string temporary = (folder / TemporaryName).string();
    const int fd = ::mkostemp(temporary.data(), O_CLOEXEC);
    if (fd < 0) {
        reason = errorText("cannot be written");
        return std::string();
    }
    reason = takeOver(fd, old);
    if (reason.empty())
        reason = writeAndSync(fd, bytes);
    if (::close(fd) != 0 && reason.empty())
        reason = errorText("cannot be written");
    if (!reason.empty()) {
        ::unlink(temporary.c_str());
        return std::string();
    }
    return temporary;
}

// Flushes the folder of the path, so that the rename outlives a crash.
void syncFolder(const fs::path& path) {
    const fs::path folder = path.has_parent_path() ? path.parent_path() : fs::path(".");
    const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0) {
        ::fsync(fd);
        ::close(fd);
    }
}

// Puts the temporary file at the path unless something is there by now: the kernel's atomic
// no-replace rename, or a hard link where the file system has none. Answers 0, or the errno
// (EEXIST when another writer came first).
int placeWithoutReplacing(const std::string& temporary, const std::string& path) {
    if (::renameat2(AT_FDCWD, temporary.c_str(), AT_FDCWD, path.c_str(), RENAME_NOREPLACE) == 0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS)
        return errno;
    if (::link(temporary.c_str(), path.c_str()) != 0)
        return errno;
    ::unlink(temporary.c_str());
    return 0;
}

// What the path holds when it is not to be replaced: the same bytes, or others that are kept.
FileWrite keptOrUnchanged(const std::string& path, const std::string& bytes) {
    const lib1394::RegularFile old = lib1394::readRegularFile(path, bytes.size());
    if (old.ok() && old.content == bytes)
        return outcome(WriteOutcome::Unchanged);
    return outcome(WriteOutcome::Kept, "exists and differs; kept");
}

FileWrite replaceWith(const std::string& path, const std::string& bytes, const struct stat* old,
                      bool replace) {
    std::string reason;
    const std::string temporary = temporaryWith(fs::path(path), bytes, old, reason);
    if (temporary.empty())
        return outcome(WriteOutcome::Failed, reason);
    const int error = replace ? (::rename(temporary.c_str(), path.c_str()) == 0 ? 0 : errno)
                              : placeWithoutReplacing(temporary, path);
    if (error != 0) {
        ::unlink(temporary.c_str());
        if (error == EEXIST)
            return keptOrUnchanged(path, bytes);
        errno = error;
        return outcome(WriteOutcome::Failed, errorText("cannot be put in place"));
    }
    syncFolder(fs::path(path));
    return outcome(WriteOutcome::Written);
}

// Writes the bytes into the file itself, so that its other hard links see them too.
FileWrite writeThrough(const std::string& path, const std::string& bytes) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_TRUNC | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0)
        return outcome(WriteOutcome::Failed, errorText("cannot be written"));
    std::string reason = writeAndSync(fd, bytes);
    if (::close(fd) != 0 && reason.empty())
        reason = errorText("cannot be written");
    return reason.empty() ? outcome(WriteOutcome::Written) : outcome(WriteOutcome::Failed, reason);
}

// Why an existing file is not to be replaced; empty when it may be.
std::string refusal(const std::string& path, const struct stat& status, const WriteRules& rules) {
    if (S_ISLNK(status.st_mode))
        return "is a symbolic link; not replaced";
    if (!S_ISREG(status.st_mode))
        return lib1394::notRegularFile(path) + "; not replaced";
    if (::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0)
        return "may not be written by this user; not replaced";
    if (status.st_nlink > 1 && !rules.keepLinks)
        return "has " + std::to_string(status.st_nlink) +
               " hard links, which a new file would part; not replaced";
    return std::string();
}

} // namespace

FileWrite writeWholeFile(const std::string& path, const std::string& bytes,
                         const WriteRules& rules) {
    struct stat status;
    if (::lstat(path.c_str(), &status) != 0) {
        if (errno != ENOENT)
            return outcome(WriteOutcome::Failed, errorText("cannot be examined"));
        return replaceWith(path, bytes, nullptr, rules.replace);
    }
    if (S_ISREG(status.st_mode)) {
        const lib1394::RegularFile old = lib1394::readRegularFile(path, bytes.size());
        if (old.ok() && old.content == bytes)
            return outcome(WriteOutcome::Unchanged);
        if (!rules.replace)
            return outcome(WriteOutcome::Kept, "exists and differs; kept");
    }
    if (const std::string why = refusal(path, status, rules); !why.empty())
        return outcome(WriteOutcome::Refused, why);
    if (status.st_nlink > 1)
        return writeThrough(path, bytes);
    return replaceWith(path, bytes, &status, true);
}

} // namespace rombus
