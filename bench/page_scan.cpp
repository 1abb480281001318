// A host that tells of each page what was found and where, for scripts/check-real-pages.
//
//   page_scan PATTERNS ROUNDS CHUNK... < LIST    pages named one a line; a chunk of 0: whole pages
//
// Scans all pages at each chunk length in turn, as often as there are rounds. Prints
// "PAGE<tab>OFFSET<tab>NAME" for each detection of the last scan, its offset in the normalised
// stream, and on standard error for each chunk length the least CPU seconds of a scan.
#include <algorithm>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "zvkengine.h"

namespace {

struct Page {
    std::string name;
    std::string content;
    std::vector<std::string> found;
};

int32_t onEvent(void* /*reserved*/, ZVK_ENGINE_EVENT_TYPE type, const void* data, void* userData) {
    if (type == ZVK_EVENT_VIRUS_FOUND) {
        static_cast<Page*>(userData)->found.emplace_back(
            static_cast<const ZVKVirusEvent*>(data)->name);
    }
    return 0;
}

/// @return "OFFSET<tab>NAME" out of a detail text, the offset that of the first part
std::string placeOf(const std::string& detail) {
    constexpr std::string_view kLabel = "offset   :0x";
    const size_t name = detail.find('\t') + 1;
    const size_t offset = detail.find(kLabel) + kLabel.size();
    return std::to_string(std::stoul(detail.substr(offset), nullptr, 16)) + "\t" +
           detail.substr(name, detail.find('\t', name) - name);
}

void scanPage(void* instance, Page& page, size_t chunkLength) {
    static constexpr ZVKScanEngineCallbacks kCallbacks = {onEvent};
    page.found.clear();
    beginScan(instance, 0, &kCallbacks, &page);
    const std::string& text = page.content;
    const auto feed = [&](size_t from, size_t to) {
        scan(instance, text.data() + from, static_cast<uint32_t>(to - from));
    };
    // The first 256 bytes apart: a detection among them would end the scan of their chunk.
    const size_t header = std::min<size_t>(256, text.size());
    const size_t step = chunkLength != 0 ? chunkLength : std::max<size_t>(1, text.size());
    for (size_t i = 0; i < header; i += step) feed(i, std::min(i + step, header));
    for (size_t i = header; i < text.size(); i += step) feed(i, std::min(i + step, text.size()));
    endScan(instance);
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

int main(int argc, char** argv) {
    if (argc < 4) return 2;
    const ZVKPatternFile files = {argv[1], nullptr};
    const ZVKInternalOptions options = {"", 0, 0, 0, 1};
    setInternalOptions(&options);
    if (loadPattern(&files) != 0) return 2;
    void* instance = createInstance();
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
    destroyInstance(instance);
    return 0;
}
