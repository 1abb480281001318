// Keyword sets that are replaced while many threads match.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <thread>

#include "interface/TestHost.h"

namespace {

using std::chrono::milliseconds;

constexpr int kThreads = 16;
constexpr int kUpdates = 500;

/// Makes set number n: one keyword, with the index n; a short one if n is even, else a longer one.
bool updateTo(int number) {
    std::vector<std::string> keywords(static_cast<size_t>(number), "not there");
    keywords.emplace_back(number % 2 == 0 ? "short" : "a longer one");
    return zvkengine::setKeywords(keywords);
}

/// Matches a text that contains both keywords.
/// @return the number of the set that was used, or -1 for an empty one
template <class OnEvent>
int match(OnEvent onEvent) {
    int number = -1;
    zvkengine::matchKeyword("Both SHORT and A LONGER ONE", [&](std::string_view name) {
        number = std::stoi(std::string(name));
        onEvent();
        return zvkengine::Answer::kGoOn;
    });
    return number;
}

TEST(KeywordThreads, MatchesUseASetOfTheirTime) {
    std::atomic<int> started = 0, finished = 0;
    std::atomic<long> matches = 0;
    ASSERT_TRUE(updateTo(0));
    std::vector<std::jthread> threads(kThreads);
    for (auto& thread : threads) {
        thread = std::jthread([&](const std::stop_token& stop) {
            for (; !stop.stop_requested(); ++matches) {
                const int first = finished;
                const int number = match([] {});
                EXPECT_GE(number, first);
                EXPECT_LE(number, started);
            }
        });
    }
    for (int number = 1; number <= kUpdates; ++number) {
        started = number;
        EXPECT_TRUE(updateTo(number));
        finished = number;
    }
    threads.clear();
    EXPECT_GT(matches, kThreads);
}

TEST(KeywordThreads, UpdatesWaitForMatchesAndMatchesForThem) {
    ASSERT_TRUE(updateTo(0));
    std::promise<void> isInside, mayLeave;
    std::atomic<long> tries = 0;  // these outlive the threads
    std::atomic<int> updated = 0;
    std::vector<std::jthread> threads;
    threads.emplace_back([&] {
        match([&] {
            isInside.set_value();
            mayLeave.get_future().wait();
        });
    });
    isInside.get_future().wait();
    // Matches until an update asks, then waits for it, and then sees the new set.
    threads.emplace_back([&] {
        while (match([] {}) == 0) ++tries;
    });
    while (tries == 0) std::this_thread::yield();
    for (int i = 0; i < 2; ++i) {
        threads.emplace_back([&] {
            EXPECT_TRUE(updateTo(kUpdates));
            ++updated;
        });
    }
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    for (long seen = -1; seen != tries && std::chrono::steady_clock::now() < deadline;) {
        seen = tries;
        std::this_thread::sleep_for(milliseconds(200));
    }
    EXPECT_LT(std::chrono::steady_clock::now(), deadline)
        << "matches overtake an update that waits";
    EXPECT_EQ(updated, 0);
    mayLeave.set_value();
}

TEST(KeywordThreads, UpdatesInATightLoopLeaveRoomForMatches) {
    constexpr int kRounds = 50;
    ASSERT_TRUE(updateTo(kUpdates));
    const std::jthread presser([](const std::stop_token& stop) {
        while (!stop.stop_requested()) updateTo(kUpdates);
    });
    for (int round = 0; round < kRounds; ++round) EXPECT_EQ(match([] {}), kUpdates);
}

}  // namespace
