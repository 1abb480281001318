// KeywordFinder: finds all keywords that occur in a text. The engine reports only the first one.
//
// The idea: after a match, search again from one byte after its start. So keywords that overlap the
// match are found too. Example: "abc" and "bcd" in "xabcd". The first search finds "abc" at 1, the
// second starts at 2 and finds "bcd".
//
// Nothing is missed if each match is the leftmost one in the rest of the text, and if no other
// keyword begins at the same byte. Two things would break that:
//   - One keyword is a prefix of another: "abc" and "abcd" begin at the same byte, and only one of
//     them is reported.
//   - The engine keeps keywords of 2 to 9 bytes and longer ones in two stores and searches one
//     store after the other, so a short keyword is reported before a longer one further left. So
//     the keywords are split into layers. All keywords of a layer are in the same store, and none
//     is a prefix of another. Each layer is searched by itself.
//
// Cost: one pass over the text for each layer. A list without prefixes has two layers at most, one
// for each store; the list "aa", "aaa", "aaaa" has three.
//
// Threads: any number of them may search at the same time.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace zvk {

class KeywordFinder {
  public:
    /// @param keywords  keywords that the engine accepts; no two are the same in lower case
    /// @throws std::runtime_error if the engine has no memory for them
    explicit KeywordFinder(const std::vector<std::string>& keywords);
    ~KeywordFinder();

    /// Sets found[i] for each keyword i that occurs in text; the others are left as they are.
    /// @param text   in lower case, shorter than 4 GiB
    void search(std::string_view text, std::vector<bool>& found) const;

    /// @return bytes of the longest keyword
    size_t longest() const { return longestKeyword; }

  private:
    class Layer;

    std::vector<std::unique_ptr<Layer>> layers;
    size_t longestKeyword = 0;
};

}  // namespace zvk
