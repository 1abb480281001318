// ContainerFault: why a container file cannot be read, for logs and for people.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "support/Exception.h"

namespace STREAMENGINE_SPACE {

/// One failure, described twice. The message and the log lines are short texts on which hosts and
/// readers of logs rely; the explanation names the numbers and the offset for somebody who wants to
/// repair the file.
class ContainerFault : public QLT_SPACE::Exception {
  public:
    enum class Place {
        kFile,          // the file itself is wrong, at an offset of the file
        kRestoredBody,  // its body is wrong, at an offset of the restored body
        kHost,          // the file may be right, but this host cannot restore it
    };

    /// @param reason       the exception's message, with which the load of the file fails
    /// @param lines        log lines that come before it, in their order
    /// @param explanation  the fault in full; for kHost a whole sentence that names the file
    /// @param faultOffset  bytes, of the field that is wrong; 0 for kHost
    ContainerFault(std::string reason, std::vector<std::string> lines, std::string explanation,
                   Place faultPlace, uint64_t faultOffset)
        : Exception(std::move(reason)),
          logLines(std::move(lines)),
          detail(std::move(explanation)),
          place(faultPlace),
          offset(faultOffset) {}

    std::vector<std::string> logLines;
    std::string detail;
    Place place;
    uint64_t offset;
};

}  // namespace STREAMENGINE_SPACE
