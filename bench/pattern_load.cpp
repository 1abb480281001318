// A host that loads sets in turn and times it, for scripts/check-container-load.
//
//   pattern_load ROUNDS SET...       a set: BASE or BASE,UPDATE
//
// Loads all sets in each round and prints for each set "SECONDS PATTERNS SET", the least CPU
// seconds of a load and the number of signatures, and at last "PEAK KIB" of the whole process: one
// set and one round give the peak of a load.
#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <limits>
#include <string>
#include <vector>

#include "zvkengine.hpp"

namespace {

struct Set {
    std::string base;
    std::string update;  // empty for none
    double seconds = std::numeric_limits<double>::max();
    ZVKPatternInfo info = {};
};

void timeLoad(Set& set) {
    const std::clock_t start = std::clock();
    const zvkengine::Set loaded(set.base, set.update);
    set.seconds = std::min(set.seconds, static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC);
    set.info = zvkengine::Set::info();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) return 2;
    std::vector<Set> sets;
    for (int i = 2; i < argc; ++i) {
        const std::string argument = argv[i];
        const size_t comma = std::min(argument.find(','), argument.size());
        sets.push_back({argument.substr(0, comma),
                        comma < argument.size() ? argument.substr(comma + 1) : std::string()});
    }
    for (int round = 0; round < std::stoi(argv[1]); ++round) {
        for (Set& set : sets) {
            try {
                timeLoad(set);
            } catch (const zvkengine::Error& error) {
                std::fprintf(stderr, "pattern_load: %s: %s\n", set.base.c_str(), error.what());
                return 1;
            }
        }
    }
    for (const Set& set : sets)
        std::printf("%.4f %u %s\n", set.seconds, set.info.patternCount, set.base.c_str());
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    std::printf("PEAK %ld\n", usage.ru_maxrss);
    return 0;
}
