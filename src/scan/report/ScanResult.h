// ScanResult: the parts that the current detection matched, and the detail text made from them.
//
// Filled only while a detail option is on. The text goes to the log or, in place of the name, to
// the host; its layout is part of the interface:
//
//   Pat_unknow_type<tab>NAME<tab>                 HardCode: no part was recorded
//   <tab>Signature part 1:                        MD5_Pattern: found by the digest
//   <tab><tab>len      :LENGTH
//   <tab><tab>offset   :0xOFFSET                  of the first byte in the normalised stream
//   <tab><tab>sig      :0061 ff38 ...             elements, four hexadecimal digits each
//   <tab><tab>sig      :a?...                     the same as text
//   <tab><tab>asc      :1                         whether all elements are text
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace STREAMENGINE_SPACE {

struct TriePattern;

/// One matched part of a signature.
struct SigInfo {
    static constexpr int32_t kDigestOffset = -1;  // of a detection by digest, which has no offset

    int32_t length = 0;             // elements
    int32_t offset = 0;             // of the first byte, in the normalised stream
    uint32_t partId = 0;            // number of the multi-part signature, 0 for others
    std::vector<int16_t> elements;  // byte values, or the negative wildcard symbols
};

class ScanResult {
  public:
    void reset();

    /// Names the detection and, unless sig is null, records a part of it.
    /// @param name  scrambled
    bool addSigInfo(const std::string& name, std::unique_ptr<SigInfo> sig);

    /// Records a part that was accepted, while a detail option is on and if it is not of a type
    /// signature.
    /// @param pos  stream offset at which it matches
    /// @throws QLT_SPACE::Exception if memory runs out
    void addPart(const TriePattern& pattern, uint32_t pos);

    /// Builds the detail text and drops the parts that do not belong to it.
    /// @param sigId  the multi-part signature whose parts are listed; 0 for the last part alone
    /// @return the text, valid until the result changes
    const char* getInfo(uint32_t sigId);

    /// Appends the dump of every recorded part.
    void appendSigInfo(std::string& text) const;

    bool hasName() const { return !sigName.empty(); }

  private:
    void keepOnlyLast();

    std::string sigName;  // scrambled
    std::vector<std::unique_ptr<SigInfo>> sigInfos;
    std::string infoText;
};

}  // namespace STREAMENGINE_SPACE
