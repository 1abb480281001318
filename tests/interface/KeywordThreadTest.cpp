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

/// Sets in turn with a short and with a longer keyword, which has the set's number as its index.
int32_t updateTo(int number) {
    std::vector<const char*> keywords(static_cast<size_t>(number), "not there");
    keywords.push_back(number % 2 == 0 ? "short" : "a longer one");
    keywords.push_back(nullptr);
    return updateKeywords(keywords.data());
}

/// @return the number of the set that a text with both keywords was matched with, or -1
template <class OnEvent>
int match(OnEvent onEvent) {
    struct Call {
        OnEvent& onEvent;
        int number = -1;
    } call{onEvent};
    const ZVKScanEngineCallbacks callbacks = {
        [](void*, ZVK_ENGINE_EVENT_TYPE, const void* data, void* userData) -> int32_t {
            auto& matched = *static_cast<Call*>(userData);
            matched.number = std::stoi(static_cast<const ZVKVirusEvent*>(data)->name);
            matched.onEvent();
            return 0;
        }};
    std::string text = "Both SHORT and A LONGER ONE";
    matchKeywords(&callbacks, &call, text.data(), static_cast<uint32_t>(text.size()));
    return call.number;
}

TEST(KeywordThreads, AnswersComeFromASetThatWasThere) {
    std::atomic<int> started = 0, finished = 0;
    std::atomic<bool> isOver = false;
    std::atomic<long> matches = 0;
    ASSERT_EQ(updateTo(0), 1);
    std::vector<std::thread> threads(kThreads);
    for (auto& thread : threads) {
        thread = std::thread([&] {
            while (!isOver) {
                const int first = finished;
                const int number = match([] {});
                const int last = started;
                EXPECT_GE(number, first);
                EXPECT_LE(number, last);
                ++matches;
            }
        });
    }
    for (int number = 1; number <= kUpdates; ++number) {
        started = number;
        EXPECT_EQ(updateTo(number), 1);
        finished = number;
    }
    isOver = true;
    for (auto& thread : threads) thread.join();
    EXPECT_GT(matches, kThreads);
}

TEST(KeywordThreads, UpdatesWaitForMatchesAndMatchesForThem) {
    ASSERT_EQ(updateTo(0), 1);
    std::promise<void> isInside, mayLeave;
    std::thread holder([&] {
        match([&] {
            isInside.set_value();
            mayLeave.get_future().wait();
        });
    });
    isInside.get_future().wait();
    // Comes to stand still when an update has asked, and then sees the new set.
    std::atomic<long> tries = 0;
    std::thread matcher([&] {
        while (match([] {}) == 0) ++tries;
    });
    while (tries == 0) std::this_thread::yield();
    std::atomic<int> updated = 0;
    std::vector<std::thread> updaters(2);
    for (auto& updater : updaters) {
        updater = std::thread([&] {
            EXPECT_EQ(updateTo(kUpdates), 1);
            ++updated;
        });
    }
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    for (long seen = -1; seen != tries && std::chrono::steady_clock::now() < deadline;) {
        seen = tries;
        std::this_thread::sleep_for(milliseconds(200));
    }
    EXPECT_LT(std::chrono::steady_clock::now(), deadline) << "matches go on in front of an update";
    EXPECT_EQ(updated, 0);
    mayLeave.set_value();
    holder.join();
    matcher.join();
    for (auto& updater : updaters) updater.join();
}

TEST(KeywordThreads, NobodyStarves) {
    constexpr int kRounds = 50;
    ASSERT_EQ(updateTo(kUpdates), 1);
    std::atomic<int> updating = 2;
    std::atomic<bool> isPressed = true;
    std::vector<std::thread> threads(6);
    for (size_t i = 0; i < 2; ++i) {
        threads[i] = std::thread([&] {
            for (int round = 0; round < kRounds; ++round) EXPECT_EQ(updateTo(kUpdates), 1);
            --updating;
        });
    }
    // Overlapping matches, so that there is hardly a moment without one.
    for (size_t i = 2; i < threads.size(); ++i) {
        threads[i] = std::thread([&] {
            while (updating > 0) match([] { std::this_thread::sleep_for(milliseconds(2)); });
        });
    }
    const auto start = std::chrono::steady_clock::now();
    for (auto& thread : threads) thread.join();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    // An update in a tight loop leaves room for matches.
    std::thread presser([&] {
        while (isPressed) updateTo(kUpdates);
    });
    for (int round = 0; round < kRounds; ++round) EXPECT_EQ(match([] {}), kUpdates);
    isPressed = false;
    presser.join();
}

}  // namespace
