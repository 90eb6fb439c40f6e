#pragma once

#include <vector>

namespace ImageAcquisition {

// The valid item numbers of a menu control. Drivers may leave gaps (items
// that VIDIOC_QUERYMENU refuses); the layer shows entries 0 .. count - 1
// without gaps, entry i standing for the i-th valid item.
class MenuItems
{
public:
    MenuItems() = default;
    explicit MenuItems(std::vector<long long> itemNumbers);

    int count() const { return static_cast<int>(m_items.size()); }
    // The entry of a driver value, -1 when it is no valid item.
    int entryOf(long long itemNumber) const;
    // The driver value of an entry; false when the entry does not exist.
    bool itemOf(int entry, long long& itemNumber) const;

private:
    std::vector<long long> m_items;
};

} // namespace ImageAcquisition
