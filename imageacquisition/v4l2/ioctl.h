#pragma once

namespace ImageAcquisition {

// ioctl on a plain file descriptor: 0 on success, -errno on failure.
// Interrupted calls are repeated.
int rawIoctl(int fd, unsigned long request, void* arg);

// The same through libv4l2, for a descriptor that libv4l2 has adopted.
int libv4l2Ioctl(int fd, unsigned long request, void* arg);

} // namespace ImageAcquisition
