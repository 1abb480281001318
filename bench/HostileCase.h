// HostileCase: a set, and text made to be slow to search with it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Corpus.h"
#include "testing/Signature.h"

struct HostileCase {
    std::string name;
    std::vector<Signature> signatures;
    std::vector<std::string> texts;  // of the same length; each is script text, no signature whole

    /// @return the pages, each of so many texts one behind the other
    Pages pages(size_t textsEach) const;
};

/// @param pages  what the signatures of the ordinary set are cut from
std::vector<HostileCase> hostileCases(const Pages& pages, size_t signatures, size_t texts,
                                      size_t textLength, uint64_t seed);
