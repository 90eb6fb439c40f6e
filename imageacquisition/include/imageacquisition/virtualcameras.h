#pragma once

// Plugging virtual cameras in and out, for tests and demonstrations. Not
// part of what the application uses (imageacquisition.h).
//
// Virtual cameras are listed after the real devices. How many there are at
// first comes from the environment variable IMAGEACQUISITION_VIRTUAL_CAMERAS
// (default 0), read again each time a device list is made; the functions
// here plug cameras in and out on top of that, and the continuous camera
// monitor reports each as ICameraEvent::CameraAdded or CameraRemoved.

#include <string>

namespace ImageAcquisition {
namespace VirtualCameras {

// Number of virtual cameras plugged in now.
int count();
// Plugs in one more at the end of the list; returns its index among the
// virtual cameras.
int plug();
// Unplugs the virtual camera at index (0 .. count() - 1); false when there is
// none. Camera objects opened on it stay safe to use until deleted: they give
// empty frames, their streaming calls fail with -ENODEV and their control
// writes throw AssertFailureException.
bool unplug(int index);
// The pseudo-terminal on which the camera at index talks (such as
// /dev/pts/3); empty when there is no such camera or no pseudo-terminal.
std::string serialLinePath(int index);
// The next count frames of the camera at index arrive damaged, as from a
// bad cable: raw frames cut to half their bytes, MJPG frames with their
// header overwritten so that no reader can decode them. False when there
// is no such camera. Its serial line's "damage N" does the same.
bool damageFrames(int index, int count);

} // namespace VirtualCameras
} // namespace ImageAcquisition
