#include "lib1394/RegularFile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace lib1394 {
namespace {

// The first read of a file: a whole ROM image or sysfs attribute.
constexpr size_t FirstReadSize = 4096;

// What a file that is not regular is, by its type.
std::string kindOf(mode_t mode) {
    if (S_ISDIR(mode))
        return "is a folder, not a file";
    if (S_ISFIFO(mode))
        return "is a FIFO, not a regular file";
    if (S_ISCHR(mode))
        return "is a character device, not a regular file";
    if (S_ISBLK(mode))
        return "is a block device, not a regular file";
    if (S_ISSOCK(mode))
        return "is a socket, not a regular file";
    return "is not a regular file";
}

// Opens without blocking (a FIFO with no writer would) and without taking a terminal; answers
// the descriptor, or -1 with error set.
int openRegular(const std::string& path, std::string& error) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (fd < 0) {
        error = std::string("cannot be opened: ") + std::strerror(errno);
        return -1;
    }
    struct stat status;
    if (::fstat(fd, &status) != 0)
        error = std::string("cannot be examined: ") + std::strerror(errno);
    else if (!S_ISREG(status.st_mode))
        error = kindOf(status.st_mode);
    if (error.empty())
        return fd;
    ::close(fd);
    return -1;
}

} // namespace

RegularFile readRegularFile(const std::string& path, size_t limit, bool truncate) {
    RegularFile file;
    const int fd = openRegular(path, file.error);
    if (fd < 0)
        return file;
    // One byte past the limit tells a file that is larger. The buffer grows with what arrives,
    // so that a ROM of a few hundred bytes costs no megabyte of zeroed pages.
    const size_t wanted = limit + 1;
    size_t count = 0;
    while (count < wanted) {
        if (count == file.content.size())
            file.content.resize(std::min(wanted, std::max(FirstReadSize, 2 * count)));
        const ssize_t got = ::read(fd, file.content.data() + count, file.content.size() - count);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0) {
            file.error = std::string("cannot be read: ") + std::strerror(errno);
            break;
        }
        if (got == 0)
            break;
        count += static_cast<size_t>(got);
    }
    ::close(fd);
    file.content.resize(std::min(count, limit));
    if (file.ok() && count > limit) {
        if (truncate)
            file.truncated = true;
        else
            file.error = "is larger than " + std::to_string(limit) + " bytes";
    }
    return file;
}

std::string notRegularFile(const std::string& path) {
    std::string error;
    const int fd = openRegular(path, error);
    if (fd >= 0)
        ::close(fd);
    return error;
}

} // namespace lib1394
