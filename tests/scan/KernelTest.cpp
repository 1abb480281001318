// All kernels against the plain one, over sets and streams that are thick with near misses.
//
// The plain kernel walks the lists and trees as they are told; what it reports, with which offsets,
// in which call, is what every other has to report. Signatures and text are put together from the
// same few words, so that signatures share first parts, anchors and whole contents, parts come in
// any order, and matches are cut short by the ends of buffers.
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <list>
#include <random>

#include "pattern/line/SignatureLine.h"
#include "scan/StreamScanner.h"
#include "store/PatternContainer.h"
#include "support/EngineOption.h"
#include "support/Exception.h"

namespace {

using namespace STREAMENGINE_SPACE;
using QLT_SPACE::VectorUnit;

class Generator {
  public:
    explicit Generator(unsigned int seed) : random(seed) {
        for (std::string& word : words) {
            const size_t length = pick(3) == 0 ? 9 + pick(30) : 2 + pick(6);
            // Some repeat a letter or two: what is found in them is found a byte later as well.
            const size_t period = pick(4) == 0 ? 1 + pick(2) : length;
            while (word.size() < length) {
                const bool isCopy = word.size() >= period;
                word += isCopy ? word[word.size() - period] : "aab<>/s-"[pick(8)];
            }
        }
    }

    size_t pick(size_t n) { return random() % n; }
    const std::string& word() { return words[pick(words.size())]; }

    /// A few lines, some of them twice but for the name.
    std::vector<std::string> lines() {
        std::vector<std::string> all(1 + pick(30));
        shared = pick(3) == 0 ? part() : "";
        for (size_t i = 0; i < all.size(); ++i) {
            const std::string name = "N" + std::to_string(i);
            const std::string& other = all[pick(i + 1)];
            const bool isCopy = !other.empty() && pick(4) == 0;
            all[i] = name + (isCopy ? other.substr(other.find(':')) : fields());
        }
        return all;
    }

    std::string text(size_t length) {
        std::string out;
        while (out.size() < length) {
            std::string piece = word() + (pick(2) == 0 ? word() : "");
            if (pick(4) == 0) piece[pick(piece.size())] = "ab< \n>"[pick(6)];
            if (pick(6) == 0) piece.resize(pick(piece.size()) + 1);
            if (pick(30) == 0) piece = "<script>";
            out += piece;
        }
        return out;
    }

    std::vector<std::string> cut(const std::string& text) {
        const std::array<size_t, 4> longest = {1 + text.size() / 200, 40, 600, text.size()};
        std::vector<std::string> chunks;
        const size_t most = longest[pick(longest.size())];
        for (size_t i = 0; i < text.size(); i += chunks.back().size()) {
            chunks.push_back(text.substr(i, 1 + pick(most)));
        }
        return chunks;
    }

    std::vector<int32_t> answers() {
        std::vector<int32_t> all(pick(12));
        for (int32_t& answer : all) answer = std::array{0, 0, 0, 1, 3, 2, 7}[pick(7)];
        return all;
    }

  private:
    std::string fields() {
        std::string out = ":0:" + (pick(8) == 0 ? std::to_string(pick(60)) : "*") + ":" +
                          (shared.empty() || pick(8) == 0 ? part() : shared);
        for (size_t more = pick(2) == 0 ? 0 : pick(4); more > 0; --more) out += gap() + part();
        return out;
    }

    std::string part() {
        std::string hex;
        const std::string content = word() + (pick(3) == 0 ? word() : "");
        const size_t wildcards = pick(2) == 0 ? 0 : pick(3);
        for (size_t i = 0; i < content.size(); ++i) {
            const bool isWild = i >= 2 && pick(content.size()) < wildcards;
            if (!isWild) {
                hex += toHex(content[i]);
            } else {
                hex += pick(2) == 0 ? "??" : "(" + toHex(content[i]) + "|" + toHex('a') + ")";
            }
        }
        return hex;
    }

    std::string gap() {
        const size_t low = pick(6), high = low + pick(40);
        const std::array<std::string, 5> gaps = {
            "*", "{" + std::to_string(low) + "}",
            "{" + std::to_string(low) + "-" + std::to_string(high) + "}",
            "{" + std::to_string(low) + "-}", "{-" + std::to_string(high) + "}"};
        return gaps[pick(gaps.size())];
    }

    static std::string toHex(char c) {
        static constexpr std::string_view kDigits = "0123456789abcdef";
        const auto byte = static_cast<unsigned char>(c);
        return {kDigits[byte / 16], kDigits[byte % 16]};
    }

    std::mt19937 random;
    std::array<std::string, 12> words;
    std::string shared;  // the first part of most signatures, or empty
};

/// One host, whose answers are given and whose events are put down.
struct Witness {
    std::vector<int32_t> answers;
    std::string transcript;
    size_t detections = 0;

