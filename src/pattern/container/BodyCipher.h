// The cipher of container bodies: DES (FIPS 46-3) in ECB mode, block by block, once or three times.
//
// The triple form enciphers three times; the common form, which deciphers in the middle, is another
// cipher. It hides names from a casual look; its key is in the file.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "pattern/container/ContainerLayout.h"
#include "support/Exception.h"

struct DES_ks;  // the DES library's key schedule

namespace STREAMENGINE_SPACE {

using DesBlock = std::array<uint8_t, 8>;

/// A key schedule. The key's bytes are used as they are: neither their parity nor their strength is
/// tested.
class DesKey {
  public:
    explicit DesKey(const DesBlock& key);
    ~DesKey();
    DesKey(DesKey&&) noexcept;
    DesKey& operator=(DesKey&&) noexcept;
    DesKey(const DesKey&) = delete;
    DesKey& operator=(const DesKey&) = delete;

    DES_ks& schedule() const { return *keySchedule; }

  private:
    std::unique_ptr<DES_ks> keySchedule;
};

/// Each turns the 8 bytes at in into the 8 bytes at out, which may be the same place: DES and DES3
/// encipher, those with an underscore decipher. DES3 enciphers with k1, then k2, then k3.
void DES(const DesKey& key, const uint8_t* in, uint8_t* out);
void _DES(const DesKey& key, const uint8_t* in, uint8_t* out);
void DES3(const DesKey& k1, const DesKey& k2, const DesKey& k3, const uint8_t* in, uint8_t* out);
void _DES3(const DesKey& k1, const DesKey& k2, const DesKey& k3, const uint8_t* in, uint8_t* out);

/// Each turns length bytes at in into as many at out, which may be the same place: enciphers for a
/// mode of 0, else deciphers. Bytes behind the last whole block are left as they are at out.
void crypt(const DesKey& key, int mode, const uint8_t* in, uint8_t* out, size_t length);
void crypt(const DesKey& k1, const DesKey& k2, const DesKey& k3, int mode, const uint8_t* in,
           uint8_t* out, size_t length);

/// Derives the key of a body, or the three keys of the triple form, from its header.
void getKey(const ContainerHeader& header, DesBlock& k1);
void getKey(const ContainerHeader& header, DesBlock& k1, DesBlock& k2, DesBlock& k3);

/// A header names a cipher that does not exist.
class UnknownCipher : public QLT_SPACE::Exception {
  public:
    using Exception::Exception;
};

/// The cipher that a header names, its key schedules made once.
class BodyCipher {
  public:
    /// @throws UnknownCipher if the header's cipherMethod is none of CipherMethod
    explicit BodyCipher(const ContainerHeader& header);

    /// @return what a body's stored length is a multiple of: 8, or 1 if it is not enciphered
    size_t blockLength() const;

    /// Like crypt() in place; without a cipher nothing is changed.
    void encipher(uint8_t* data, size_t length) const { apply(0, data, length); }
    void decipher(uint8_t* data, size_t length) const { apply(1, data, length); }

  private:
    void apply(int mode, uint8_t* data, size_t length) const;

    std::vector<DesKey> keys;  // none, one or three
};

}  // namespace STREAMENGINE_SPACE
