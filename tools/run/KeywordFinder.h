// KeywordFinder: tells all keywords that a text holds, where the engine tells the first one.
//
// After a match the search goes on one byte behind its start, so that keywords which overlap it are
// found too. That is right only if each match is the leftmost one and nothing else begins where it
// does. Hence the layers: in one layer no keyword begins another, and all keywords of a layer are
// in the same store of the engine, which searches one after the other. Of such a layer the engine
// reports the matches in the order of their starts. A layer costs a pass over the text: a list in
// which no keyword begins another makes two layers, one of "aa", "aaa" and so on as many as words.
//
// Threads: any number of them may search at once.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace zvk {

/// @return text with A to Z in lower case
std::string loweredText(std::string_view text);

class KeywordFinder {
  public:
    /// @param keywords  each one that the engine takes, no two the same in lower case
    /// @throws std::runtime_error if the engine cannot take them over
    explicit KeywordFinder(const std::vector<std::string>& keywords);
    ~KeywordFinder();

    /// Marks each keyword that occurs in text.
    /// @param text   lowered, shorter than 4 GiB
    /// @param found  one mark a keyword, by index; marks made before stay
    void search(std::string_view text, std::vector<bool>& found) const;

    /// @return bytes of the longest keyword
    size_t longest() const { return longestKeyword; }

  private:
    class Layer;

    std::vector<std::unique_ptr<Layer>> layers;
    size_t longestKeyword = 0;
};

}  // namespace zvk