    static int32_t onEvent(void* /*reserved*/, ZVK_ENGINE_EVENT_TYPE type, const void* data,
                           void* userData) {
        auto& self = *static_cast<Witness*>(userData);
        if (type == ZVK_EVENT_DATA_DUMP) {
            self.transcript += std::to_string(static_cast<const _ZVKDumpEvent*>(data)->length);
            return 0;
        }
        self.transcript += static_cast<const ZVKVirusEvent*>(data)->name;
        const size_t told = self.detections++;
        return told < self.answers.size() ? self.answers[told] : 0;
    }
    static constexpr ZVKScanEngineCallbacks kCallbacks = {onEvent};
};

class SearchForms : public testing::Test {
  protected:
    void TearDown() override {
        unsetenv("ZVK_KERNEL");
        ops = {};
    }

    /// Loads the lines once for each kernel of this machine, the plain one first.
    void load(const std::vector<std::string>& lines) {
        containers.clear();
        for (const VectorUnit unit :
             {VectorUnit::None, VectorUnit::Baseline, VectorUnit::Avx2, VectorUnit::Avx512}) {
            if (!hasVectorUnit(unit)) continue;
            setenv("ZVK_KERNEL", vectorUnitName(unit), 1);
            PatternContainer& container = containers.emplace_back();
            for (const std::string& line : lines) add(line, container);
            container.prepare();
        }
    }

    static void add(const std::string& line, PatternContainer& container) {
        try {
            addSignatureLine(container, line.c_str(), 3, true);
        } catch (const QLT_SPACE::Exception&) {
            // Too short for its kind: the parts in front stay and take part.
        }
    }

    std::list<PatternContainer> containers;
};

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

TEST_F(SearchForms, AgreeOverStreams) {
    constexpr unsigned int kSets = 1000;
    constexpr int kStreams = 60;
    size_t told = 0;
    for (unsigned int seed = 0; seed < kSets && !HasFailure(); ++seed) {
        Generator generator(seed);
        ops.detailEvent = seed % 2;
        ops.dump = seed % 3 == 0;
        const std::vector<std::string> lines = generator.lines();
        load(lines);
        std::list<StreamScanner> scanners;
        for (const auto& container : containers) {
            scanners.emplace_back(container, &Witness::kCallbacks, nullptr, 0);
        }
        for (int stream = 0; stream < kStreams; ++stream) {
            const size_t length = generator.pick(100) == 0 ? 20000 : 1 + generator.pick(700);
            const std::string head = generator.pick(2) == 0 ? "<html>" : "x<br>";
            const auto chunks = generator.cut(head + generator.text(length));
            const Witness witness = {generator.answers(), {}};
            const std::string expected = scanStream(scanners.front(), chunks, witness);
            for (StreamScanner& scanner : scanners) {
                ASSERT_EQ(scanStream(scanner, chunks, witness), expected) << "seed " << seed;
            }
            told += static_cast<size_t>(std::count(expected.begin(), expected.end(), 'N'));
        }
    }
    EXPECT_GT(told, size_t{kSets} * kStreams);
}

/// What a stream's buffers tell, when its first byte has the offset given.
std::string searchFrom(uint32_t base, const PatternContainer& container,
                       const std::vector<std::string>& chunks, Witness witness) {
    DetectionReporter reporter(&Witness::kCallbacks, &witness);
    BodyMatcher matcher(container, reporter.details());
    const auto overlap = static_cast<size_t>(container.maxPatternLength);
    std::string kept;
    uint32_t decidedTo = 0;
    for (const std::string& chunk : chunks) {
        std::string buffer = kept + chunk;
        bool isResumed = true;
        while (isResumed) {
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

// Offsets have 32 bits: behind 4 GiB they start again, and so do the conditions made of them.
TEST_F(SearchForms, AgreeWhereOffsetsWrap) {
    constexpr unsigned int kSets = 400;
    constexpr int kStreams = 60;
    size_t told = 0;
    ops.detailEvent = 1;
    for (unsigned int seed = 0; seed < kSets && !HasFailure(); ++seed) {
        Generator generator(seed);
        load(generator.lines());
        for (int stream = 0; stream < kStreams; ++stream) {
            const auto chunks = generator.cut(generator.text(1 + generator.pick(500)));
            const uint32_t base = 0U - static_cast<uint32_t>(generator.pick(600));
            const Witness witness = {generator.answers(), {}};
            const std::string expected = searchFrom(base, containers.front(), chunks, witness);
            for (const auto& container : containers) {
                ASSERT_EQ(searchFrom(base, container, chunks, witness), expected) << seed;
            }
            told += static_cast<size_t>(std::count(expected.begin(), expected.end(), '@'));
        }
    }
    EXPECT_GT(told, size_t{kSets} * kStreams / 4);
}

// A gap that was too wide at an offset fits at the same one, 4 GiB later.
TEST_F(SearchForms, AgreeWhereOffsetsComeAgain) {
    load({"P:0:*:71777274{-10}7a78"});
    for (const auto& container : containers) {
        ScanResult details;
        BodyMatcher matcher(container, details);
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
        EXPECT_EQ(found, 1) << vectorUnitName(container.vectorUnit);
    }
}

}  // namespace
