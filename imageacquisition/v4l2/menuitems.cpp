#include "menuitems.h"

#include <algorithm>
#include <utility>

namespace ImageAcquisition {

MenuItems::MenuItems(std::vector<long long> itemNumbers) : m_items(std::move(itemNumbers))
{
    std::sort(m_items.begin(), m_items.end());
    m_items.erase(std::unique(m_items.begin(), m_items.end()), m_items.end());
}

int MenuItems::entryOf(long long itemNumber) const
{
    auto found = std::lower_bound(m_items.begin(), m_items.end(), itemNumber);
    if (found == m_items.end() || *found != itemNumber)
        return -1;
    return static_cast<int>(found - m_items.begin());
}

bool MenuItems::itemOf(int entry, long long& itemNumber) const
{
    if (entry < 0 || entry >= count())
        return false;
    itemNumber = m_items[static_cast<std::size_t>(entry)];
    return true;
}

} // namespace ImageAcquisition
