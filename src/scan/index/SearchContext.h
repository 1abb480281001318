// SearchContext: what all parts of one search share.
#pragma once

#include "scan/index/SignatureProgress.h"
#include "scan/index/UnitStates.h"
#include "scan/text/SearchText.h"
#include "store/index/SignatureIndex.h"

namespace STREAMENGINE_SPACE {

/// Borrows all for the search.
struct SearchContext {
    const SignatureIndex& index;
    const SearchText& text;
    SignatureProgress& progress;  // of the stream, as states
    UnitStates& states;
    bool offsetsWrap;     // as SearchText::offsetsWrap()
    bool startsTogether;  // one entry of the progress stands for all signatures of a first part

    /// @return whether the progress of the unit's signatures is kept in one place
    bool isShared(const IndexUnit& unit) const {
        return unit.kind == UnitKind::First && startsTogether;
    }
};

}  // namespace STREAMENGINE_SPACE
