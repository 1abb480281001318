#include "pattern/BodyReader.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace STREAMENGINE_SPACE {

BodyReader::BodyReader(std::FILE* bodyFile) : file(fileno(bodyFile)) {  // NOLINT: see window
    struct stat status {};
    if (fstat(file, &status) == 0) bodyLength = static_cast<uint64_t>(status.st_size);
}

size_t BodyReader::readAt(uint64_t offset, void* out, size_t length) {
    if (offset >= bodyLength) return 0;
    length = static_cast<size_t>(std::min<uint64_t>(length, bodyLength - offset));
    if (offset < windowOffset || offset + length > windowOffset + windowLength) moveWindow(offset);
    const size_t start = static_cast<size_t>(offset - windowOffset);
    length = std::min(length, windowLength - start);
    std::memcpy(out, window.data() + start, length);
    return length;
}

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
