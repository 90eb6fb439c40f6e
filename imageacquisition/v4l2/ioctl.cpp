#include "ioctl.h"

#include <libv4l2.h>
#include <sys/ioctl.h>

#include <cerrno>

namespace ImageAcquisition {

int rawIoctl(int fd, unsigned long request, void* arg)
{
    int result;
    do {
        result = ::ioctl(fd, request, arg);
    } while (result < 0 && errno == EINTR);
    return result < 0 ? -errno : 0;
}

int libv4l2Ioctl(int fd, unsigned long request, void* arg)
{
    int result;
    do {
        result = v4l2_ioctl(fd, request, arg);
    } while (result < 0 && errno == EINTR);
    return result < 0 ? -errno : 0;
}

} // namespace ImageAcquisition
