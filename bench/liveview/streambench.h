#pragma once

#include <QString>

struct StreamTargets
{
    double cpuPercent = 0;   // whole process, share of one core; 0: none
    double stepsRatio = 0;   // whole process against the unavoidable steps; 0: none
};

// Streams the virtual camera through the application's own timer, `runs`
// times for `seconds` each, and measures frames shown against frames
// delivered, the latency from a frame's time stamp to its picture on the
// label, and the process's CPU against the cost of the unavoidable steps.
int runStreamBench(const QString& fourcc, int width, int height, int framesPerSecond, int seconds, int runs,
                   const StreamTargets& targets);
