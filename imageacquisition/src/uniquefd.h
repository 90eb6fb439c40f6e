#pragma once

namespace ImageAcquisition {

// Owns a plain file descriptor and closes it when it goes.
class UniqueFd
{
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : m_fd(fd) {}
    ~UniqueFd();
    UniqueFd(UniqueFd&& other) noexcept;
    UniqueFd& operator=(UniqueFd&& other) noexcept;
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;

    int get() const { return m_fd; }
    bool isValid() const { return m_fd >= 0; }
    // Gives up ownership without closing.
    int release();
    void reset(int fd = -1);

private:
    int m_fd = -1;
};

} // namespace ImageAcquisition
