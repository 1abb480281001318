// Every kernel against the plain one, over sets and streams that are thick with near misses.
//
// The plain kernel walks the lists and trees as they were loaded. What it reports, with which
// offsets and in which call, is what every other kernel has to report.
#include <gtest/gtest.h>

#include <cstdlib>
#include <list>
#include <optional>

#include "pattern/line/SignatureLine.h"
#include "scan/StreamScanner.h"
#include "store/PatternContainer.h"
#include "support/EngineOption.h"
#include "support/Refusal.h"
#include "testing/RandomSet.h"

namespace {

using namespace STREAMENGINE_SPACE;
using QLT_SPACE::VectorUnit;

constexpr SetProfile kProfile = {.alphabet = "aab<>/s-\xe9",
                                 .noise = "ab< \n>",
                                 .mostSignatures = 30,
                                 .mostGap = 39,
                                 .mayBeRefused = true};
constexpr int kStreams = 60;  // of each set

/// A host whose answers are given and whose events are written to a transcript.
struct Witness {
    std::vector<int32_t> answers;
    std::string transcript = {};
    size_t detections = 0;

    static int32_t onEvent(void* /*reserved*/, ZVK_ENGINE_EVENT_TYPE type, const void* data,
                           void* userData) {
        auto& self = *static_cast<Witness*>(userData);
        if (type == ZVK_EVENT_DATA_DUMP) {
            self.transcript += std::to_string(static_cast<const _ZVKDumpEvent*>(data)->length);
            return 0;
        }
        self.transcript += static_cast<const ZVKVirusEvent*>(data)->name;
        const size_t index = self.detections++;
        return index < self.answers.size() ? self.answers[index] : 0;
    }
    static constexpr ZVKScanEngineCallbacks kCallbacks = {onEvent};
};

/// A set as it is loaded for one kernel, and a scanner that all streams use in turn.
struct Kernel {
    PatternContainer set;
    std::optional<StreamScanner> scanner = {};

    const char* name() const { return vectorUnitName(set.vectorUnit); }
};

/// One set, loaded once for each kernel of this machine, the plain one first.
class Kernels : public testing::Test {
  protected:
    void TearDown() override {
        unsetenv("ZVK_KERNEL");
        ops = {};
    }

    void load(const std::vector<Signature>& signatures) {
        kernels.clear();
        for (const VectorUnit unit :
             {VectorUnit::None, VectorUnit::Baseline, VectorUnit::Avx2, VectorUnit::Avx512}) {
            if (!hasVectorUnit(unit)) continue;
            setenv("ZVK_KERNEL", vectorUnitName(unit), 1);
            Kernel& kernel = kernels.emplace_back();
            for (const Signature& signature : signatures) {
                // Of a refused line the parts before the short one stay and take part.
                refusalOf(
                    [&] { addSignatureLine(kernel.set, lineOf(signature).c_str(), 3, true); });
            }
            kernel.set.prepare();
            kernel.scanner.emplace(kernel.set, &Witness::kCallbacks, nullptr, 0);
        }
    }

    /// Runs a search with each kernel and compares the transcripts.
    /// @param search  makes the transcript of one kernel
    /// @return how often the mark is in the transcript
    size_t expectEqual(const auto& search, char mark, uint64_t seed) {
        const std::string expected = search(kernels.front());
        for (Kernel& kernel : kernels) {
            EXPECT_EQ(search(kernel), expected) << kernel.name() << ", seed " << seed;
        }
        return static_cast<size_t>(std::count(expected.begin(), expected.end(), mark));
    }

