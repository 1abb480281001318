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

struct Element {
    std::string choices;  // the bytes that match; empty: any
};

struct Part {
    std::vector<Element> elements;
    uint32_t minGap = 0, maxGap = 0;
    std::string marker;  // in front of it, as written

    bool isPlain() const {
        return std::all_of(elements.begin(), elements.end(),
                           [](const Element& e) { return e.choices.size() == 1; });
    }
    /// The literal bytes at its head, three at most.
    size_t head() const {
        size_t n = 0;
        while (n < std::min<size_t>(3, elements.size()) && elements[n].choices.size() == 1) ++n;
        return n;
    }
    bool matchesAt(std::string_view text, size_t start) const {
        if (start > text.size() || elements.size() > text.size() - start) return false;
        for (size_t i = 0; i < elements.size(); ++i) {
            const auto& choices = elements[i].choices;
            if (!choices.empty() && choices.find(text[start + i]) == choices.npos) return false;
        }
        return true;
    }
    std::string written() const {
        std::string out = marker;
        for (const Element& element : elements) {
            if (element.choices.empty()) out += "??";
            if (element.choices.size() == 1) out += hex(element.choices);
            if (element.choices.size() > 1) {
                out += "(";
                for (const char c : element.choices) out += hex({&c, 1}) + "|";
                out.back() = ')';
            }
        }
        return out;
    }
};

struct Signature {
    std::string name;
    std::optional<uint32_t> offset;
    std::vector<Part> parts;
    size_t partsMatched = 0;  // the state of the stream
    uint32_t partEnd = 0;

    bool isSimple() const { return parts.size() == 1 && parts[0].isPlain(); }
    std::string line() const {
        std::string out = name + ":0:" + (offset ? std::to_string(*offset) : "*") + ":";
        for (const Part& part : parts) out += part.written();
        return out + "\n";
    }
};

