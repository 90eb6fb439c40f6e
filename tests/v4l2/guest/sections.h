#pragma once

#include <imageacquisition/imageacquisition.h>

#include <memory>
#include <string>

namespace Guest {

// The groups of guest tests, one per command-line word.
void testEnumeration();
void testFormats();
void testStreaming();
void testControls();
void testEmulated();
void testHotplug();
void testMultiplanar();

// Helpers shared by the groups.
std::unique_ptr<ImageAcquisition::IStreamingCamera> openFirstCamera();
// Polls getFrame until it gives a picture; the empty frames met on the way
// are handed back. Null after timeoutMs without a picture.
ImageAcquisition::IFrame* waitForFrame(ImageAcquisition::IStreamingCamera& camera, int timeoutMs);
ImageAcquisition::ICameraControl* findControl(ImageAcquisition::ICamera& camera,
                                              const std::string& name);
int findFormat(ImageAcquisition::ICamera& camera, const std::string& fourcc, bool emulated);
// Index of the resolution with the fewest pixels, to keep the emulated CPU's work small.
int smallestResolution(ImageAcquisition::IPixelFormat& format);
// Index of the shortest frame interval.
int fastestInterval(ImageAcquisition::IResolution& resolution);
long long monotonicMicroseconds();
void sleepMilliseconds(int milliseconds);

} // namespace Guest
