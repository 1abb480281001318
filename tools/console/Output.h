// Output: the program's results on standard output. A result that cannot be written (a full disk, a
// closed pipe) is an error of the run, never a silent loss.
#pragma once

#include <string_view>
#include <system_error>

namespace zvk {

/// Standard output cannot be written; its code() is the reason.
class OutputError : public std::system_error {
  public:
    explicit OutputError(int number);
};

/// Makes sure that the descriptors 0 to 2 are open. Otherwise a file that is opened later could get
/// one of these numbers, and would be read or overwritten as a standard stream. A stream that was
/// closed still fails when it is used.
void reserveStandardDescriptors();

/// Writes text to standard output through its stdio buffer.
/// @throws OutputError
void writeOutput(std::string_view text);

/// Writes out the buffer of standard output.
/// @throws OutputError
void flushOutput();

}  // namespace zvk