struct Hit {
    Signature* signature;
    size_t end;  // position just behind it in the buffer searched
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
            if (header.size() == 256) {
                scanChunk(chunk);
                continue;
            }
            const size_t taken = std::min(chunk.size(), 256 - header.size());
            header += chunk.substr(0, taken);
            if (header.size() == 256 && scanChunk(header) == 0) scanChunk(chunk.substr(taken));
        }
        if (header.size() < 256) scanChunk(header);
        return reported;
    }

  private:
    int scanChunk(std::string chunk) {
        int count = 0;
        bool isResumed = false;
        while (!chunk.empty() || isResumed) {
            const std::string text = kept + chunk;
            chunk.clear();
            isResumed = false;
            const auto hit = search(text);
            if (!hit) {
                const size_t dropped = text.size() - std::min(overlap, text.size());
                kept = text.substr(dropped);
                base += static_cast<uint32_t>(dropped);
                continue;
            }
            ++count;
            const int32_t answer = report(*hit->signature);
            if (answer == 1 || answer == 3) return count;
            if (answer != 0) continue;
            kept = text.substr(hit->end);
            base += static_cast<uint32_t>(hit->end);
            for (Signature& s : signatures) s.partsMatched = s.partEnd = 0;
            details.clear();
            matched = nullptr;
            isResumed = true;
        }
        return count;
    }

    int32_t report(Signature& signature) {
        if (signature.parts.size() > 1) matched = &signature;
        if (signature.isSimple()) details = {details.back()};
        std::string text = signature.name;
        for (size_t i = 0; i < details.size(); ++i) {
            const bool isTold = details.size() == 1  ? true
                                : matched != nullptr ? details[i].first == matched
                                                     : i + 1 == details.size();
            if (isTold) text += " " + std::to_string(details[i].second);
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
                const auto position = base + static_cast<uint32_t>(start);
                if (s.offset && *s.offset != position) continue;
                details.emplace_back(&s, position);
                return Hit{&s, start + s.parts[0].elements.size()};
            }
        }
        return std::nullopt;
    }

    /// All parts that match at start and whose head has this length, in the order of precedence.
    std::optional<Hit> searchHeads(std::string_view text, size_t start, size_t head) {
        struct Candidate {
            size_t rank;  // wildcards, then plain ones by their length
            Signature* signature;
            const Part* part;
        };
        std::vector<Candidate> candidates;
        for (Signature& s : signatures) {
            if (s.isSimple()) continue;
            for (size_t i = s.parts.size(); i-- > 0;) {
                const Part& part = s.parts[i];
                if (part.head() != head || !part.matchesAt(text, start)) continue;
                candidates.push_back({part.isPlain() ? part.elements.size() : 0, &s, &part});
            }
        }
        std::stable_sort(candidates.begin(), candidates.end(),
                         [](const auto& a, const auto& b) { return a.rank < b.rank; });
        for (const Candidate& c : candidates) {
            if (accept(*c.signature, *c.part, base + static_cast<uint32_t>(start))) {
                return Hit{c.signature, start + c.part->elements.size()};
            }
        }
        return std::nullopt;
    }

    bool accept(Signature& s, const Part& part, uint32_t position) {
        const auto number = static_cast<size_t>(&part - s.parts.data());
        if (number == 0 && s.offset && *s.offset != position) return false;
        if (s.parts.size() > 1) {
            if (number != s.partsMatched || position < s.partEnd) return false;
            const uint32_t gap = position - s.partEnd;
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
    bool oneIn(size_t n) { return upTo(n - 1) == 0; }
    char letter() { return "ab<"[upTo(2)]; }
    std::string text(size_t length) {
        std::string out;
        while (out.size() < length) out += letter();
        return out;
    }

    std::vector<Signature> set() {
        std::vector<Signature> all(1 + upTo(12));
        for (size_t i = 0; i < all.size(); ++i) {
            all[i] = signature("S" + std::to_string(i));
        }
        return all;
    }

    std::vector<std::string> cut(const std::string& text) {
        std::vector<std::string> chunks;
        const size_t longest = oneIn(3) ? text.size() : 1 + upTo(40);
        for (size_t i = 0; i < text.size(); i += chunks.back().size()) {
            chunks.push_back(text.substr(i, 1 + upTo(longest - 1)));
        }
        return chunks;
    }

    std::vector<int32_t> answers() {
        std::vector<int32_t> all(upTo(4));
        for (int32_t& answer : all) {
            constexpr int32_t kAnswers[] = {0, 0, 0, 1, 3, 2};
            answer = kAnswers[upTo(5)];
        }
        return all;
    }

  private:
    Signature signature(std::string name) {
        Signature made;
        made.name = std::move(name);
        if (oneIn(8)) made.offset = static_cast<uint32_t>(5 + upTo(40));
        if (oneIn(3)) {
            made.parts.resize(1);
            for (const char c : text(10 + upTo(3))) made.parts[0].elements.push_back({{c}});
            return made;
        }
        made.parts.resize(1 + upTo(2));
        for (Part& part : made.parts) fillPart(part);
        if (made.isSimple()) made.parts[0].elements.push_back({});
        for (size_t i = 1; i < made.parts.size(); ++i) fillGap(made.parts[i]);
        return made;
    }

    void fillPart(Part& part) {
        for (const char c : text(2 + upTo(4))) part.elements.push_back({{c}});
        while (oneIn(2)) {
            constexpr const char* kChoices[] = {"", "ab", "b<", "ab<", "a"};
            part.elements.push_back({kChoices[upTo(4)]});
        }
    }

    void fillGap(Part& part) {
        const auto low = static_cast<uint32_t>(upTo(3));
        const auto high = low + static_cast<uint32_t>(upTo(3));
        switch (upTo(4)) {
            case 0:
                part.minGap = part.maxGap = low;
                part.marker = "{" + std::to_string(low) + "}";
                break;
            case 1:
                part.minGap = low;
                part.maxGap = high;
                part.marker = "{" + std::to_string(low) + "-" + std::to_string(high) + "}";
                break;
            case 2:
                part.minGap = low;
                part.marker = "{" + std::to_string(low) + "-}";
                break;
            case 3:
                part.maxGap = high;
                part.marker = "{-" + std::to_string(high) + "}";
                break;
            default:
                part.marker = "*";
        }
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
    for (unsigned int seed = 0; seed < kSets && !testing::Test::HasFailure(); ++seed) {
        Generator generator(seed);
        const std::vector<Signature> set = generator.set();
        std::string lines;
        for (const Signature& signature : set) lines += signature.line();
        ASSERT_EQ(load(".ndb", lines), 0);
        for (int stream = 0; stream < kStreams; ++stream) {
            const std::string text = "x<br>" + generator.text(generator.upTo(400));
            const auto chunks = generator.cut(text);
            host.answers = generator.answers();
            host.names.clear();
            host.begin();
            for (const auto& chunk : chunks) host.feed(chunk);
            host.end();
            std::vector<std::string> got;
            for (const auto& detail : host.names) got.push_back(digestOf(detail));
            EXPECT_EQ(got, Reference(set).scan(chunks, host.answers))
                << "seed " << seed << ", stream " << stream << "\n"
                << lines;
            detections += got.size();
        }
        destroyEngine();
    }
    EXPECT_GT(detections, kSets * kStreams);  // the sets are such that there is much to agree on
}

}  // namespace
