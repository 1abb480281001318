// FilePtr: owns a stdio stream, so that its file is closed also where an exception ends a load.
#pragma once

#include <cstdio>
#include <memory>

namespace QLT_SPACE {

struct FileCloser {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};
using FilePtr = std::unique_ptr<std::FILE, FileCloser>;

}  // namespace QLT_SPACE
