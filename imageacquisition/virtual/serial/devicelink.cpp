#include "devicelink.h"

#include "uniquefd.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>

namespace ImageAcquisition {

namespace {

std::string readLink(const std::string& path)
{
    char buffer[PATH_MAX];
    const ssize_t length = readlink(path.c_str(), buffer, sizeof buffer - 1);
    return length < 0 ? std::string() : std::string(buffer, static_cast<size_t>(length));
}

bool readNote(const std::string& notePath, long& pid, std::string& target)
{
    UniqueFd fd(open(notePath.c_str(), O_RDONLY | O_CLOEXEC));
    if (!fd.isValid())
        return false;
    char buffer[PATH_MAX + 32];
    const ssize_t length = ::read(fd.get(), buffer, sizeof buffer - 1);
    if (length <= 0)
        return false;
    buffer[length] = '\0';
    char linkTarget[PATH_MAX];
    if (std::sscanf(buffer, "%ld %4095s", &pid, linkTarget) != 2)
        return false;
    target = linkTarget;
    return true;
}

} // namespace

DeviceLink::DeviceLink(std::string target, std::string path) : m_target(std::move(target)), m_path(std::move(path))
{
}

std::string DeviceLink::notePath(const std::string& path)
{
    const size_t slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? std::string(".") : path.substr(0, slash);
    const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    return folder + "/." + name + ".owner";
}

bool DeviceLink::isAbandoned(const std::string& path)
{
    long pid = 0;
    std::string target;
    if (!readNote(notePath(path), pid, target) || pid <= 0 || pid == static_cast<long>(getpid()))
        return false;
    // Only a maker that is certainly gone: a live process, or one we may not
    // signal, keeps its link.
    if (kill(static_cast<pid_t>(pid), 0) == 0 || errno != ESRCH)
        return false;
    struct stat info{};
    return lstat(path.c_str(), &info) == 0 && S_ISLNK(info.st_mode) && readLink(path) == target;
}

int DeviceLink::makeLink(const std::string& target, const std::string& path)
{
    if (symlink(target.c_str(), path.c_str()) != 0)
        return -errno;
    UniqueFd note(open(notePath(path).c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
    if (note.isValid()) {
        const std::string text = std::to_string(getpid()) + " " + target + "\n";
        // Without the note the link still works; it just cannot be taken
        // over should this process die without removing it.
        [[maybe_unused]] const ssize_t written = ::write(note.get(), text.data(), text.size());
    }
    return 0;
}

std::unique_ptr<DeviceLink> DeviceLink::create(const std::string& target, const std::string& path, int& error)
{
    error = makeLink(target, path);
    if (error == -EEXIST && isAbandoned(path)) {
        unlink(path.c_str());
        unlink(notePath(path).c_str());
        error = makeLink(target, path);
    }
    if (error != 0)
        return nullptr;
    return std::unique_ptr<DeviceLink>(new DeviceLink(target, path));
}

DeviceLink::~DeviceLink()
{
    if (readLink(m_path) == m_target)
        unlink(m_path.c_str());
    long pid = 0;
    std::string target;
    if (readNote(notePath(m_path), pid, target) && pid == static_cast<long>(getpid()) && target == m_target)
        unlink(notePath(m_path).c_str());
}

} // namespace ImageAcquisition
