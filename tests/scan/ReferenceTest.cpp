// The engine against a plain matcher that tries every signature at every position.
//
// Random sets and streams over a small alphabet, in plain mode, where text without upper case and
// white space is its own normalised form. The reference knows nothing of automata, hashes or
// tables: only what matches where, and which of several matches comes first.
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <random>

#include "interface/TestHost.h"

namespace {

struct Part {
    std::vector<std::string> elements;  // the bytes that match; empty: any
    uint32_t minGap = 0, maxGap = 0;
    std::string written;

    bool isPlain() const {
        return std::all_of(elements.begin(), elements.end(),
                           [](const auto& e) { return e.size() == 1; });
    }
    /// The literal bytes at its head, three at most.
    size_t head() const {
        size_t n = 0;
        while (n < std::min<size_t>(3, elements.size()) && elements[n].size() == 1) ++n;
        return n;
    }
    bool matchesAt(std::string_view text, size_t start) const {
        if (elements.size() > text.size() - start) return false;
        for (size_t i = 0; i < elements.size(); ++i) {
            if (!elements[i].empty() && elements[i].find(text[start + i]) == std::string::npos) {
                return false;
            }
        }
        return true;
    }
};

struct Signature {
    std::string name, line;
    std::optional<uint32_t> offset;
    std::vector<Part> parts;
    size_t partsMatched = 0;  // the state of the stream
    uint32_t partEnd = 0;

    bool isSimple() const { return parts.size() == 1 && parts[0].isPlain(); }
};

class Reference {
  public:
    explicit Reference(std::vector<Signature> set) : signatures(std::move(set)) {
        std::reverse(signatures.begin(), signatures.end());
        for (const Signature& s : signatures) {
            for (const Part& part : s.parts) overlap = std::max(overlap, part.elements.size());
        }
    }

    /// What a stream in these chunks has to report: names, and where the parts begin.
    std::vector<std::string> scan(const std::vector<std::string>& chunks,
                                  const std::vector<int32_t>& answersGiven) {
        answers = answersGiven;
        std::string header;
        for (const std::string& chunk : chunks) {
            const size_t taken = std::min(chunk.size(), 256 - header.size());
            header += chunk.substr(0, taken);
            counts.push_back(0);
            if (header.size() < 256) continue;
            if (taken != 0) counts.back() = scanChunk(header);
            if (counts.back() == 0) counts.back() = scanChunk(chunk.substr(taken));
        }
        if (header.size() < 256) scanChunk(header);
        return reported;
    }

    std::vector<int32_t> counts;  // of the detections in each chunk

  private:
    struct Hit {
        Signature* signature;
        size_t end;  // position just behind it in the buffer searched
    };

    int32_t scanChunk(std::string chunk) {
        int32_t count = 0;
        for (bool isResumed = false; !chunk.empty() || isResumed;) {
            const std::string text = kept + std::exchange(chunk, "");
            isResumed = false;
            const auto hit = search(text);
            if (!hit) {
                drop(text, text.size() - std::min(overlap, text.size()));
                continue;
            }
            ++count;
            const int32_t answer = report(*hit->signature);
            if (answer == 1 || answer == 3) return count;
            if (answer != 0) continue;
            drop(text, hit->end);
            for (Signature& s : signatures) s.partsMatched = s.partEnd = 0;
            matched = nullptr;
            isResumed = true;
        }
        return count;
    }

    void drop(const std::string& text, size_t count) {
        kept = text.substr(count);
        base += static_cast<uint32_t>(count);
    }

    int32_t report(Signature& signature) {
        if (signature.parts.size() > 1) matched = &signature;
        if (signature.isSimple()) details = {details.back()};
        std::string text = signature.name;
        for (const auto& [part, position] : details) {
            const bool isTold = details.size() == 1 || (matched != nullptr && part == matched) ||
                                (matched == nullptr && &position == &details.back().second);
            if (isTold) text += " " + std::to_string(position);
        }
        details.clear();
        reported.push_back(text);
        return reported.size() <= answers.size() ? answers[reported.size() - 1] : 0;
    }

