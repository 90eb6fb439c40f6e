#pragma once

#include "backend.h"
#include "sysfsreader.h"

#include <memory>
#include <string>
#include <vector>

namespace ImageAcquisition {

// Real cameras through Video4Linux2: every single-planar capture node under
// /dev, in the order of their numbers.
class V4l2Backend : public Backend
{
public:
    explicit V4l2Backend(std::string devDirectory = "/dev", std::string sysfsRoot = "/sys");

    void appendDevices(std::vector<std::unique_ptr<BackendDevice>>& devices) override;
    std::unique_ptr<HotplugWatcher> createHotplugWatcher() override;

    // Paths of the video nodes ("videoN") in a directory, sorted by N.
    static std::vector<std::string> videoNodes(const std::string& directory);

private:
    std::string m_devDirectory;
    SysfsReader m_sysfs;
};

std::unique_ptr<Backend> createV4l2Backend();

} // namespace ImageAcquisition
