#include "framearchive.h"

#include <cctype>
#include <cstdio>
#include <unistd.h>

namespace UsbCamera {

FrameArchive::FrameArchive(std::string folder, std::size_t budgetBytes)
    : m_folder(std::move(folder)), m_budget(budgetBytes)
{
}

void FrameArchive::keep(std::uint64_t number, const char* fourcc, const std::vector<std::uint8_t>& frame)
{
    if (m_folder.empty())
        return;
    std::string suffix;
    for (const char* c = fourcc; *c; ++c)
        suffix += static_cast<char>(std::tolower(static_cast<unsigned char>(*c)));
    char name[32];
    std::snprintf(name, sizeof name, "/%06llu.", static_cast<unsigned long long>(number));
    const std::string path = m_folder + name + suffix;
    // Written under a temporary name and renamed, so a reader never sees half a frame.
    const std::string partial = path + ".part";
    std::FILE* file = std::fopen(partial.c_str(), "wb");
    if (!file)
        return;
    const bool written = std::fwrite(frame.data(), 1, frame.size(), file) == frame.size();
    if (std::fclose(file) != 0 || !written || std::rename(partial.c_str(), path.c_str()) != 0) {
        ::unlink(partial.c_str());
        return;
    }
    m_kept.push_back({path, frame.size()});
    m_total += frame.size();
    while (m_total > m_budget && m_kept.size() > 1) {
        ::unlink(m_kept.front().path.c_str());
        m_total -= m_kept.front().size;
        m_kept.pop_front();
    }
}

} // namespace UsbCamera
