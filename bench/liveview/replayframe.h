#pragma once

#include <imageacquisition/iframe.h>

#include <vector>

// One picture of the real camera, kept and handed out again and again, so
// that a tick costs the application's work alone.
class ReplayFrame : public ImageAcquisition::IFrame
{
public:
    int getSize() const override { return static_cast<int>(data.size()); }
    const unsigned char* getData() const override { return data.data(); }
    unsigned long long getFrameNumber() const override { return number; }
    TimeStamp getTimeStamp() const override { return stamp; }
    bool isEmpty() const override { return data.empty(); }

    std::vector<unsigned char> data;
    unsigned long long number = 0;
    TimeStamp stamp{0, 0};
};
