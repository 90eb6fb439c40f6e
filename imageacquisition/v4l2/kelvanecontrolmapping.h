#pragma once

#include <string>

namespace ImageAcquisition {

// Makes uvcvideo show the maker's extension-unit controls (kelvane.h).
// uvcvideo knows the controls of the camera terminal and the processing
// unit by itself, but a vendor's extension unit only through mappings a
// program gives it. Mappings belong to the device and are gone after a
// replug, so they are made at every open, before the controls are read.
class KelvaneControlMapping
{
public:
    // Maps every control on fd, an open uvcvideo node. Returns an empty text
    // on success, else one line naming the controls that could not be mapped
    // and why. A mapping that exists already (another program, or an earlier
    // open) counts as success.
    static std::string mapAll(int fd);
};

} // namespace ImageAcquisition
