// Report: one JSON file, to which each measurement adds its section.
#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>

/// Puts a section into a file, in place of one of this name that is there already.
/// @param file     empty: does nothing
/// @param section  its name; "a/b" is the section b within a
void putSection(const std::filesystem::path& file, const std::string& section,
                const nlohmann::ordered_json& value);

/// @return value, rounded to three decimals: what is measured has no more
double rounded(double value);
