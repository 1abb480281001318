// What the tests of the public interface share: a host, its log and its pattern files.
#pragma once

#include <filesystem>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "zvkengine.hpp"

/// A folder that lives as long as the object.
class TempFolder {
  public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    /// Writes a file and returns its path.
    std::string write(const std::string& name, std::string_view content) const;
    std::string path(const std::string& name) const { return folder / name; }

  private:
    std::filesystem::path folder;
};

/// Sets the internal options for one scope.
class Options {
  public:
    explicit Options(const _ZVKInternalOptions& options) { setInternalOptions(&options); }
    ~Options();
    Options(const Options&) = delete;
    Options& operator=(const Options&) = delete;
};

/// Collects log lines for one scope.
class HostLog {
  public:
    explicit HostLog(int level);
    ~HostLog();
    HostLog(const HostLog&) = delete;
    HostLog& operator=(const HostLog&) = delete;

    /// All lines so far. Debug lines have no line number: "3[ZVKEngine]text".
    std::vector<std::string> lines() const;
    bool has(const std::string& line) const;
    void clear();
};

/// Loads, or reloads, one pattern file, named by its ending, from the lines given.
int32_t load(std::string_view ending, std::string_view lines,
             int32_t (*loader)(const _ZVKPatternFile*) = loadPattern);

/// The hexadecimal text of bytes.
std::string hex(std::string_view bytes);

/// One instance and what it reported. Its calls return what those of the C interface do.
class Host {
  public:
    int32_t begin();
    int32_t feed(std::string_view chunk);
    int32_t end();
    /// A whole stream in chunks of the length given.
    /// @return the result of the end call
    int32_t stream(std::string_view text, size_t chunkLength = 1 << 20);
    /// The names, and no older ones, that a stream reports.
    const std::vector<std::string>& found(std::string_view text, size_t chunkLength = 1 << 20);

    void* handle() const { return instance.handle(); }

    zvkengine::Instance instance;
    std::vector<int32_t> answers;    // to successive detections; 0 to all further ones
    std::vector<std::string> names;  // of the detections, in order
    std::vector<std::string> dumps;  // of the dump events
};

/// @return what a call of the C++ interface returns, or the code that it throws
template <class Call>
int32_t codeOf(Call call) {
    try {
        return static_cast<int32_t>(call());
    } catch (const zvkengine::Error& error) {
        return error.code();
    } catch (const std::bad_alloc&) {  // of the host's own functions
        return ZVK_ERR_NO_MEMORY;
    }
}
