#include "lib1394/FwDevice.h"

#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace lib1394 {

SystemFwDevice::~SystemFwDevice() {
    if (fd_ >= 0)
        ::close(fd_);
}

int SystemFwDevice::open(const std::string& path) {
    if (fd_ >= 0)
        ::close(fd_);
    fd_ = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
    return fd_ < 0 ? errno : 0;
}

int SystemFwDevice::getInfo(fw_cdev_get_info& info) {
    return ::ioctl(fd_, FW_CDEV_IOC_GET_INFO, &info) < 0 ? errno : 0;
}

int SystemFwDevice::sendRequest(const fw_cdev_send_request& request) {
    return ::ioctl(fd_, FW_CDEV_IOC_SEND_REQUEST, &request) < 0 ? errno : 0;
}

int SystemFwDevice::sendPhyPacket(fw_cdev_send_phy_packet& packet) {
    return ::ioctl(fd_, FW_CDEV_IOC_SEND_PHY_PACKET, &packet) < 0 ? errno : 0;
}

int SystemFwDevice::receivePhyPackets(fw_cdev_receive_phy_packets& request) {
    return ::ioctl(fd_, FW_CDEV_IOC_RECEIVE_PHY_PACKETS, &request) < 0 ? errno : 0;
}

int SystemFwDevice::readEvent(void* buffer, size_t& size, std::chrono::milliseconds timeout) {
    pollfd ready{fd_, POLLIN, 0};
    const int polled = ::poll(&ready, 1, static_cast<int>(timeout.count()));
    // Nothing in time, or a signal that cut the wait short: no event, which the caller retries.
    if (polled <= 0) {
        const int error = polled < 0 && errno != EINTR ? errno : 0;
        size = 0;
        return error;
    }
    // A node that left the bus makes its file report a hang-up rather than data.
    if ((ready.revents & (POLLHUP | POLLERR)) != 0 && (ready.revents & POLLIN) == 0)
        return ENODEV;
    const ssize_t count = ::read(fd_, buffer, size);
    if (count < 0)
        return errno;
    size = static_cast<size_t>(count);
    return 0;
}

} // namespace lib1394
