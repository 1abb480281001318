#include "console/Output.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace zvk {

OutputError::OutputError(int number)
    : std::system_error(number, std::generic_category(), "cannot write to standard output") {}

void reserveStandardDescriptors() {
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
        if (fcntl(fd, F_GETFD) != -1 || errno != EBADF) continue;
        // open() uses the lowest free number, which is fd. With O_PATH a read or write fails with
        // EBADF, as on a closed descriptor.
        if (open("/dev/null", O_PATH) == -1) _exit(2);
    }
}

void writeOutput(std::string_view text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size()) throw OutputError(errno);
}

void flushOutput() {
    if (std::fflush(stdout) != 0) throw OutputError(errno);
}

}  // namespace zvk
