// Every kernel against the plain one, where several streams of several sets take turns.
//
// A thread keeps the state that it searched with last, for whichever stream and set that was. Here
// the next call is for another stream, for another set, for a set that was loaded anew into the
// same container, or for a stream that another thread has scanned so far.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <list>
#include <optional>
#include <ostream>
#include <semaphore>
#include <thread>

#include "scan/Kernels.h"

namespace {

constexpr size_t kRounds = 4;   // of each seed; before each one of the sets is loaded anew
constexpr size_t kHandles = 3;  // of each set
constexpr size_t kStreamsOfHandle = 4;

/// A second thread that runs what the first one waits for.
class Helper {
  public:
    Helper() : thread([this] { work(); }) {}
    ~Helper() { run(nullptr); }

    void run(const std::function<void()>& given) {
        job = given;
        isReady.release();
        if (job) isDone.acquire();
    }

  private:
    void work() {
        for (isReady.acquire(); job; isReady.acquire()) {
            job();
            isDone.release();
        }
    }

    std::function<void()> job;
    std::binary_semaphore isReady{0};
    std::binary_semaphore isDone{0};
    std::jthread thread;
};

/// A host's handle: it scans one stream after the other, a chunk in each turn.
class Handle {
  public:
    Handle(const PatternContainer& set, const std::vector<Stream>& scanned)
        : streams(scanned), scanner(set, &Witness::kCallbacks, nullptr, 0) {}

    bool isOver() const { return transcripts.size() == streams.size(); }
    void takeTurn() {
        if (!scan) scan.emplace(scanner, streams[transcripts.size()]);
        scan->feedNext();
        if (!scan->isOver()) return;
        transcripts.push_back(scan->transcript());
        scan.reset();
    }

    std::vector<std::string> transcripts;  // of each stream that is over

  private:
    const std::vector<Stream>& streams;
    StreamScanner scanner;
    std::optional<StreamScan> scan;
};

/// What a handle scans, and what it has to report.
struct Task {
    size_t set;
    std::vector<Stream> streams;
    std::vector<std::string> expected;
};

struct Variant {
    const char* name;
    SetProfile profile;
    uint64_t seeds;
};

void PrintTo(const Variant& variant, std::ostream* out) {
    *out << variant.name;
}

Stream randomStream(RandomSet& set) {
    Random& random = set.random;
    const bool isLong = random.chance(10);
    const std::string opening = random.chance(50) ? "<html>" : "x<br>";
    const std::string text =
        opening + set.text(isLong ? random.between(2000, 7000) : random.between(1, 900));
    Stream made = {cutIntoChunks(text, random), randomAnswers(random)};
    if (text.size() < 1000 && random.chance(10)) {
        made.chunks.clear();
        for (const char byte : text) made.chunks.emplace_back(1, byte);
    }
    return made;
}

class KernelTurns : public testing::TestWithParam<Variant> {
  protected:
    void TearDown() override { ops = {}; }

    /// Loads one of the sets anew.
    void reload(size_t which, uint64_t seed) {
        sets[which].emplace(GetParam().profile, seed);
        loaded[which].load(sets[which]->signatures);
    }

    std::vector<Task> makeTasks() {
        std::vector<Task> tasks;
        for (size_t i = 0; i < loaded.size() * kHandles; ++i) {
            Task& task = tasks.emplace_back(Task{i % loaded.size(), {}, {}});
            for (size_t n = 0; n < kStreamsOfHandle; ++n) {
                task.streams.push_back(randomStream(*sets[task.set]));
                StreamScanner& plain = *loaded[task.set].plain().scanner;
                task.expected.push_back(scanStream(plain, task.streams.back()));
                detections += static_cast<size_t>(
                    std::count(task.expected.back().begin(), task.expected.back().end(), 'N'));
            }
        }
        return tasks;
    }

    /// Lets handles of both sets take random turns with one kernel, on one thread or on two.
    void expectSame(const std::vector<Task>& tasks, VectorUnit unit, Random random, bool useTwo) {
        std::list<Handle> handles;
        std::vector<Handle*> open;
        for (const Task& task : tasks) {
            auto& kernels = loaded[task.set].kernels;
            const auto kernel = std::find_if(kernels.begin(), kernels.end(),
                                             [&](const Kernel& k) { return k.unit == unit; });
            open.push_back(&handles.emplace_back(kernel->set, task.streams));
        }
        while (!open.empty()) {
            Handle& handle = *random.pick(open);
            const size_t most = random.between(1, 4);
            const auto takeTurns = [&] {
                for (size_t i = 0; i < most && !handle.isOver(); ++i) handle.takeTurn();
            };
            if (useTwo && random.chance(50)) {
                helper.run(takeTurns);
            } else {
                takeTurns();
            }
            if (handle.isOver()) std::erase(open, &handle);
        }
        auto handle = handles.begin();
        for (const Task& task : tasks) {
            EXPECT_EQ((handle++)->transcripts, task.expected) << vectorUnitName(unit);
            cases += task.streams.size();
        }
    }

    std::array<KernelSet, 2> loaded;
    std::array<std::optional<RandomSet>, 2> sets;
    Helper helper;
    size_t cases = 0;
    size_t detections = 0;
};

TEST_P(KernelTurns, AgreeWithStreamsAlone) {
    for (uint64_t seed = 0; seed < GetParam().seeds && !HasFailure(); ++seed) {
        ops.detailEvent = seed % 2;
        reload(1, 2 * kRounds * seed + 1);
        for (uint64_t round = 0; round < kRounds && !HasFailure(); ++round) {
            SCOPED_TRACE("seed " + std::to_string(seed) + ", round " + std::to_string(round));
            reload(round % 2, 2 * (kRounds * seed + round));
            const std::vector<Task> tasks = makeTasks();
            for (const Kernel& kernel : loaded[0].kernels) {
                expectSame(tasks, kernel.unit, Random(seed), round == 0);
            }
        }
    }
    RecordProperty("cases", std::to_string(cases));
    RecordProperty("detections", std::to_string(detections));
    EXPECT_GT(detections, cases / 8);
}

SetProfile profileOf(size_t most, size_t families, size_t sparse, size_t longHeads) {
    return {.alphabet = "aab<>/s-\xe9",
            .noise = "ab< \n>",
            .mostSignatures = most,
            .mostGap = 39,
            .mayBeRefused = true,
            .familyPercent = families,
            .sparsePercent = sparse,
            .longHeadPercent = longHeads};
}

INSTANTIATE_TEST_SUITE_P(
    Sets, KernelTurns,
    testing::Values(Variant{"mixed", profileOf(30, 0, 0, 0), 60},
                    Variant{"families", profileOf(70, 80, 10, 0), 120},
                    Variant{"sparse", profileOf(100, 20, 80, 0), 60},
                    // More units than lines, many with one gram: lines overflow.
                    Variant{"crowded", profileOf(900, 30, 90, 0), 20},
                    Variant{"longHeads", profileOf(30, 30, 10, 60), 40}),
    [](const auto& variant) { return variant.param.name; });

}  // namespace
