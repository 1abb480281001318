// StdoutSilencer: keeps the engine's own texts out of the results.
//
// The engine writes the reason of every pattern line that it refuses to standard output. While a
// StdoutSilencer lives, descriptor 1 leads to /dev/null; the results written before and after it
// are not touched. It works on the whole process: no other thread may write results meanwhile.
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
