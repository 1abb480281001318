#include "file/ReplacedFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

namespace fs = std::filesystem;

namespace zvk {

namespace {

// The permissions that open() gives a new file. mkstemp() gives fewer: only its owner can read it.
mode_t usualMode() {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

}  // namespace

ReplacedFile::ReplacedFile(std::string targetPath) : target(std::move(targetPath)) {
    std::error_code error;
    if (fs::is_symlink(fs::symlink_status(target, error))) {
        const fs::path linked = fs::canonical(target, error);
        if (error) fail(error.value());
        target = linked;
    }
    const fs::file_status status = fs::status(target, error);
    const bool isNew = !fs::exists(status);
    if (fs::is_directory(status)) fail(EISDIR);
    if (!isNew && !fs::is_regular_file(status)) fail(ENOTSUP);

    temporary = fs::path(target).replace_filename(".zvk-XXXXXX");
    const int descriptor = mkstemp(temporary.data());
    if (descriptor == -1) {
        const int number = errno;
        temporary.clear();
        fail(number);
    }
    file.reset(fdopen(descriptor, "w"));
    const mode_t mode = isNew ? usualMode() : static_cast<mode_t>(status.permissions()) & 0777;
    if (file && fchmod(descriptor, mode) == 0) return;
    const int number = errno;
    unlink(temporary.c_str());
    fail(number);
}

ReplacedFile::~ReplacedFile() {
    if (!temporary.empty()) unlink(temporary.c_str());
}

void ReplacedFile::write(std::string_view text) {
    if (std::fwrite(text.data(), 1, text.size(), file.get()) != text.size()) fail(errno);
}

void ReplacedFile::close() {
    if (std::fflush(file.get()) != 0 || fsync(fileno(file.get())) != 0) fail(errno);
    if (std::fclose(file.release()) != 0) fail(errno);
}

void ReplacedFile::commit() {
    if (file) close();
    if (std::rename(temporary.c_str(), target.c_str()) != 0) fail(errno);
    temporary.clear();
}

void ReplacedFile::fail(int number) const {
    throw std::system_error(number, std::generic_category(), "cannot write " + target);
}

}  // namespace zvk
