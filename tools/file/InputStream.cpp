#include "file/InputStream.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace zvk {

namespace {

std::string describe(const char* what, int number) {
    return fmt::format("{}: {}", what, std::generic_category().message(number));
}

// A file found in a folder was a regular file when it was found. Something else may have its name
// by now: a symbolic link is not followed (O_NOFOLLOW), a pipe is not waited for (O_NONBLOCK).
int openDescriptor(const InputFile& input) {
    if (input.path == kStandardInput) return fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0);
    const int guard = input.isGiven ? 0 : O_NOFOLLOW | O_NONBLOCK;
    return open(input.path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | guard);
}

}  // namespace

InputStream::InputStream(const InputFile& input) {
    const int fd = openDescriptor(input);
    if (fd == -1) throw std::runtime_error(describe("cannot open", errno));
    file.reset(fdopen(fd, "r"));
    if (!file) {
        const int number = errno;
        close(fd);
        throw std::runtime_error(describe("cannot open", number));
    }
    struct stat status {};
    if (fstat(fd, &status) == -1) throw std::runtime_error(describe("cannot open", errno));
    if (!input.isGiven && !S_ISREG(status.st_mode)) {
        throw std::runtime_error("cannot open: no longer a regular file");
    }
    openedSize = status.st_size;
}

size_t InputStream::read(char* buffer, size_t length) {
    const size_t count = std::fread(buffer, 1, length, file.get());
    if (count < length && std::ferror(file.get()) != 0) readError = errno;
    return count;
}

// The file's size at the end is compared with its size at the start, not with the bytes read: files
// of /proc and /sys have sizes that differ from their content, but these sizes do not change.
std::string InputStream::failure() const {
    if (readError != 0) return describe("cannot read", readError);
    struct stat status {};
    if (fstat(fileno(file.get()), &status) == -1) return describe("cannot read", errno);
    if (!S_ISREG(status.st_mode) || status.st_size == openedSize) return {};
    return fmt::format("changed from {} to {} bytes while it was read", openedSize, status.st_size);
}

}  // namespace zvk
