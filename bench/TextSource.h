// TextSource: makes the bytes of generated signatures.
#pragma once

#include <string>
#include <vector>

#include "Corpus.h"
#include "testing/Random.h"

class TextSource {
  public:
    TextSource() = default;
    TextSource(const TextSource&) = delete;
    TextSource& operator=(const TextSource&) = delete;
    virtual ~TextSource() = default;

    /// @return a text of least to most normalised bytes that hardly any page holds whole
    virtual std::string piece(Random& random, size_t least, size_t most) = 0;
    /// @return texts that follow each other in this order, the last one as piece() makes it
    virtual std::vector<std::string> pieces(Random& random, size_t count) = 0;
};

/// Pieces of pages with a byte or two changed in their second half. So their beginnings occur all
/// over the pages, and the whole pieces do not.
class PageSource : public TextSource {
  public:
    explicit PageSource(const Pages& rawPages);

    std::string piece(Random& random, size_t least, size_t most) override;
    std::vector<std::string> pieces(Random& random, size_t count) override;

  private:
    void makeRare(std::string& piece, Random& random) const;

    std::vector<std::string> texts;  // normalised
    std::vector<bool> trigrams;      // by three bytes: whether the texts have them
};

/// Invented malicious script, as lists of signatures hold it: a beginning that harmless pages have
/// as well, then bytes that only one attack has.
class ScriptSource : public TextSource {
  public:
    std::string piece(Random& random, size_t least, size_t most) override;
    std::vector<std::string> pieces(Random& random, size_t count) override;
};
