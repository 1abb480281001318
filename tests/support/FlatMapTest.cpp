#include "support/FlatMap.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <map>
#include <vector>

namespace {

// Keys that share their low bits, so that probes collide; three rounds, so that room is used again.
RC_GTEST_PROP(FlatMap, ActsAsAMap, ()) {
    QLT_SPACE::FlatMap<uint32_t> map;
    for (int round = 0; round < 3; ++round) {
        std::map<uint32_t, uint32_t> model;
        std::vector<uint32_t> inserted;
        for (const auto number :
             *rc::gen::container<std::vector<uint32_t>>(rc::gen::inRange<uint32_t>(1, 200))) {
            const uint32_t key = number * 0x10001;
            RC_ASSERT((map.find(key) != nullptr) == model.contains(key));
            if (map.find(key) == nullptr) inserted.push_back(key);
            RC_ASSERT(map.findOrInsert(key)++ == model[key]++);
        }
        RC_ASSERT(map.size() == model.size());
        std::vector<uint32_t> visited;
        map.anyOf([&](uint32_t key, uint32_t value) {
            visited.push_back(key);
            return value != model[key];
        });
        RC_ASSERT(visited == inserted);
        map.clear();
        RC_ASSERT(map.empty());
    }
}

}  // namespace
