// FilePtr: owns a stdio stream, so that a load that leaves through an exception closes its files.
#pragma once

#include <cstdio>
#include <memory>

namespace QLT_SPACE {

struct FileCloser {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};
using FilePtr = std::unique_ptr<std::FILE, FileCloser>;

}  // namespace QLT_SPACE
