// KeywordStream: one file that is searched for keywords.
//
// It searches windows: each chunk with the last bytes of the text before it, one byte less than the
// longest keyword. So a keyword that is cut by the end of a chunk is whole in the next window, and
// memory does not grow with the file.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "run/ChunkStream.h"
#include "run/KeywordFinder.h"

namespace zvk {

class KeywordStream : public ChunkStream {
  public:
    /// All are borrowed for this object's life.
    KeywordStream(const KeywordFinder& keywordFinder, const std::vector<std::string>& keywordList,
                  std::vector<Finding>& places);

    bool scanChunk(std::string_view chunk) override;

    /// Appends each keyword found to the findings, once, in the order of the list.
    void end() override;

  private:
    const KeywordFinder& finder;
    const std::vector<std::string>& keywords;
    std::vector<Finding>& findings;
    std::vector<bool> found;
    std::string window;  // in lower case
};

/// Opens such streams. Each thread needs an object of its own; the finder is shared.
class KeywordStreams : public StreamSource {
  public:
    /// Both are borrowed for this object's life.
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
