#pragma once

// The frame pump's cost per shown frame against its unavoidable steps.
int runPumpBench(int iterations);
