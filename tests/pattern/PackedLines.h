// Container files made of lines by the engine's own writer.
#pragma once

#include <string>
#include <vector>

#include "pattern/ContainerBytes.h"
#include "pattern/container/ContainerWriter.h"
#include "pattern/line/PatternType.h"
#include "pattern/line/SignatureLine.h"
#include "store/PatternContainer.h"
#include "support/FilePtr.h"
#include "support/Refusal.h"

namespace zvk_test {

struct PlainFile {
    int type;
    std::vector<std::string> lines;
};

/// Writes a container with the lines that the engine takes.
/// @return their number
inline uint32_t pack(const std::string& path, const std::vector<PlainFile>& files,
                     const ContainerSettings& settings) {
    PatternContainer parsed;
    ContainerWriter writer(settings);
    for (const auto& [type, lines] : files) {
        for (const std::string& line : lines) {
            refusalOf([&, &type = type] {
                addSignatureLine(parsed, line.c_str(), type, false);
                writer.addLine(line, type);
            });
        }
    }
    const QLT_SPACE::FilePtr file(std::fopen(path.c_str(), "wb"));
    writer.write(file.get());
    return writer.patternTotal();
}

}  // namespace zvk_test
