#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <map>

#include "scan/plain/PartProgress.h"

namespace {

using STREAMENGINE_SPACE::PartProgress;

RC_GTEST_PROP(PartProgress, ActsAsAMap, ()) {
    PartProgress progress;
    for (int round = 0; round < 3; ++round) {
        std::map<uint32_t, uint32_t> model;
        for (const auto step :
             *rc::gen::container<std::vector<uint32_t>>(rc::gen::inRange<uint32_t>(1, 200))) {
            const uint32_t sigid = step * 0x10001;
            PartProgress::Entry* entry = progress.find(sigid);
            RC_ASSERT((entry != nullptr) == model.contains(sigid));
            if (entry == nullptr) entry = &progress.start(sigid);
            RC_ASSERT(entry->partsMatched == model[sigid]);
            entry->partsMatched = ++model[sigid];
        }
        progress.clear();
    }
}

}  // namespace
