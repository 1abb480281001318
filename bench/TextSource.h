// TextSource: makes the bytes of generated signatures.
#pragma once

#include <string>
#include <vector>

#include "Corpus.h"
#include "testing/Random.h"

class PageGrams;

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

/// Pieces of pages, changed.
class CutSource : public TextSource {
  public:
    /// @param leastLast  bytes of the last of several pieces, at least
    CutSource(const Pages& rawPages, size_t leastLast);

    std::string piece(Random& random, size_t least, size_t most) override;
    std::vector<std::string> pieces(Random& random, size_t count) override;

  protected:
    /// Changes one of several pieces, but not the last one.
    virtual void vary(std::string& piece, Random& random) = 0;
    /// Changes a piece so that hardly any page holds it whole.
    virtual void makeRare(std::string& piece, Random& random) = 0;

    std::vector<std::string> texts;  // normalised, those long enough to cut pieces from

  private:
    const size_t shortestLast;
};

/// Pieces of the pages that are scanned, with a byte or two changed in their second half. So their
/// beginnings occur all over the pages, and the whole pieces do not.
class PageSource : public CutSource {
  public:
    explicit PageSource(const Pages& rawPages);

  private:
    void vary(std::string& piece, Random& random) override;
    void makeRare(std::string& piece, Random& random) override;

    std::vector<bool> trigrams;  // by three bytes: whether the texts have them
};

/// Invented malicious script, as lists of signatures hold it: a beginning that harmless pages have
/// as well, then bytes that only one attack has.
class ScriptSource : public TextSource {
  public:
    std::string piece(Random& random, size_t least, size_t most) override;
    std::vector<std::string> pieces(Random& random, size_t count) override;
};

/// Pieces of pages that are never scanned. The first three to six bytes stay; of the others one in
/// eight is changed, and into every third piece a fragment of script is spliced. Each body has six
/// bytes in a row that no page has.
class HeldOutSource : public CutSource {
  public:
    /// @param pageGrams  of all pages; borrowed
    HeldOutSource(const Pages& heldOut, const PageGrams& pageGrams);

    std::string piece(Random& random, size_t least, size_t most) override;

  private:
    void vary(std::string& piece, Random& random) override;
    void makeRare(std::string& piece, Random& random) override;

    const PageGrams& grams;
    ScriptSource scripts;
};

/// Turns of phrase of malicious script, whole, with invented names and numbers in them. Each body
/// has six bytes in a row that no page has.
class PhraseSource : public TextSource {
  public:
    /// @param pageGrams  of all pages; borrowed
    explicit PhraseSource(const PageGrams& pageGrams) : grams(pageGrams) {}

    std::string piece(Random& random, size_t least, size_t most) override;
    std::vector<std::string> pieces(Random& random, size_t count) override;

  private:
    const PageGrams& grams;
};