    std::optional<Hit> search(std::string_view text) {
        for (size_t end = 2; end <= text.size(); ++end) {
            for (const size_t depth : {3U, 2U}) {
                if (depth > end) continue;
                if (auto hit = searchHeads(text, end - depth, depth)) return hit;
            }
        }
        for (size_t start = 0; start < text.size(); ++start) {
            for (Signature& s : signatures) {
                if (!s.isSimple() || !s.parts[0].matchesAt(text, start)) continue;
                if (accept(s, 0, start)) return Hit{&s, start + s.parts[0].elements.size()};
            }
        }
        return std::nullopt;
    }

    /// Of the parts that match at start and whose head has this length, wildcards come first, then
    /// plain ones by their length.
    std::optional<Hit> searchHeads(std::string_view text, size_t start, size_t head) {
        std::vector<std::tuple<size_t, Signature*, size_t>> candidates;
        for (Signature& s : signatures) {
            for (size_t i = s.isSimple() ? 0 : s.parts.size(); i-- > 0;) {
                const Part& part = s.parts[i];
                if (part.head() != head || !part.matchesAt(text, start)) continue;
                candidates.emplace_back(part.isPlain() ? part.elements.size() : 0, &s, i);
            }
        }
        std::stable_sort(candidates.begin(), candidates.end(), [](const auto& a, const auto& b) {
            return std::get<0>(a) < std::get<0>(b);
        });
        for (const auto& [rank, signature, i] : candidates) {
            if (accept(*signature, i, start)) {
                return Hit{signature, start + signature->parts[i].elements.size()};
            }
        }
        return std::nullopt;
    }

    bool accept(Signature& s, size_t number, size_t start) {
        const Part& part = s.parts[number];
        const uint32_t position = base + static_cast<uint32_t>(start);
        if (number == 0 && s.offset && *s.offset != position) return false;
        if (s.parts.size() > 1) {
            const uint32_t gap = position - s.partEnd;
            if (number != s.partsMatched || position < s.partEnd) return false;
            if (part.maxGap != 0 && gap > part.maxGap) return false;
            if (part.minGap != 0 && gap < part.minGap) return false;
            s.partEnd = position + static_cast<uint32_t>(part.elements.size());
            ++s.partsMatched;
        }
        details.emplace_back(&s, position);
        return s.parts.size() == 1 || s.partsMatched == s.parts.size();
    }

    std::vector<Signature> signatures;  // newest first: so they are tried
    std::vector<int32_t> answers;
    std::vector<std::string> reported;
    std::vector<std::pair<Signature*, uint32_t>> details;  // parts accepted since the last report
    Signature* matched = nullptr;                          // the multi-part signature reported last
    std::string kept;
    uint32_t base = 0;
    size_t overlap = 0;
};

class Generator {
  public:
    explicit Generator(unsigned int seed) : random(seed) {}

    size_t upTo(size_t n) { return std::uniform_int_distribution<size_t>(0, n)(random); }
    std::string text(size_t length) {
        std::string out;
        while (out.size() < length) out += "ab<"[upTo(2)];
        return out;
    }
    std::vector<Signature> set() {
        std::vector<Signature> all(1 + upTo(12));
        for (size_t i = 0; i < all.size(); ++i) fill(all[i], "S" + std::to_string(i));
        return all;
    }
    std::vector<std::string> cut(const std::string& text) {
        std::vector<std::string> chunks;
        const size_t longest = upTo(2) == 0 ? text.size() : 1 + upTo(40);
        for (size_t i = 0; i < text.size(); i += chunks.back().size()) {
            chunks.push_back(text.substr(i, 1 + upTo(longest - 1)));
        }
        return chunks;
    }
    std::vector<int32_t> answers() {
        std::vector<int32_t> all(upTo(4));
        for (int32_t& answer : all) answer = std::array{0, 0, 0, 1, 3, 2}[upTo(5)];
        return all;
    }

