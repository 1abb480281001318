// What a search does with a set and pages, counted by outcome.
//
//   engine_counts SET.ndb PAGES [MEGABYTES]
//
// The engine is compiled into this program once more, with its counters. Prints each counter as a
// total and for each normalised byte that was walked over. Bytes are walked over more than once
// where a stream is resumed after a detection, or was undecided at the end of a chunk.
#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>
#include <zvkengine.hpp>

#include "scan/index/SearchCounts.h"

namespace {

using STREAMENGINE_SPACE::searchCounts;
using STREAMENGINE_SPACE::SearchCounts;

struct NamedCount {
    const char* name;
    uint64_t SearchCounts::*count;
};

constexpr std::array<NamedCount, 15> kCounts = {{
    {"bytes walked over", &SearchCounts::bytes},
    {"marks of long anchors", &SearchCounts::longMarks},
    {"  entries", &SearchCounts::longEntries},
    {"marks of wide anchors", &SearchCounts::wideMarks},
    {"marks of narrow anchors", &SearchCounts::narrowMarks},
    {"marks of pairs", &SearchCounts::pairMarks},
    {"  groups asked", &SearchCounts::shapeLookups},
    {"run units reached", &SearchCounts::runEntries},
    {"  not alive", &SearchCounts::idle},
    {"compared with a record", &SearchCounts::compared},
    {"occurrences of parts", &SearchCounts::occurrences},
    {"parts accepted", &SearchCounts::accepted},
    {"units woken", &SearchCounts::woken},
    {"filter bits cleared", &SearchCounts::ignored},
    {"live states made up again", &SearchCounts::restored},
}};

std::vector<std::filesystem::path> filesBelow(const std::filesystem::path& folder) {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file()) files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

/// Scans pages until there are so many bytes.
/// @return the detections
size_t scanPages(const std::filesystem::path& folder, double megabytes) {
    constexpr size_t kChunk = 16384;
    size_t found = 0, scanned = 0;
    zvkengine::Instance instance;
    for (const auto& file : filesBelow(folder)) {
        if (static_cast<double>(scanned) >= megabytes * 1e6) break;
        std::ifstream in(file, std::ios::binary);
        const std::string page((std::istreambuf_iterator<char>(in)), {});
        instance.begin([&found](std::string_view /*name*/) {
            ++found;
            return zvkengine::Answer::kGoOn;
        });
        const std::string_view text = page;
        try {
            for (size_t i = 0; i < text.size(); i += kChunk) instance.scan(text.substr(i, kChunk));
            scanned += page.size();
        } catch (const zvkengine::Error&) {
            // Refused by its type: the page is left out.
        }
        instance.end();
    }
    return found;
}

void printCounts(size_t found) {
    const auto bytes = static_cast<double>(std::max<uint64_t>(searchCounts.bytes, 1));
    for (const auto& [name, count] : kCounts) {
        const uint64_t number = searchCounts.*count;
        std::printf("%-26s %12llu %9.4f\n", name, static_cast<unsigned long long>(number),
                    static_cast<double>(number) / bytes);
    }
    std::printf("%-26s %12zu\n", "detections", found);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3 && argc != 4) {
        std::fprintf(stderr, "usage: engine_counts SET.ndb PAGES [MEGABYTES]\n");
        return 2;
    }
    try {
        zvkengine::Set set;
        set.load(argv[1]);
        printCounts(scanPages(argv[2], argc == 4 ? std::stod(argv[3]) : 4));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "engine_counts: %s\n", error.what());
        return 2;
    }
    return 0;
}
