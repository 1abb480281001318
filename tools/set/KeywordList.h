// KeywordList: the keywords of the files that a user names.
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

/// Reads lists of one keyword a line. Blank lines and lines that begin with "#" are skipped, and of
/// each line a carriage return at its end; blanks around a keyword are part of it. Keywords that
/// the engine does not take are told on standard error with their file and line. Of keywords that
/// differ in nothing but the case of A to Z the first is kept.
/// @return the keywords in the order of the files, one at least
/// @throws KeywordListError
std::vector<std::string> readKeywordLists(const std::vector<std::string>& paths);

}  // namespace zvk
