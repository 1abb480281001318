// Reloads, scans, and instances that are created and destroyed, all at the same time.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "interface/TestHost.h"

namespace {

constexpr int kThreads = 8;
constexpr int kReloads = 200;
const std::string kBroken = "VQPattern" + std::string(75, '\0');  // a container without a body

std::string setNumber(int number) {
    const std::string name = std::to_string(number);
    return name + ":0:*:" + hex("evilcode(1)") + "\n" + name + ":0:*:" + hex("six") + "??" +
           hex("ten") + "*" + hex("end!") + "\n";
}

class Reloads : public testing::Test {
  protected:
    void SetUp() override { ASSERT_EQ(load(".ndb", setNumber(0)), 0); }
    void TearDown() override { destroyEngine(); }

    /// Scans one stream and checks that all detections are of the set that it began with.
    void scanOnce(Host& host) {
        host.names.clear();
        const int first = finished;
        ASSERT_EQ(host.begin(), 0);
        const int last = started;
        host.feed("x<br>" + std::string(300, '.') + "six.ten" + "evilcode(1)");
        for (int i = 0; i < 3; ++i) {
            host.feed(std::string(1000, '.'));
            host.feed("evilcode(1) six.ten");
        }
        host.feed("end!");
        host.end();
        ASSERT_EQ(host.names.size(), 5U);
        const int number = std::stoi(host.names[0]);
        EXPECT_GE(number, first);
        EXPECT_LE(number, last);
        for (const auto& name : host.names) EXPECT_EQ(name, host.names[0]);
    }

    std::atomic<int> started = 0;   // the newest set whose reload has begun
    std::atomic<int> finished = 0;  // the newest set whose reload has returned
};

TEST_F(Reloads, StreamsKeepTheSetTheyBeganWith) {
    std::atomic<long> streams = 0;
    std::vector<std::jthread> threads(kThreads);
    for (auto& thread : threads) {
        thread = std::jthread([&](const std::stop_token& stop) {
            while (!stop.stop_requested()) {
                Host host;
                for (int stream = 0; stream < 5; ++stream, ++streams) scanOnce(host);
            }
        });
    }
    testing::internal::CaptureStderr();  // broken reloads write to it
    for (int number = 1; number <= kReloads; ++number) {
        if (number % 10 == 0) {
            EXPECT_NE(load("", kBroken, reloadPattern), 0);  // the old set stays
        }
        started = number;
        int32_t result = 0;
        do {
            result = load(".ndb", setNumber(number), reloadPattern);
        } while (result == ZVK_ERR_NO_IDLE_CONTAINER);
        ASSERT_EQ(result, 0);
        finished = number;
        _ZVKPatternInfo info{};
        EXPECT_EQ(getPatternInfo(&info), 0);
        EXPECT_EQ(info.patternCount, 2U);
    }
    threads.clear();
    testing::internal::GetCapturedStderr();
    EXPECT_GT(streams, kThreads);
}

TEST_F(Reloads, InstancesMayWaitForTheFirstSet) {
    destroyEngine();
    std::vector<std::jthread> threads(kThreads);
    for (auto& thread : threads) {
        thread = std::jthread([] {
            Host host;
            while (host.begin() == ZVK_ERR_NO_CONTAINER) std::this_thread::yield();
            host.feed("x<br>evilcode(1)");
            host.end();
            EXPECT_EQ(host.names, std::vector<std::string>{"7"});
        });
    }
    EXPECT_EQ(load(".ndb", setNumber(7)), 0);
}

}  // namespace
