// Every kernel against the plain one, over sets and streams that are thick with near misses.
#include <gtest/gtest.h>

#include "scan/Kernels.h"

namespace {

constexpr SetProfile kProfile = {.alphabet = "aab<>/s-\xe9",
                                 .noise = "ab< \n>",
                                 .mostSignatures = 30,
                                 .mostGap = 39,
                                 .mayBeRefused = true};
constexpr int kStreams = 60;  // of each set

class Kernels : public testing::Test {
  protected:
    void TearDown() override { ops = {}; }

    void load(const std::vector<Signature>& signatures) { loaded.load(signatures); }

    /// Runs a search with each kernel and compares the transcripts.
    /// @param search  makes the transcript of one kernel
    /// @return how often the mark is in the transcript
    size_t expectEqual(const auto& search, char mark, uint64_t seed) {
        const std::string expected = search(loaded.plain());
        for (Kernel& kernel : loaded.kernels) {
            EXPECT_EQ(search(kernel), expected) << kernel.name() << ", seed " << seed;
        }
        return static_cast<size_t>(std::count(expected.begin(), expected.end(), mark));
    }

    KernelSet loaded;
};

TEST_F(Kernels, AgreeOverStreams) {
    constexpr uint64_t kSets = 800;
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
            const Stream scanned = {chunks, randomAnswers(random)};
            detections += expectEqual(
                [&](Kernel& kernel) { return scanStream(*kernel.scanner, scanned); }, 'N', seed);
        }
    }
    EXPECT_GT(detections, kSets * kStreams);
}

// In a large set, whole signatures with a long row of literals have an anchor table of their own.
TEST_F(Kernels, AgreeInLargeSets) {
    constexpr size_t kMore = 33000;  // signatures that occur nowhere
    constexpr uint64_t kSets = 20;
    size_t detections = 0;
    for (uint64_t seed = 0; seed < kSets && !HasFailure(); ++seed) {
        RandomSet set(kProfile, seed);
        std::vector<Signature> signatures = set.signatures;
        for (size_t i = 0; i < kMore; ++i) {
            signatures.push_back({"More", {literalPart(set.random.text("ab01234567", 16))}});
        }
        load(signatures);
        for (int stream = 0; stream < 4 * kStreams; ++stream) {
            const auto chunks =
                cutIntoChunks("x<br>" + set.text(set.random.between(1, 900)), set.random);
            const Stream scanned = {chunks, randomAnswers(set.random)};
            detections += expectEqual(
                [&](Kernel& kernel) { return scanStream(*kernel.scanner, scanned); }, 'N', seed);
        }
    }
    EXPECT_GT(detections, kSets * 4 * kStreams);
}

/// @return the parts of the signatures that have several, and the plain strings
std::vector<std::string> partsAndStrings(const std::vector<Signature>& signatures) {
    std::vector<std::string> texts;
    for (const Signature& signature : signatures) {
        const bool isSingle = signature.parts.size() == 1;
        if (isSingle && !signature.parts[0].isPlain()) continue;
        for (const SignaturePart& part : signature.parts) texts.push_back(textOf(part));
    }
    return texts;
}

// A host that goes on after a plain string drops the parts that were found before it, but not what
// the search found ahead.
TEST_F(Kernels, AgreeWherePartsAndStringsTakeTurns) {
    constexpr uint64_t kSets = 1000;
    size_t detections = 0;
    for (uint64_t seed = 0; seed < kSets && !HasFailure(); ++seed) {
        SetProfile profile = kProfile;
        profile.familyPercent = seed % 2 * 70;
        profile.sparsePercent = seed % 3 * 40;
        RandomSet set(profile, seed);
        Random& random = set.random;
        load(set.signatures);
        const auto pieces = partsAndStrings(set.signatures);
        for (int stream = 0; stream < kStreams && !pieces.empty(); ++stream) {
            std::array<std::string, 4> some;
            for (std::string& piece : some) piece = random.pick(pieces);
            // Two that follow each other, in most cases of one signature.
            const size_t first = random.between(0, pieces.size() - 1);
            for (size_t i = 0; i < 2; ++i) some[i] = pieces[(first + i) % pieces.size()];
            std::string text = "x<br>";
            const size_t length = random.between(20, 1500);
            while (text.size() < length) text += random.pick(some);
            std::vector<int32_t> answers(random.between(0, 99));
            for (int32_t& answer : answers) answer = random.chance(10) ? 2 : 0;
            const auto chunks =
                random.chance(50) ? std::vector<std::string>{text} : cutIntoChunks(text, random);
            const Stream scanned = {chunks, answers};
            detections += expectEqual(
                [&](Kernel& kernel) { return scanStream(*kernel.scanner, scanned); }, 'N', seed);
        }
    }
    EXPECT_GT(detections, 5 * kSets * kStreams);
}

// The same where random sets seldom come: what is found only after a string, or in the next chunk.
TEST_F(Kernels, AgreeAfterStrings) {
    SignaturePart sparse = literalPart("ab", Gap::atMost(5));
    for (const char* literal : {"c", "d"}) {
        sparse.elements.emplace_back();
        appendLiteral(sparse, literal);
    }
    Signature atOffset = {"N4", {literalPart("offsetpart"), literalPart("last")}};
    atOffset.offset = 27;
    load({{"N1", {literalPart("stringstring")}},
          {"N2", {literalPart("first"), sparse}},
          {"N3", {literalPart("first"), literalPart("later")}},
          atOffset});
    const struct {
        std::vector<std::string> chunks;
        std::vector<int32_t> answers;
        size_t detections;
    } cases[] = {
        {{"x<br>first-.-.-.-.-.-abxcxdstringstring-firstabxcxd-stringstring"}, {}, 3},
        {{"x<br>first-stringstringfirst-stringstring", "later"}, {0, 2}, 3},
        {{"x<br>first-----stringstringoffsetpart-stringstring", "last"}, {0, 2}, 3},
    };
    for (const auto& [chunks, answers, detections] : cases) {
        const Stream scanned = {chunks, answers};
        const size_t found = expectEqual(
            [&](Kernel& kernel) { return scanStream(*kernel.scanner, scanned); }, 'N', 0);
        EXPECT_EQ(found, detections) << chunks[0];
    }
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
    for (const Kernel& kernel : loaded.kernels) {
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
