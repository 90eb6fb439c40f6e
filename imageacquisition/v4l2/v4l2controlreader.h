#pragma once

#include "v4l2control.h"

#include <memory>
#include <vector>

namespace ImageAcquisition {

class V4l2Handle;

// Lists the controls of an open device, compound ones included, and makes
// the control object of the right kind for each, with its state read.
class V4l2ControlReader
{
public:
    V4l2ControlReader(const V4l2Handle& device, bool kelvaneDevice);

    std::vector<std::unique_ptr<V4l2Control>> read() const;

private:
    std::unique_ptr<V4l2Control> create(const v4l2_query_ext_ctrl& query) const;

    const V4l2Handle& m_device;
    bool m_kelvaneDevice;
};

} // namespace ImageAcquisition
