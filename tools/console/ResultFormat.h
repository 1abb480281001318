// ResultFormat: how the results of a scan look on standard output, one line each.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace zvk {

struct ScanTotals {
    uint64_t files = 0;  // that could be opened
    uint64_t bytes = 0;  // read
    uint64_t detections = 0;
    uint64_t refused = 0;
    uint64_t errors = 0;
    double seconds = 0;

    double megabytesPerSecond() const {
        return seconds > 0 ? static_cast<double>(bytes) / 1e6 / seconds : 0;
    }
};

/// Each function returns one line with its line end, or nothing if the format has no such line.
class ResultFormat {
  public:
    virtual ~ResultFormat() = default;
    virtual std::string detection(const std::string& path, const std::string& name) const = 0;
    virtual std::string refused(const std::string& path) const = 0;
    virtual std::string error(const std::string& path, const std::string& reason) const = 0;
    virtual std::string summary(const ScanTotals& totals) const = 0;
};

std::unique_ptr<ResultFormat> makeTextFormat();
std::unique_ptr<ResultFormat> makeJsonFormat();

}  // namespace zvk
