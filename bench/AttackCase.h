// AttackCase: a family of signatures that resemble each other, and a stream that makes it dear.
//
// Real lists hold such families: variants of one attack with the same first parts and other last
// ones. Who knows the list can send a stream that keeps the whole family busy. HostileCase has text
// that nearly matches; here the text matches what the family shares, or a signature again and
// again.
//
// The set is the family and nothing else. So ordinary pages cost as little as they can with a set
// of this size, and the ratio to them is the strictest.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Corpus.h"
#include "testing/Signature.h"

struct AttackCase {
    std::string name;
    double bound;  // what a byte of the stream may cost at most, in bytes of ordinary pages
    std::vector<Signature> signatures;
    std::string opening;                // of the stream, in script
    std::vector<std::string> repeated;  // what follows it, in turn

    /// @return the repeated texts, one after the other, up to a length
    std::string rest(size_t length) const;
};

/// @param pages       the signatures of a mixed set are cut from them
/// @param signatures  of each set; a tenth of them makes the same cases with smaller families
std::vector<AttackCase> attackCases(const Pages& pages, size_t signatures, uint64_t seed);
