// Report: one JSON file, to which each measurement adds its section.
#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>

/// Puts a section into a file. It replaces a section of the same name.
/// @param file     where to; empty: does nothing
/// @param section  its name; "a/b" is the section b inside the section a
void putSection(const std::filesystem::path& file, const std::string& section,
                const nlohmann::ordered_json& value);

/// @return the value with three decimals; no measurement here is more exact
double rounded(double value);
