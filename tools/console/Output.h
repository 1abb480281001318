// Output: the program's results on standard output. A result that cannot be written is an error
// of the run (a full disk, a reader that has gone), never a silent loss.
#pragma once

#include <string_view>
#include <system_error>

namespace zvk {

/// Standard output cannot be written; its code() tells why.
class OutputError : public std::system_error {
  public:
    explicit OutputError(int number);
};

/// Makes sure that the descriptors 0 to 2 are open, so that no file that is opened later takes
/// one of their numbers and is read or overwritten as a standard stream. A closed one still
/// fails when it is used.
void reserveStandardDescriptors();

/// Writes text to standard output through its stdio buffer.
/// @throws OutputError
void writeOutput(std::string_view text);

/// Hands on what the buffer of standard output holds.
/// @throws OutputError
void flushOutput();

}  // namespace zvk
