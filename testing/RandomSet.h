// RandomSet: random signatures, and streams that are thick with near misses of them.
//
// Random bytes almost never match a signature, so a search over them shows nothing. Here the
// signatures and the streams are put together from the same few words over a small alphabet. Then
// signatures share beginnings, parts and whole contents, and a stream holds whole signatures,
// signatures cut short and signatures with one wrong byte, one after the other.
//
// Everything follows from the seed: a failure is repeated by running its seed alone.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "testing/Random.h"
#include "testing/Signature.h"

/// What the signatures and streams of a set are like.
struct SetProfile {
    std::string_view alphabet;  // of the words
    std::string_view noise;     // of the wrong bytes in streams
    size_t mostSignatures;
    size_t mostGap;     // bytes by which a gap's two bounds differ at most
    bool mayBeRefused;  // whether there may be signatures that are too short to be loaded
    // How many of 100 signatures go on from the first parts of another one with parts that many
    // have, how many of 100 parts have no three literals in a row behind their beginning, and how
    // many begin with a text of several hundred bytes.
    size_t familyPercent = 0;
    size_t sparsePercent = 0;
    size_t longHeadPercent = 0;
};

class RandomSet {
  public:
    RandomSet(const SetProfile& profile, uint64_t seed);

    /// @return text of at least length bytes
    std::string text(size_t length);

    Random random;
    std::vector<Signature> signatures;  // named N0, N1, ...

  private:
    std::string makeWord();
    const std::string& word() { return random.pick(words); }
    SignaturePart makePart();
    SignaturePart makeSparsePart();
    Gap makeGap();
    Gap makeFamilyGap();
    Signature makeSignature();
    Signature makeRelative(size_t others);
    std::string makePiece();

    const SetProfile profile;
    std::array<std::string, 12> words;
    SignaturePart shared;  // the first part of most signatures of some sets; empty in the others
    std::string longHead;
    std::vector<SignaturePart> familyParts;  // of these each family is made
};

/// Cuts a text into chunks; how long they are at most is drawn once for all of them.
std::vector<std::string> cutIntoChunks(const std::string& text, Random& random);

/// @return a host's answers to its first detections, most of them 0: go on after the match
std::vector<int32_t> randomAnswers(Random& random);
