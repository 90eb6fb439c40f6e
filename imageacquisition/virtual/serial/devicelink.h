#pragma once

#include <memory>
#include <string>

namespace ImageAcquisition {

// A symbolic link this process made to one of its device nodes, such as
// /dev/ttyACM0 to a pseudo-terminal. It is removed again when the object
// goes, but only while it still points where it was made to point.
//
// Beside the link lies a note of the process that made it, so that a link
// left behind by a process that ended without cleaning up (killed, crashed)
// can be told from a device of someone else, and taken over.
class DeviceLink
{
public:
    // Null with error set to -errno when the link cannot be made: -EEXIST
    // when the path is taken, -EACCES or -EROFS when the process may not.
    static std::unique_ptr<DeviceLink> create(const std::string& target, const std::string& path, int& error);
    ~DeviceLink();

    DeviceLink(const DeviceLink&) = delete;
    DeviceLink& operator=(const DeviceLink&) = delete;

    const std::string& path() const { return m_path; }
    const std::string& target() const { return m_target; }

private:
    DeviceLink(std::string target, std::string path);

    static std::string notePath(const std::string& path);
    static bool isAbandoned(const std::string& path);
    static int makeLink(const std::string& target, const std::string& path);

    std::string m_target;
    std::string m_path;
};

} // namespace ImageAcquisition
