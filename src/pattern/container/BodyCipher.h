// The cipher of container bodies: DES (FIPS 46-3) in ECB mode, once or three times.
//
// ECB enciphers each block of 8 bytes by itself. The triple form enciphers with k1, then with k2,
// then with k3; the triple DES of other systems deciphers in the middle, so it is another cipher.
//
// The keys are made from fields of the header. Whoever has the file can make them too, so the
// cipher only keeps names and signatures from being read by chance.
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

/// A key schedule. The key's bytes are used as they are: their parity bits are not checked, and
/// weak keys are allowed.
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

/// Each makes the 8 bytes at out from the 8 bytes at in, which may be the same bytes. DES and DES3
/// encipher, _DES and _DES3 decipher.
void DES(const DesKey& key, const uint8_t* in, uint8_t* out);
void _DES(const DesKey& key, const uint8_t* in, uint8_t* out);
void DES3(const DesKey& k1, const DesKey& k2, const DesKey& k3, const uint8_t* in, uint8_t* out);
void _DES3(const DesKey& k1, const DesKey& k2, const DesKey& k3, const uint8_t* in, uint8_t* out);

/// Each makes length bytes at out from as many at in, which may be the same bytes: it enciphers if
/// mode is 0 and deciphers otherwise. An incomplete block at the end of out is left as it is.
void crypt(const DesKey& key, int mode, const uint8_t* in, uint8_t* out, size_t length);
void crypt(const DesKey& k1, const DesKey& k2, const DesKey& k3, int mode, const uint8_t* in,
           uint8_t* out, size_t length);

/// Makes the key of a body, or the three keys of the triple form, from the body's header.
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

    /// @return bytes of which a stored body is a multiple: 8, or 1 if it is not enciphered
    size_t blockLength() const;

    /// Like crypt() in place; without a cipher nothing is changed.
    void encipher(uint8_t* data, size_t length) const { apply(0, data, length); }
    void decipher(uint8_t* data, size_t length) const { apply(1, data, length); }

  private:
    void apply(int mode, uint8_t* data, size_t length) const;

    std::vector<DesKey> keys;  // none, one or three
};

}  // namespace STREAMENGINE_SPACE
