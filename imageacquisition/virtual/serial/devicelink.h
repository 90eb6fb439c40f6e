#pragma once

#include "uniquefd.h"

#include <memory>
#include <string>

namespace ImageAcquisition {

// A symbolic link this process made to one of its device nodes, such as
// /dev/ttyACM0 to a pseudo-terminal. It is removed again when the object
// goes, but only while it still points where it was made to point.
//
// Beside the link lies a note (/dev/.ttyACM0.owner) naming the process that
// made it, its start time and the link's target, and the maker holds an
// exclusive lock on that note for as long as the link is its own. The
// kernel drops the lock when the process ends however it ends (SIGKILL
// included), so a link whose note nobody holds, and which still points to
// the pseudo-terminal the note names, is provably one of ours that was
// left behind: any process may remove it (removeAbandoned), and the next
// virtual camera takes the path over. Anything else at the path (a real
// device, another program's link, a link whose note does not match) is
// never touched.
class DeviceLink
{
public:
    // Null with error set to -errno when the link cannot be made: -EEXIST
    // when the path is taken, -EACCES or -EROFS when the process may not.
    static std::unique_ptr<DeviceLink> create(const std::string& target, const std::string& path, int& error);
    // Removes a link left behind at path by a process that has ended; true
    // when it did. Leaves everything else alone, and gives up quietly where
    // this process may not remove it.
    static bool removeAbandoned(const std::string& path);
    ~DeviceLink();

    DeviceLink(const DeviceLink&) = delete;
    DeviceLink& operator=(const DeviceLink&) = delete;

    const std::string& path() const { return m_path; }
    const std::string& target() const { return m_target; }

private:
    DeviceLink(std::string target, std::string path, UniqueFd note);

    static std::string notePath(const std::string& path);

    std::string m_target;
    std::string m_path;
    // Open and locked for the link's life.
    UniqueFd m_note;
};

} // namespace ImageAcquisition
