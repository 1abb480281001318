// PartJudge: decides what the units found at one place of the text mean for their signatures.
//
// A unit stands for one signature of one part, or for parts of many signatures. The judge lists the
// parts that are next in their signatures, tries them in the order of the loaded form, and accepts
// those whose distance to the part before is right. The first signature that is complete is the
// match.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory_resource>
#include <span>
#include <vector>

#include "scan/index/FoundUnits.h"
#include "scan/index/SearchContext.h"
#include "scan/report/BodyMatch.h"
#include "scan/report/ScanResult.h"

namespace STREAMENGINE_SPACE {

class PartJudge {
  public:
    /// Borrows what the context borrows, and the details of accepted parts.
    PartJudge(const SearchContext& searchContext, ScanResult& partDetails)
        : context(searchContext), details(partDetails) {
        candidates.reserve(kInlineCandidates);
    }

    /// Judges the units that begin at one index.
    /// @return whether a signature is complete: match() is it
    bool judge(std::span<const FoundUnit> units);

    const BodyMatch& match() const { return completed; }

  private:
    /// A part to be tried.
    struct Candidate {
        uint32_t rank;
        uint32_t unit;
        const TriePattern* pattern;
    };
    static constexpr size_t kInlineCandidates = 32;

    void addCandidates(uint32_t unit);
    bool tryCandidates(uint32_t start);
    bool accept(const Candidate& candidate, uint32_t pos);
    void finishUnit(uint32_t unit, uint32_t pos);

    const SearchContext context;
    ScanResult& details;
    BodyMatch completed;
    std::array<std::byte, kInlineCandidates * sizeof(Candidate)> room;  // NOLINT: see candidates
    std::pmr::monotonic_buffer_resource memory{room.data(), room.size()};
    std::pmr::vector<Candidate> candidates{&memory};
};

}  // namespace STREAMENGINE_SPACE
