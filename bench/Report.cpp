#include "Report.h"

#include <cmath>
#include <fstream>
#include <stdexcept>

void putSection(const std::filesystem::path& file, const std::string& section,
                const nlohmann::ordered_json& value) {
    if (file.empty()) return;
    nlohmann::ordered_json document = nlohmann::ordered_json::object();
    if (std::ifstream in(file); in) document = nlohmann::ordered_json::parse(in);
    document[nlohmann::ordered_json::json_pointer("/" + section)] = value;
    std::ofstream out(file);
    out << document.dump(2) << "\n";
    if (!out.flush()) throw std::runtime_error("cannot write " + file.string());
}

double rounded(double value) {
    return std::round(value * 1000) / 1000;
}
