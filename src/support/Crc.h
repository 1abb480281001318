// Crc: checksum accumulators. Iso3309Crc is the CRC-32 of ISO 3309.
#pragma once

#include <cstdint>

namespace STREAMENGINE_SPACE {

class Crc {
  public:
    virtual ~Crc() = default;
    /// @return the checksum of all bytes added so far
    virtual uint32_t add(char byte) = 0;
    virtual void add(const void* data, unsigned int length) = 0;
    virtual uint32_t crc() const = 0;
};

/// Reflected polynomial 0xEDB88320, register preset to all ones and complemented at the end.
class Iso3309Crc : public Crc {
  public:
    void reset() { value = kPreset; }
    uint32_t add(char byte) override;
    void add(const void* data, unsigned int length) override;
    uint32_t crc() const override { return ~value; }

  private:
    static constexpr uint32_t kPreset = 0xFFFFFFFF;
    uint32_t value = kPreset;
};

}  // namespace STREAMENGINE_SPACE
