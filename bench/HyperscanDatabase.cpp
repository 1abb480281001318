#ifdef ZVK_HAVE_HYPERSCAN

#include "HyperscanDatabase.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace {

namespace fs = std::filesystem;

std::string escaped(char byte) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    const auto value = static_cast<unsigned char>(byte);
    return {'\\', 'x', kDigits[value >> 4], kDigits[value & 15]};
}

std::string expressionOf(const Gap& gap) {
    if (gap.form == Gap::Form::Any) return ".*";
    const std::string least = std::to_string(gap.least);
    if (gap.form == Gap::Form::Exactly) return ".{" + least + "}";
    const bool isBounded = gap.form != Gap::Form::AtLeast;
    return ".{" + least + "," + (isBounded ? std::to_string(gap.most) : "") + "}";
}

std::string expressionOf(const Signature& signature) {
    std::string out;
    for (const SignaturePart& part : signature.parts) {
        if (&part != signature.parts.data()) out += expressionOf(part.gap);
        for (const Element& element : part.elements) {
            if (element.size() != 1) out += element.empty() ? "." : "[";
            for (const char byte : element) out += escaped(byte);
            if (element.size() > 1) out += "]";
        }
    }
    return out;
}

/// FNV-1a (Fowler, Noll, Vo), with a separator after each text.
uint64_t fnv1a(const std::vector<std::string>& texts) {
    uint64_t hash = 0xCBF29CE484222325;
    for (const std::string& text : texts) {
        for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3;
        hash *= 0x100000001B3;
    }
    return hash;
}

DatabasePtr compile(const std::vector<std::string>& expressions) {
    std::vector<const char*> texts;
    std::vector<unsigned int> flags, ids;
    texts.reserve(expressions.size());
    flags.reserve(expressions.size());
    ids.reserve(expressions.size());
    for (const std::string& expression : expressions) {
        ids.push_back(static_cast<unsigned int>(texts.size()));
        texts.push_back(expression.c_str());
        flags.push_back(HS_FLAG_DOTALL | HS_FLAG_SINGLEMATCH);
    }
    hs_database_t* database = nullptr;
    hs_compile_error_t* error = nullptr;
    const hs_error_t result = hs_compile_multi(texts.data(), flags.data(), ids.data(),
                                               static_cast<unsigned int>(texts.size()),
                                               HS_MODE_STREAM, nullptr, &database, &error);
    if (result == HS_SUCCESS) return DatabasePtr(database);
    const std::string message =
        error->expression < 0
            ? error->message
            : error->message + (" in " + expressions.at(static_cast<size_t>(error->expression)));
    hs_free_compile_error(error);
    throw std::runtime_error("libhyperscan: " + message);
}

/// @return null if there is no such file, or it was made by another version or for another machine
DatabasePtr readDatabase(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(in), {}};
    hs_database_t* database = nullptr;
    if (bytes.empty()) return nullptr;
    if (hs_deserialize_database(bytes.data(), bytes.size(), &database) != HS_SUCCESS) {
        return nullptr;
    }
    return DatabasePtr(database);
}

void writeDatabase(const fs::path& file, const hs_database_t* database) {
    char* bytes = nullptr;
    size_t length = 0;
    checkHyperscan(hs_serialize_database(database, &bytes, &length), "cannot serialize");
    std::ofstream(file, std::ios::binary).write(bytes, static_cast<std::streamsize>(length));
    std::free(bytes);  // NOLINT(cppcoreguidelines-no-malloc): allocated by the library
}

}  // namespace

void checkHyperscan(hs_error_t result, const char* what) {
    if (result != HS_SUCCESS) throw std::runtime_error(std::string("libhyperscan: ") + what);
}

DatabasePtr makeDatabase(const std::vector<Signature>& signatures, const fs::path& cache) {
    std::vector<std::string> expressions;
    expressions.reserve(signatures.size());
    for (const Signature& signature : signatures) expressions.push_back(expressionOf(signature));
    fs::create_directories(cache);
    const fs::path file = cache / ("hyperscan-" + std::to_string(fnv1a(expressions)));
    DatabasePtr database = readDatabase(file);
    if (database != nullptr) return database;
    database = compile(expressions);
    writeDatabase(file, database.get());
    return database;
}

#endif
