#include "console/StdoutSilencer.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

#include "console/Output.h"

namespace zvk {

StdoutSilencer::StdoutSilencer() {
    flushOutput();
    saved = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    const int sink = open("/dev/null", O_WRONLY | O_CLOEXEC);
    const bool exchanged = saved != -1 && sink != -1 && dup2(sink, STDOUT_FILENO) != -1;
    const int number = errno;
    if (sink != -1) close(sink);
    if (exchanged) return;
    if (saved != -1) close(saved);
    throw std::system_error(number, std::generic_category(), "cannot redirect standard output");
}

StdoutSilencer::~StdoutSilencer() {
    std::fflush(stdout);  // the engine's texts in the buffer go to /dev/null too
    dup2(saved, STDOUT_FILENO);
    close(saved);
}

}  // namespace zvk
