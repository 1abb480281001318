// Reloads, scans and instances that come and go, all at once.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "interface/TestHost.h"

namespace {

constexpr int kThreads = 8;
constexpr int kReloads = 200;

std::string setNumber(int number) {
    const std::string name = std::to_string(number);
    return name + ":0:*:" + hex("evilcode(1)") + "\n" + name + ":0:*:" + hex("six") + "??" +
           hex("ten") + "*" + hex("end!") + "\n";
}

class Reloads : public testing::Test {
  protected:
    void SetUp() override { ASSERT_EQ(load(".ndb", setNumber(0)), 0); }
    void TearDown() override { destroyEngine(); }

    /// One stream; checks that the set it began with answers all of it.
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
    std::atomic<int> finished = 0;  // the newest set whose reload has come back
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
    for (int number = 1; number <= kReloads; ++number) {
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
    EXPECT_GT(streams, kThreads);
}

TEST_F(Reloads, ABrokenContainerLeavesTheOldSet) {
    const std::string broken = "VQPattern" + std::string(75, '\0');  // no body, and not its digest
    const HostLog log(1);
    std::vector<std::jthread> threads(4);
    for (auto& thread : threads) {
        thread = std::jthread([&](const std::stop_token& stop) {
            Host host;
            while (!stop.stop_requested()) scanOnce(host);
        });
    }
    testing::internal::CaptureStderr();
    for (int i = 0; i < kReloads; ++i) {
        EXPECT_EQ(load("", broken, reloadPattern), ZVK_ERR_LOAD_FAILED);
    }
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_TRUE(told.starts_with("reload pattern fail : [fail to restore file body.]\n"));
    EXPECT_TRUE(log.has("1md5 check failed."));
    EXPECT_TRUE(log.has("1load pattern fail : [fail to restore file body.]"));
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