    std::list<Kernel> kernels;
};

/// @return the events of a stream, the result of each call, and the stream's safe length
std::string scanStream(StreamScanner& scanner, const std::vector<std::string>& chunks,
                       Witness witness) {
    const auto feed = [&](const std::string& chunk, bool typePass) {
        const auto length = static_cast<unsigned int>(chunk.size());
        const int count = scanner.scanBuffer(chunk.data(), length, typePass);
        witness.transcript += "=" + std::to_string(count) + "\n";
    };
    scanner.begin(&Witness::kCallbacks, &witness);
    feed(chunks.front(), true);
    scanner.beginDetection();
    for (const std::string& chunk : chunks) feed(chunk, false);
    return witness.transcript + std::to_string(scanner.safeLength());
}

TEST_F(Kernels, AgreeOverStreams) {
    constexpr uint64_t kSets = 1000;
    size_t detections = 0;
    for (uint64_t seed = 0; seed < kSets && !HasFailure(); ++seed) {
        RandomSet set(kProfile, seed);
        Random& random = set.random;
        ops.detailEvent = seed % 2;
        ops.dump = seed % 3 == 0;
        load(set.signatures);
        for (int stream = 0; stream < kStreams; ++stream) {
            const size_t length = random.chance(1) ? 20000 : random.between(1, 700);
            const std::string opening = random.chance(50) ? "<html>" : "x<br>";
            const auto chunks = cutIntoChunks(opening + set.text(length), random);
            const Witness witness = {randomAnswers(random)};
            detections += expectEqual(
                [&](Kernel& kernel) { return scanStream(*kernel.scanner, chunks, witness); }, 'N',
                seed);
        }
    }
    EXPECT_GT(detections, kSets * kStreams);
}

/// Searches chunks as a stream does whose first byte has the offset base.
/// @return the names, each with the offset of its end
std::string searchFrom(uint32_t base, const PatternContainer& container,
                       const std::vector<std::string>& chunks, Witness witness) {
    DetectionReporter reporter(&Witness::kCallbacks, &witness);
    BodyMatcher matcher(container, reporter.details());
    const auto overlap = static_cast<size_t>(container.maxPatternLength);
    std::string kept;
    uint32_t decidedTo = 0;
    for (const std::string& chunk : chunks) {
        std::string buffer = kept + chunk;
        for (bool isResumed = true; isResumed;) {
            isResumed = false;
            const auto end = static_cast<uint32_t>(buffer.size());
            buffer.resize(end + SearchText::kSlack);
            DigestFeed nothing;
            const BodyMatch match = matcher.virusFound(
                {reinterpret_cast<const uint8_t*>(buffer.data()), end, base, decidedTo}, nothing);
            size_t dropped = end - std::min<size_t>(end, overlap);
            decidedTo = matcher.decidedTo() -
                        std::min<uint32_t>(matcher.decidedTo(), static_cast<uint32_t>(dropped));
            if (match) {
                decidedTo = 0;
                witness.transcript += "@" + std::to_string(base + match.end) + " ";
                reporter.recordMatch(match, base + match.end);
                const char* name = match.pattern->virName;
                isResumed = reporter.sendEngineEventEx(ZVK_EVENT_VIRUS_FOUND, name) == 0;
                if (isResumed) {
                    matcher.reset();
                    reporter.reset();
                    dropped = match.end;
                }
            }
            buffer.resize(end);
            buffer.erase(0, dropped);
            base += static_cast<uint32_t>(dropped);
        }
        kept = buffer;
    }
    return witness.transcript;
}

// Offsets have 32 bits: after 4 GiB they start again, and so do the conditions made of them.
TEST_F(Kernels, AgreeWhereOffsetsWrap) {
    constexpr uint64_t kSets = 400;
    size_t detections = 0;
    ops.detailEvent = 1;
    for (uint64_t seed = 0; seed < kSets && !HasFailure(); ++seed) {
        RandomSet set(kProfile, seed);
        load(set.signatures);
        for (int stream = 0; stream < kStreams; ++stream) {
            const auto chunks = cutIntoChunks(set.text(set.random.between(1, 500)), set.random);
            const uint32_t base = 0U - static_cast<uint32_t>(set.random.between(0, 599));
            const Witness witness = {randomAnswers(set.random)};
            detections += expectEqual(
                [&](Kernel& kernel) { return searchFrom(base, kernel.set, chunks, witness); }, '@',
                seed);
        }
    }
    EXPECT_GT(detections, kSets * kStreams / 4);
}

// A gap that was too wide at an offset is narrow enough at the same offset, 4 GiB later.
TEST_F(Kernels, AgreeWhereOffsetsComeAgain) {
    load({parseLine("P:0:*:71777274{-10}7a78")});
    for (const Kernel& kernel : kernels) {
        ScanResult details;
        BodyMatcher matcher(kernel.set, details);
        int found = 0;
        for (const auto& [base, text] : {std::pair{100U, "qwrt" + std::string(24, '.') + "zx"},
                                         std::pair{0xFFFFFFFDU, std::string(6, '.')},
                                         std::pair{104U, std::string("....zx..")}}) {
            const std::string padded = text + std::string(SearchText::kSlack, ' ');
            DigestFeed nothing;
            const SearchText searched = {reinterpret_cast<const uint8_t*>(padded.data()),
                                         static_cast<uint32_t>(text.size()), base};
            found += matcher.virusFound(searched, nothing) ? 1 : 0;
        }
        EXPECT_EQ(found, 1) << kernel.name();
    }
}

}  // namespace
