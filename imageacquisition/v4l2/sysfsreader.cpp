#include "sysfsreader.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <dirent.h>
#include <fstream>
#include <memory>
#include <sys/stat.h>
#include <utility>
#include <vector>

namespace ImageAcquisition {

namespace {

bool isRegularFile(const std::string& path)
{
    struct stat info;
    return ::stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

std::string parentDirectory(const std::string& path)
{
    auto slash = path.find_last_of('/');
    return slash == std::string::npos || slash == 0 ? std::string() : path.substr(0, slash);
}

bool isBcdDigit(char c)
{
    return c >= '0' && c <= '9';
}

} // namespace

SysfsReader::SysfsReader(std::string root) : m_root(std::move(root)) {}

UsbInfo SysfsReader::usbInfo(const std::string& nodeName) const
{
    UsbInfo info;
    if (nodeName.empty() || nodeName.find('/') != std::string::npos)
        return info;
    const std::string devices = canonical(m_root + "/devices");
    std::string directory = canonical(m_root + "/class/video4linux/" + nodeName + "/device");
    if (devices.empty() || directory.empty())
        return info;
    // The node hangs below a USB interface; the device with the descriptor
    // attributes is an ancestor. Stay inside the device tree while climbing.
    while (directory.size() > devices.size()
           && directory.compare(0, devices.size(), devices) == 0) {
        if (isRegularFile(directory + "/idVendor")) {
            info.vendorId = attribute(directory, "idVendor");
            info.productId = attribute(directory, "idProduct");
            info.manufacturer = attribute(directory, "manufacturer");
            info.serial = attribute(directory, "serial");
            info.firmwareVersion = formatBcdVersion(attribute(directory, "bcdDevice"));
            info.sysfsPath = directory;
            break;
        }
        directory = parentDirectory(directory);
    }
    return info;
}

std::string SysfsReader::formatBcdVersion(const std::string& bcd)
{
    if (bcd.size() != 4)
        return bcd;
    for (char c : bcd) {
        if (!isBcdDigit(c))
            return bcd;
    }
    std::string major = bcd.substr(0, 2);
    if (major[0] == '0')
        major.erase(0, 1);
    return major + "." + bcd.substr(2, 2);
}

std::vector<std::string> SysfsReader::entries(const std::string& directory)
{
    std::vector<std::string> names;
    std::unique_ptr<DIR, int (*)(DIR*)> dir(::opendir(directory.c_str()), ::closedir);
    if (!dir)
        return names;
    while (const dirent* entry = ::readdir(dir.get())) {
        if (entry->d_name[0] != '.')
            names.emplace_back(entry->d_name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string SysfsReader::canonical(const std::string& path)
{
    char resolved[PATH_MAX];
    if (!::realpath(path.c_str(), resolved))
        return std::string();
    return resolved;
}

std::string SysfsReader::serialLine(const std::string& usbDevicePath)
{
    if (usbDevicePath.empty())
        return std::string();
    // Interfaces are the sub-folders named "<bus>-<port>:<config>.<number>".
    for (const std::string& interface : entries(usbDevicePath)) {
        if (interface.find(':') == std::string::npos)
            continue;
        for (const std::string& tty : entries(usbDevicePath + "/" + interface + "/tty"))
            return "/dev/" + tty;
    }
    return std::string();
}

std::string SysfsReader::attribute(const std::string& directory, const char* name)
{
    std::ifstream file(directory + "/" + name);
    std::string value;
    if (!file || !std::getline(file, value))
        return std::string();
    while (!value.empty() && (value.back() == '\n' || value.back() == '\r' || value.back() == ' '))
        value.pop_back();
    // Some attributes are printed right-aligned ("%2d").
    value.erase(0, value.find_first_not_of(' '));
    return value;
}

} // namespace ImageAcquisition
