// Random: numbers from a seed, the same with every compiler and library.
//
// The distributions of the standard library may give other numbers with another library; inputs
// that a failing test names by their seed have to be the same everywhere.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

class Random {
  public:
    explicit Random(uint64_t seed) : state(seed) {}

    /// splitmix64 (Steele, Lea, Flood, OOPSLA 2014).
    uint64_t next() {
        uint64_t z = state += 0x9E3779B97F4A7C15;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EB;
        return z ^ (z >> 31);
    }
    /// @return a number from least to most, both included
    size_t between(size_t least, size_t most) {
        return least + static_cast<size_t>(next() % (most - least + 1));
    }
    /// @return true in so many of 100 cases
    bool chance(size_t percent) { return between(0, 99) < percent; }

    template <class Container>
    const auto& pick(const Container& from) {
        return from[between(0, from.size() - 1)];
    }
    std::string text(std::string_view alphabet, size_t length) {
        std::string out(length, '\0');
        for (char& c : out) c = pick(alphabet);
        return out;
    }

  private:
    uint64_t state;
};
