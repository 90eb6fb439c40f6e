#include "v4l2backend.h"

#include "udevwatcher.h"
#include "v4l2device.h"

#include <algorithm>
#include <cstdlib>
#include <dirent.h>
#include <memory>
#include <utility>

namespace ImageAcquisition {

namespace {

// N of "videoN", or -1 for any other name.
long videoNumber(const char* name)
{
    static const char prefix[] = "video";
    for (std::size_t i = 0; i + 1 < sizeof prefix; ++i) {
        if (name[i] != prefix[i])
            return -1;
    }
    const char* digits = name + sizeof prefix - 1;
    if (*digits < '0' || *digits > '9')
        return -1;
    char* end = nullptr;
    long number = std::strtol(digits, &end, 10);
    return *end == '\0' ? number : -1;
}

} // namespace

V4l2Backend::V4l2Backend(std::string devDirectory, std::string sysfsRoot)
    : m_devDirectory(std::move(devDirectory)), m_sysfs(std::move(sysfsRoot))
{
}

void V4l2Backend::appendDevices(std::vector<std::unique_ptr<BackendDevice>>& devices)
{
    for (const auto& path : videoNodes(m_devDirectory)) {
        if (auto device = V4l2Device::probe(path, m_sysfs))
            devices.push_back(std::move(device));
    }
}

std::unique_ptr<HotplugWatcher> V4l2Backend::createHotplugWatcher()
{
    return std::make_unique<UdevWatcher>(m_sysfs);
}

std::vector<std::string> V4l2Backend::videoNodes(const std::string& directory)
{
    std::vector<std::pair<long, std::string>> found;
    std::unique_ptr<DIR, int (*)(DIR*)> dir(::opendir(directory.c_str()), ::closedir);
    if (dir) {
        while (const dirent* entry = ::readdir(dir.get())) {
            long number = videoNumber(entry->d_name);
            if (number >= 0)
                found.emplace_back(number, directory + "/" + entry->d_name);
        }
    }
    std::sort(found.begin(), found.end());
    std::vector<std::string> paths;
    for (auto& node : found)
        paths.push_back(std::move(node.second));
    return paths;
}

std::unique_ptr<Backend> createV4l2Backend()
{
    return std::make_unique<V4l2Backend>();
}

} // namespace ImageAcquisition
