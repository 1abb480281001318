// StdoutSilencer: keeps the engine's own texts out of the results.
//
// For every pattern line that it refuses, the engine writes the reason to standard output. While a
// StdoutSilencer exists, descriptor 1 is /dev/null. Results written before and after are not lost.
// It changes the whole process: no other thread may write results meanwhile.
#pragma once

namespace zvk {

class StdoutSilencer {
  public:
    /// @throws OutputError if pending results cannot be written; std::system_error if the
    ///         descriptors cannot be exchanged
    StdoutSilencer();
    ~StdoutSilencer();
    StdoutSilencer(const StdoutSilencer&) = delete;
    StdoutSilencer& operator=(const StdoutSilencer&) = delete;

  private:
    int saved;  // owned copy of the real descriptor 1
};

}  // namespace zvk
