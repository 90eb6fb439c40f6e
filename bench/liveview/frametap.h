#pragma once

#include <imageacquisition/iframe.h>

#include <vector>

// What the benchmark layer saw of the frames the application took: the one
// it holds right now (a tick holds exactly one) and what getFrame cost.
// Everything runs on the application's thread, so no locking.
struct FrameTap
{
    // The frame of the current tick: valid from getFrame to releaseFrame.
    bool holding = false;
    const ImageAcquisition::IFrame* frame = nullptr;
    unsigned long long number = 0;
    ImageAcquisition::IFrame::TimeStamp stamp{0, 0};

    unsigned long long getFrameCalls = 0;
    unsigned long long emptyFrames = 0;
    // Time spent inside the camera layer's getFrame for frames with a
    // picture, while timeGetFrame is set (off by default: the memory
    // measurements must not see this list grow).
    bool timeGetFrame = false;
    std::vector<double> getFrameMs;

    static FrameTap& instance();
};
