#pragma once

#include <QString>

// Streams the virtual camera through the application's own timer and
// measures frames shown against frames delivered, the latency from a
// frame's time stamp to its picture on the label, and the process's CPU.
int runStreamBench(const QString& fourcc, int width, int height, int framesPerSecond, int seconds,
                   double cpuTargetPercent);
