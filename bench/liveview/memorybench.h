#pragma once

#include <QString>

// Resident set growth while streaming: over a number of shown frames, and
// over openings and closings of the settings dialog.
int runFramesMemoryBench(const QString& fourcc, int width, int height, int framesPerSecond, int frames);
int runDialogMemoryBench(const QString& fourcc, int width, int height, int framesPerSecond, int openings);
