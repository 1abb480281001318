// What measurements are made of: CPU seconds of the calling thread, medians, memory of the process.
#pragma once

#include <cstddef>
#include <vector>

/// CPU seconds that the calling thread has used.
double threadSeconds();

/// @return the CPU seconds of work()
template <class Work>
double secondsOf(Work work) {
    const double start = threadSeconds();
    work();
    return threadSeconds() - start;
}

double median(std::vector<double> values);

/// Bytes of memory that the process has resident now; that it had at most.
size_t residentBytes();
size_t peakResidentBytes();

/// Bytes that the machine could still hand out.
size_t availableBytes();
