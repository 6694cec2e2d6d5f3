#pragma once
// The most memory the benchmark's process has held so far.

#include <sys/resource.h>

inline double peakMb() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_maxrss) / 1024.0; // kilobytes on Linux
}
