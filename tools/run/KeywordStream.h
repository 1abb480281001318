// KeywordStream: one file that is searched for keywords, in windows that overlap by the longest
// keyword less one byte, so that none is cut and memory does not grow with the file.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "run/ChunkStream.h"
#include "run/KeywordFinder.h"

namespace zvk {

class KeywordStream : public ChunkStream {
  public:
    /// Borrows all for its life.
    KeywordStream(const KeywordFinder& keywordFinder, const std::vector<std::string>& keywordList,
                  std::vector<Finding>& places);

    bool scanChunk(std::string_view chunk) override;

    /// Tells each keyword found, once, in the order of the list.
    void end() override;

  private:
    const KeywordFinder& finder;
    const std::vector<std::string>& keywords;
    std::vector<Finding>& findings;
    std::vector<bool> found;
    std::string window;  // lowered
};

/// Opens such streams; for any number of threads, one object each.
class KeywordStreams : public StreamSource {
  public:
    /// Borrows both for its life.
    KeywordStreams(const KeywordFinder& keywordFinder, const std::vector<std::string>& keywordList)
        : finder(keywordFinder), keywords(keywordList) {}

    std::unique_ptr<ChunkStream> open(std::vector<Finding>& findings) override {
        return std::make_unique<KeywordStream>(finder, keywords, findings);
    }

  private:
    const KeywordFinder& finder;
    const std::vector<std::string>& keywords;
};

}  // namespace zvk
