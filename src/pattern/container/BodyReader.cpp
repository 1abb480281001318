#include "pattern/container/BodyReader.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace STREAMENGINE_SPACE {

BodyReader::BodyReader(std::FILE* bodyFile, size_t windowRoom)
    : file(fileno(bodyFile)), window(windowRoom) {
    struct stat status {};
    if (fstat(file, &status) == 0) bodyLength = static_cast<uint64_t>(status.st_size);
}

std::string_view BodyReader::view(uint64_t offset, size_t count) {
    // Compared without sums, which hostile offsets could make overflow.
    if (offset < windowOffset || count > windowLength ||
        offset - windowOffset > windowLength - count) {
        moveWindow(offset);
    }
    const size_t start = static_cast<size_t>(offset - windowOffset);
    return {window.data() + start, std::min(count, windowLength - start)};
}

// pread() neither uses nor moves the file's position, so several readers can share one file. It may
// read less than asked for; only 0 bytes mean the end.
void BodyReader::moveWindow(uint64_t offset) {
    windowOffset = offset;
    windowLength = 0;
    while (windowLength < window.size()) {
        const ssize_t count =
            pread(file, window.data() + windowLength, window.size() - windowLength,
                  static_cast<off_t>(offset + windowLength));
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return;
        windowLength += static_cast<size_t>(count);
    }
}

}  // namespace STREAMENGINE_SPACE
