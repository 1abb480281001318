// The engine against a plain matcher that tries every signature at every position.
//
// Random sets and streams in plain mode, where text without upper case and white space is its own
// normalised form. The reference shares no code with the engine. It has no automata, hashes or
// tables: only what matches where, and which of several matches comes first.
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

#include "interface/TestHost.h"
#include "testing/RandomSet.h"

namespace {

constexpr SetProfile kProfile = {
    .alphabet = "ab<", .noise = "ab<", .mostSignatures = 13, .mostGap = 4, .mayBeRefused = false};

/// A signature, and how far a stream has matched it.
struct Candidate : Signature {
    size_t partsMatched = 0;
    uint32_t partEnd = 0;  // offset of the byte after the last part matched

    bool isSimple() const { return parts.size() == 1 && parts[0].isPlain(); }
};

/// @return the number of literal bytes that begin a part, three at most
size_t headLength(const SignaturePart& part) {
    const size_t most = std::min<size_t>(3, part.elements.size());
    size_t length = 0;
    while (length < most && part.elements[length].size() == 1) ++length;
    return length;
}

bool matchesAt(const SignaturePart& part, std::string_view text, size_t start) {
    if (part.elements.size() > text.size() - start) return false;
    for (const Element& element : part.elements) {
        const char byte = text[start++];
        if (!element.empty() && element.find(byte) == element.npos) return false;
    }
    return true;
}

/// Matches of one chunk are found in this order: those that begin with two or three literal bytes
/// and have more than one part or wildcards, by the end of these bytes; then simple signatures, by
/// where they begin.
class Reference {
  public:
    explicit Reference(const std::vector<Signature>& set) {
        for (const Signature& signature : set) {
            signatures.insert(signatures.begin(), {signature});
            for (const SignaturePart& part : signature.parts) {
                overlap = std::max(overlap, part.elements.size());
            }
        }
    }

    /// @return what a stream in these chunks has to report: names, and where the parts begin
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
        Candidate* signature;
        size_t end;  // position just after it in the text searched
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
            for (Candidate& each : signatures) each.partsMatched = each.partEnd = 0;
            matched = nullptr;
            isResumed = true;
        }
        return count;
    }

    void drop(const std::string& text, size_t count) {
        kept = text.substr(count);
        base += static_cast<uint32_t>(count);
    }

    int32_t report(Candidate& signature) {
        if (signature.parts.size() > 1) matched = &signature;
        if (signature.isSimple()) details = {details.back()};
        std::string text = signature.name;
        for (const auto& [owner, position] : details) {
            const bool isShown = details.size() == 1 || (matched != nullptr && owner == matched) ||
                                 (matched == nullptr && &position == &details.back().second);
            if (isShown) text += " " + std::to_string(position);
        }
        details.clear();
        reported.push_back(text);
        return reported.size() <= answers.size() ? answers[reported.size() - 1] : 0;
    }

    std::optional<Hit> search(std::string_view text) {
        for (size_t end = 2; end <= text.size(); ++end) {
            for (const size_t length : {3U, 2U}) {
                if (length > end) continue;
                if (auto hit = searchHeads(text, end - length, length)) return hit;
            }
        }
        for (size_t start = 0; start < text.size(); ++start) {
            for (Candidate& each : signatures) {
                if (!each.isSimple() || !matchesAt(each.parts[0], text, start)) continue;
                if (accept(each, 0, start))
                    return Hit{&each, start + each.parts[0].elements.size()};
            }
        }
        return std::nullopt;
    }

    /// Of the parts that match at start and whose head has this length, those with wildcards come
    /// first, then plain ones by their length.
    std::optional<Hit> searchHeads(std::string_view text, size_t start, size_t length) {
        std::vector<std::tuple<size_t, Candidate*, size_t>> candidates;
        for (Candidate& each : signatures) {
            for (size_t i = each.isSimple() ? 0 : each.parts.size(); i-- > 0;) {
                const SignaturePart& part = each.parts[i];
                if (headLength(part) != length || !matchesAt(part, text, start)) continue;
                candidates.emplace_back(part.isPlain() ? part.elements.size() : 0, &each, i);
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

    /// Takes a part that matches the text at start, if its offset and its gap allow it.
    /// @return whether the signature is complete with it
    bool accept(Candidate& signature, size_t number, size_t start) {
        const SignaturePart& part = signature.parts[number];
        const uint32_t position = base + static_cast<uint32_t>(start);
        if (number == 0 && signature.offset && *signature.offset != position) return false;
        if (signature.parts.size() > 1) {
            const uint32_t gap = position - signature.partEnd;
            const Gap bounds = number == 0 ? Gap() : part.gap;
            if (number != signature.partsMatched || position < signature.partEnd) return false;
            if (bounds.most != 0 && gap > bounds.most) return false;
            if (bounds.least != 0 && gap < bounds.least) return false;
            signature.partEnd = position + static_cast<uint32_t>(part.elements.size());
            ++signature.partsMatched;
        }
        details.emplace_back(&signature, position);
        return signature.parts.size() == 1 || signature.partsMatched == signature.parts.size();
    }

    std::vector<Candidate> signatures;  // newest first: so they are tried
    std::vector<int32_t> answers;
    std::vector<std::string> reported;
    std::vector<std::pair<Candidate*, uint32_t>> details;  // parts accepted since the last report
    Candidate* matched = nullptr;                          // the multi-part signature reported last
    std::string kept;
    uint32_t base = 0;
    size_t overlap = 0;
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
    constexpr uint64_t kSets = 2000;
    constexpr int kStreams = 5;
    size_t detections = 0;
    Host host;
    for (uint64_t seed = 0; seed < kSets && !HasFailure(); ++seed) {
        RandomSet set(kProfile, seed);
        const std::string lines = linesOf(set.signatures);
        ASSERT_EQ(load(".ndb", lines), 0);
        for (int stream = 0; stream < kStreams; ++stream) {
            const std::string text = "x<br>" + set.text(set.random.between(0, 400));
            const auto chunks = cutIntoChunks(text, set.random);
            host.answers = randomAnswers(set.random);
            host.names.clear();
            host.begin();
            std::vector<int32_t> counts;
            counts.reserve(chunks.size());
            for (const auto& chunk : chunks) counts.push_back(host.feed(chunk));
            host.end();
            std::transform(host.names.begin(), host.names.end(), host.names.begin(), digestOf);
            SCOPED_TRACE(lines + "seed " + std::to_string(seed));
            Reference reference(set.signatures);
            EXPECT_EQ(host.names, reference.scan(chunks, host.answers));
            EXPECT_EQ(counts, reference.counts);
            detections += host.names.size();
        }
        destroyEngine();
    }
    EXPECT_GT(detections, kSets * kStreams);  // enough to compare
}

}  // namespace
