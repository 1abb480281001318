// ContainerFault: what is wrong with a restored container body, and where.
#pragma once

#include <cstdint>
#include <string>

#include "support/Exception.h"

namespace STREAMENGINE_SPACE {

class ContainerFault : public QLT_SPACE::Exception {
  public:
    /// @param logLine      the line that stands in hosts' logs
    /// @param explanation  the same for people, in full
    /// @param place        offset of the broken field in the restored body
    /// @param firstLine    a log line that goes in front; empty for none
    ContainerFault(std::string logLine, std::string explanation, uint64_t place,
                   std::string firstLine = {})
        : Exception(std::move(logLine)),
          detail(std::move(explanation)),
          offset(place),
          precedingLine(std::move(firstLine)) {}

    std::string detail;
    uint64_t offset;
    std::string precedingLine;
};

}  // namespace STREAMENGINE_SPACE
