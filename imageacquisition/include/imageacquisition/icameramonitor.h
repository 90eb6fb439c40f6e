#pragma once

namespace ImageAcquisition {

// Something that watches in the background until it is stopped.
class ICameraMonitor
{
public:
    virtual ~ICameraMonitor() = default;

    // Ends the watching. Once it returns, no further report is made.
    virtual void stop() = 0;
};

} // namespace ImageAcquisition
