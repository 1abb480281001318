// HostileCase: a set, and text that is made to be slow to search with it.
//
// A search is slow where it has to compare much and finds nothing. So the text repeats beginnings
// of the set's signatures, most of them all but the last byte, and holds none of them whole.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Corpus.h"
#include "testing/Signature.h"

struct HostileCase {
    std::string name;
    std::vector<Signature> signatures;
    std::vector<std::string> texts;  // script text, all of the same length

    /// @return pages of so many texts each, one after the other
    Pages pages(size_t textsEach) const;
};

/// @param pages       the signatures of the case "beginnings" are cut from them
/// @param signatures  of each set
/// @param texts       of each case, textLength bytes each
std::vector<HostileCase> hostileCases(const Pages& pages, size_t signatures, size_t texts,
                                      size_t textLength, uint64_t seed);
