// Measure: CPU seconds of the calling thread, medians, and memory of the process.
#pragma once

#include <cstddef>
#include <vector>

/// @return CPU seconds that the calling thread has used so far
double threadSeconds();

/// @return the CPU seconds of work()
template <class Work>
double secondsOf(Work work) {
    const double start = threadSeconds();
    work();
    return threadSeconds() - start;
}

double median(std::vector<double> values);

/// @return bytes of memory that the process has resident now, and that it had at most so far
size_t residentBytes();
size_t peakResidentBytes();

/// @return bytes that the machine can still give to processes
size_t availableBytes();
