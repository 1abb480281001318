// Scans one file with one pattern file. Exit status: 0 clean, 1 something found, 2 an error.
#include <exception>
#include <fstream>
#include <iostream>
#include <string>
#include <zvkengine.hpp>

int main(int argc, char** argv) try {
    std::ifstream file(argc == 3 ? argv[2] : "", std::ios::binary);
    if (!file) {
        std::cerr << "usage: " << argv[0] << " PATTERNS FILE (two readable files)\n";
        return 2;
    }
    const zvkengine::Set patterns(argv[1]);
    zvkengine::Instance instance;
    bool found = false;
    instance.begin([&found](std::string_view name) {
        std::cout << "found: " << name << '\n';  // name is valid only during this call
        found = true;
        return zvkengine::Answer::kGoOn;
    });
    std::string chunk(65536, '\0');
    while (!instance.isRefused() && file.read(chunk.data(), 65536).gcount() > 0)
        instance.scan({chunk.data(), static_cast<size_t>(file.gcount())});
    instance.end();  // always, also after a refusal; may report detections
    if (instance.isRefused()) std::cout << "not scannable: " << argv[2] << '\n';
    if (file.bad()) return 2;
    return found ? 1 : 0;
} catch (const std::exception& error) {
    std::cerr << argv[0] << ": " << error.what() << '\n';
    return 2;
}
