#include "support/io/File.h"

#include <sys/stat.h>
#include <unistd.h>

namespace QLT_SPACE {

bool File::exists() const {
    return access(path.c_str(), F_OK) == 0;
}

bool File::isDirectory() const {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool File::isFile() const {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

}  // namespace QLT_SPACE
