#pragma once

#include <imageacquisition/icameraevent.h>

namespace ImageAcquisition {

class CameraEvent : public ICameraEvent
{
public:
    explicit CameraEvent(int type) : m_type(type) {}
    int getType() const override { return m_type; }

private:
    int m_type;
};

} // namespace ImageAcquisition
