#pragma once

#include <unistd.h>

// An open file descriptor, closed when this goes away.
class FileDescriptor
{
public:
    explicit FileDescriptor(int fd) : m_fd(fd) {}
    ~FileDescriptor()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    int get() const { return m_fd; }
    bool isValid() const { return m_fd >= 0; }

private:
    int m_fd;
};
