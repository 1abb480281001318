#include "console/ResultFormat.h"

#include <fmt/format.h>

#include "console/Diagnostics.h"
#include "console/JsonLine.h"

namespace zvk {

namespace {

class TextFormat : public ResultFormat {
  public:
    std::string detection(const std::string& path, const std::string& name) const override {
        return fmt::format("{}: {}\n", printable(path), printable(name));
    }
    std::string refused(const std::string& path) const override {
        return fmt::format("{}: (not scannable)\n", printable(path));
    }
    // Nothing: errors are always printed on standard error.
    std::string error(const std::string&, const std::string&) const override { return {}; }
    std::string summary(const ScanTotals& totals) const override {
        return fmt::format(
            "-- {} files, {} bytes, {} detections, {} refused, {} errors, {:.1f} MB/s\n",
            totals.files, totals.bytes, totals.detections, totals.refused, totals.errors,
            totals.megabytesPerSecond());
    }
};

class JsonFormat : public ResultFormat {
  public:
    std::string detection(const std::string& path, const std::string& name) const override {
        return jsonLine({{"type", "detection"}, {"path", path}, {"name", name}});
    }
    std::string refused(const std::string& path) const override {
        return jsonLine({{"type", "refused"}, {"path", path}});
    }
    std::string error(const std::string& path, const std::string& reason) const override {
        return jsonLine({{"type", "error"}, {"path", path}, {"reason", reason}});
    }
    std::string summary(const ScanTotals& totals) const override {
        return jsonLine({{"type", "summary"},
                         {"files", totals.files},
                         {"bytes", totals.bytes},
                         {"detections", totals.detections},
                         {"refused", totals.refused},
                         {"errors", totals.errors},
                         {"seconds", totals.seconds},
                         {"mbPerSecond", totals.megabytesPerSecond()}});
    }
};

}  // namespace

std::unique_ptr<ResultFormat> makeTextFormat() {
    return std::make_unique<TextFormat>();
}

std::unique_ptr<ResultFormat> makeJsonFormat() {
    return std::make_unique<JsonFormat>();
}

}  // namespace zvk