  private:
    void fill(Signature& made, const std::string& name) {
        made.name = name;
        if (upTo(7) == 0) made.offset = static_cast<uint32_t>(5 + upTo(40));
        made.line = name + ":0:" + (made.offset ? std::to_string(*made.offset) : "*") + ":";
        made.parts.resize(upTo(2) == 0 ? 1 : 1 + upTo(2));
        const bool isPlain = made.parts.size() == 1 && upTo(1) == 0;
        for (Part& part : made.parts) {
            if (&part != made.parts.data()) fillGap(part);
            for (const char c : text(isPlain ? 10 + upTo(3) : 2 + upTo(4))) add(part, {c});
            while (!isPlain && upTo(1) == 0) {
                add(part, std::array{"", "ab", "b<", "ab<", "a"}[upTo(4)]);
            }
            if (!isPlain && made.isSimple()) add(part, "");
            made.line += part.written;
        }
        made.line += "\n";
    }
    static void add(Part& part, const std::string& choices) {
        part.elements.push_back(choices);
        if (choices.empty()) part.written += "??";
        if (choices.size() == 1) part.written += hex(choices);
        if (choices.size() < 2) return;
        for (const char c : choices) part.written += (c == choices[0] ? "(" : "|") + hex({&c, 1});
        part.written += ")";
    }
    void fillGap(Part& part) {
        const auto low = static_cast<uint32_t>(upTo(3));
        const auto high = low + static_cast<uint32_t>(upTo(3));
        const std::string least = std::to_string(low), most = std::to_string(high);
        const std::tuple<uint32_t, uint32_t, std::string> gaps[] = {
            {low, low, "{" + least + "}"},
            {low, high, "{" + least + "-" + most + "}"},
            {low, 0, "{" + least + "-}"},
            {0, high, "{-" + most + "}"},
            {0, 0, "*"}};
        std::tie(part.minGap, part.maxGap, part.written) = gaps[upTo(4)];
    }

    std::mt19937 random;
};

/// The name and the offsets out of a detail text.
std::string digestOf(const std::string& detail) {
    const size_t tab = detail.find('\t');
    std::string out = detail.substr(tab + 1, detail.find('\t', tab + 1) - tab - 1);
    constexpr std::string_view kLabel = "offset   :0x";
    for (size_t at = detail.find(kLabel); at != detail.npos; at = detail.find(kLabel, at + 1)) {
        out += " " + std::to_string(std::stoul(detail.substr(at + kLabel.size()), nullptr, 16));
    }
    return out;
}

TEST(Reference, AgreesWithTheEngine) {
    const Options options({"", 0, 0, 0, 1});
    constexpr unsigned int kSets = 2000;
    constexpr int kStreams = 5;
    size_t detections = 0;
    Host host;
    for (unsigned int seed = 0; seed < kSets && !HasFailure(); ++seed) {
        Generator generator(seed);
        const std::vector<Signature> set = generator.set();
        std::string lines;
        for (const Signature& signature : set) lines += signature.line;
        ASSERT_EQ(load(".ndb", lines), 0);
        for (int stream = 0; stream < kStreams; ++stream) {
            const auto chunks = generator.cut("x<br>" + generator.text(generator.upTo(400)));
            host.answers = generator.answers();
            host.names.clear();
            host.begin();
            std::vector<int32_t> counts;
            counts.reserve(chunks.size());
            for (const auto& chunk : chunks) counts.push_back(host.feed(chunk));
            host.end();
            std::transform(host.names.begin(), host.names.end(), host.names.begin(), digestOf);
            SCOPED_TRACE(lines + "seed " + std::to_string(seed));
            Reference reference(set);
            EXPECT_EQ(host.names, reference.scan(chunks, host.answers));
            EXPECT_EQ(counts, reference.counts);
            detections += host.names.size();
        }
        destroyEngine();
    }
    EXPECT_GT(detections, kSets * kStreams);  // the sets are such that there is much to agree on
}

}  // namespace
