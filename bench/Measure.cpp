#include "Measure.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <fstream>
#include <string>

double threadSeconds() {
    timespec now = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

size_t residentBytes() {
    std::ifstream in("/proc/self/statm");
    size_t size = 0, resident = 0;
    in >> size >> resident;
    return resident * static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

size_t peakResidentBytes() {
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<size_t>(usage.ru_maxrss) * 1024;
}

size_t availableBytes() {
    std::ifstream in("/proc/meminfo");
    for (std::string word; in >> word;) {
        size_t kibibytes = 0;
        if (word == "MemAvailable:" && in >> kibibytes) return kibibytes * 1024;
    }
    return 0;
}
