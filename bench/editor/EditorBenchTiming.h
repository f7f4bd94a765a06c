// Timing helpers shared by the editor benchmarks.
#pragma once

#include <algorithm>
#include <ctime>
#include <vector>

// CPU time of the calling thread, which does all the editor's work: on a machine shared with
// other builds the wall clock also counts the time other processes held the cores.
inline double threadCpuMilliseconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) * 1000 + double(now.tv_nsec) / 1e6;
}

inline double median(std::vector<double> values)
{
    if (values.empty())
        return 0;
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}
