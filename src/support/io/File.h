// File: a path, and the questions that the choice of the default pattern files needs.
#pragma once

#include <string>

#include "support/VQObject.h"

namespace QLT_SPACE {

class File : public VQObject {
  public:
    explicit File(std::string name) : path(std::move(name)) {}

    bool exists() const;
    /// False also where the path's status cannot be read.
    bool isDirectory() const;
    /// True for a regular file; false also where the path's status cannot be read.
    bool isFile() const;

  private:
    std::string path;
};

}  // namespace QLT_SPACE
