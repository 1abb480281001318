// A host that prints for each page what was found and where, for scripts/check-real-pages.
//
//   page_scan PATTERNS ROUNDS CHUNK... < LIST    pages named one a line; a chunk of 0: whole pages
//
// Scans all pages at each chunk length in turn, as often as there are rounds. Prints
// "PAGE<tab>OFFSET<tab>NAME" for each detection of the last scan, its offset in the normalised
// stream, and on standard error for each chunk length the least CPU seconds of a scan.
#include <algorithm>
#include <cstdio>
#include <ctime>
#include <exception>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "zvkengine.hpp"

namespace {

struct Page {
    std::string name;
    std::string content;
    std::vector<std::string> found;
};

/// @return "OFFSET<tab>NAME" out of a detail text, the offset that of the first part
std::string placeOf(const std::string& detail) {
    constexpr std::string_view kLabel = "offset   :0x";
    const size_t name = detail.find('\t') + 1;
    const size_t offset = detail.find(kLabel) + kLabel.size();
    return std::to_string(std::stoul(detail.substr(offset), nullptr, 16)) + "\t" +
           detail.substr(name, detail.find('\t', name) - name);
}

void scanPage(zvkengine::Instance& instance, Page& page, size_t chunkLength) {
    page.found.clear();
    instance.begin(page.found);
    const std::string_view text = page.content;
    // The first 256 bytes go apart: a detection among them would end the scan of their chunk.
    const std::string_view header = text.substr(0, 256);
    const size_t step = chunkLength != 0 ? chunkLength : std::max<size_t>(1, text.size());
    for (size_t i = 0; i < header.size(); i += step) instance.scan(header.substr(i, step));
    for (size_t i = header.size(); i < text.size(); i += step) instance.scan(text.substr(i, step));
    instance.end();
}

std::vector<Page> readPages() {
    std::vector<Page> pages;
    for (std::string name; std::getline(std::cin, name);) {
        std::ifstream file(name, std::ios::binary);
        pages.push_back({name, {std::istreambuf_iterator<char>(file), {}}, {}});
    }
    return pages;
}

}  // namespace

int main(int argc, char** argv) try {
    if (argc < 4) return 2;
    const ZVKInternalOptions options = {"", 0, 0, 0, 1};
    setInternalOptions(&options);
    const zvkengine::Set set(argv[1]);
    zvkengine::Instance instance;
    std::vector<Page> pages = readPages();
    std::map<std::string, double> seconds;
    for (int round = 0; round < std::stoi(argv[2]); ++round) {
        for (int i = 3; i < argc; ++i) {
            const std::clock_t start = std::clock();
            for (Page& page : pages) scanPage(instance, page, std::stoul(argv[i]));
            const double taken = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
            const auto best = seconds.try_emplace(argv[i], taken).first;
            best->second = std::min(best->second, taken);
        }
    }
    for (const Page& page : pages) {
        for (const auto& detail : page.found) {
            std::printf("%s\t%s\n", page.name.c_str(), placeOf(detail).c_str());
        }
    }
    for (const auto& [chunk, best] : seconds) {
        std::fprintf(stderr, "%s %.4f\n", chunk.c_str(), best);
    }
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "page_scan: %s\n", error.what());
    return 2;
}
