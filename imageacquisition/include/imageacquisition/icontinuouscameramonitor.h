#pragma once

#include "icameramonitor.h"

namespace ImageAcquisition {

class ICameraEvent;

// Reports cameras being plugged in or out, from a thread of the layer.
// Deleted by its owner after stop().
class IContinuousCameraMonitor : public virtual ICameraMonitor
{
public:
    class IClient
    {
    public:
        virtual ~IClient() = default;
        // Ownership of the event passes to the client. May be called on a
        // thread of the layer.
        virtual void onCameraEvent(ICameraEvent* event) = 0;
    };

    ~IContinuousCameraMonitor() override = default;

    // Begins watching; every arrival or removal from then on reaches client.
    virtual void start(IClient* client) = 0;
};

} // namespace ImageAcquisition
