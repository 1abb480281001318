// KeywordList: reads the keyword lists that a user names.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace zvk {

/// The lists cannot be used; what() names the file and the reason.
class KeywordListError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Reads lists with one keyword on each line. Blank lines and lines that begin with "#" are
/// skipped. A carriage return at the end of a line is dropped; blanks around a keyword are part of
/// it. Keywords that the engine does not accept are reported on standard error with file and line.
/// Of keywords that differ only in the case of A to Z, the first is kept.
/// @return the keywords in the order of the files, at least one
/// @throws KeywordListError
std::vector<std::string> readKeywordLists(const std::vector<std::string>& paths);

}  // namespace zvk
