#include "Corpus.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <numeric>
#include <stdexcept>

#include "testing/Random.h"

namespace {

namespace fs = std::filesystem;

/// @return the entries of a folder by name; the file system's order may differ from run to run
std::vector<fs::path> entriesOf(const fs::path& folder) {
    std::vector<fs::path> entries;
    for (const auto& entry : fs::directory_iterator(folder)) entries.push_back(entry.path());
    std::sort(entries.begin(), entries.end());
    return entries;
}

double bytesOf(const std::vector<fs::path>& files) {
    return std::accumulate(files.begin(), files.end(), 0.0, [](double sum, const fs::path& file) {
        return sum + static_cast<double>(fs::file_size(file));
    });
}

std::string contentOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

void shuffle(std::vector<fs::path>& files, Random& random) {
    for (size_t i = files.size(); i > 1; --i) {
        std::swap(files[i - 1], files[random.between(0, i - 1)]);
    }
}

}  // namespace

Pages samplePages(const fs::path& folder, double megabytes, uint64_t seed) {
    Random random(seed);
    std::vector<std::vector<fs::path>> kinds;
    double all = 0;
    for (const fs::path& kind : entriesOf(folder)) {
        kinds.push_back(entriesOf(kind));
        all += bytesOf(kinds.back());
    }
    Pages pages;
    for (auto& files : kinds) {
        double left = bytesOf(files) * std::min(1.0, megabytes * 1e6 / all);
        shuffle(files, random);
        for (const fs::path& file : files) {
            left -= static_cast<double>(fs::file_size(file));
            if (left < 0) break;
            pages.push_back(contentOf(file));
        }
    }
    if (pages.empty()) throw std::runtime_error("no pages in " + folder.string());
    return pages;
}

size_t totalBytes(const Pages& pages) {
    return std::accumulate(pages.begin(), pages.end(), size_t{0},
                           [](size_t sum, const std::string& page) { return sum + page.size(); });
}
