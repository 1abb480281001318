// HyperscanDatabase: the signatures of a set as libhyperscan's compiled database.
//
// Each signature is one regular expression of bytes. The parts {"ab", any byte} and {"c" or "d"}
// with a gap of 2 to 9 bytes become "\x61\x62..{2,9}[\x63\x64]". To compile a large set takes
// minutes, so a database is kept in a file that is named by a hash of the expressions.
#pragma once

#include <hs/hs.h>

#include <filesystem>
#include <memory>
#include <vector>

#include "testing/Signature.h"

template <auto kFree>
struct Freer {
    template <class T>
    void operator()(T* owned) const noexcept {
        kFree(owned);
    }
};
using DatabasePtr = std::unique_ptr<hs_database_t, Freer<hs_free_database>>;

/// Compiles the signatures, or reads what an earlier call has left in the cache folder.
/// @throws std::runtime_error if libhyperscan refuses a signature
DatabasePtr makeDatabase(const std::vector<Signature>& signatures,
                         const std::filesystem::path& cache);

/// @throws std::runtime_error if a call of the library has failed
void checkHyperscan(hs_error_t result, const char* what);
