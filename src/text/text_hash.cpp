// The hash of a Text for dictionary keys and Auto values: MurmurHash3
// (x86, 32-bit) over the UTF-16 bytes of the upper-cased NFC form, so texts
// that differ only in case or normal form hash alike. The seed is drawn once
// per process, so hashes are not stable between processes.
#include <cstring>
#include <random>
#include <string>

#include <unicode/unorm2.h>
#include <unicode/ustring.h>

#include "text/text_ops.h"

namespace vela {
namespace {

inline uint32_t Rotl(uint32_t x, int r) { return (x << r) | (x >> (32 - r)); }

uint32_t Murmur3(const unsigned char* data, size_t length, uint32_t seed) {
  constexpr uint32_t c1 = 0xcc9e2d51, c2 = 0x1b873593;
  uint32_t h = seed;
  const size_t blocks = length / 4;
  for (size_t i = 0; i < blocks; ++i) {
    uint32_t k;
    std::memcpy(&k, data + i * 4, 4);
    k = Rotl(k * c1, 15) * c2;
    h = Rotl(h ^ k, 13) * 5 + 0xe6546b64;
  }
  const unsigned char* tail = data + blocks * 4;
  uint32_t k = 0;
  switch (length & 3) {
    case 3: k ^= uint32_t(tail[2]) << 16; [[fallthrough]];
    case 2: k ^= uint32_t(tail[1]) << 8; [[fallthrough]];
    case 1:
      k ^= tail[0];
      h ^= Rotl(k * c1, 15) * c2;
  }
  h ^= uint32_t(length);
  h ^= h >> 16;
  h *= 0x85ebca6b;
  h ^= h >> 13;
  h *= 0xc2b2ae35;
  h ^= h >> 16;
  return h;
}

uint32_t ProcessSeed() {
  static const uint32_t seed = [] {
    std::random_device device;
    return uint32_t(device());
  }();
  return seed;
}

// One of ICU's string transforms into `out`, sized by a first attempt.
template <class Transform>
bool Apply(const std::u16string& in, std::u16string& out, Transform transform) {
  out.resize(in.size() + 1);
  UErrorCode status = U_ZERO_ERROR;
  int32_t size = transform(reinterpret_cast<const UChar*>(in.data()), int32_t(in.size()),
                           reinterpret_cast<UChar*>(out.data()), int32_t(out.size()), &status);
  if (status == U_BUFFER_OVERFLOW_ERROR) {
    out.resize(size_t(size) + 1);
    status = U_ZERO_ERROR;
    size = transform(reinterpret_cast<const UChar*>(in.data()), int32_t(in.size()),
                     reinterpret_cast<UChar*>(out.data()), int32_t(out.size()), &status);
  }
  if (U_FAILURE(status)) return false;
  out.resize(size_t(size));
  return true;
}

}  // namespace

uint32_t TextObjectHash(TextValue text) {
  if (!text || !text->mChars) return 0;
  std::u16string units(TextView(text)), upper, normal;
  const bool uppered = Apply(units, upper, [](const UChar* s, int32_t n, UChar* d, int32_t c,
                                              UErrorCode* e) {
    return u_strToUpper(d, c, s, n, nullptr, e);
  });
  if (uppered) units.swap(upper);
  UErrorCode status = U_ZERO_ERROR;
  const UNormalizer2* nfc = unorm2_getNFCInstance(&status);
  if (U_SUCCESS(status) &&
      unorm2_quickCheck(nfc, reinterpret_cast<const UChar*>(units.data()), int32_t(units.size()),
                        &status) != UNORM_YES &&
      U_SUCCESS(status)) {
    const bool normalised = Apply(units, normal, [nfc](const UChar* s, int32_t n, UChar* d,
                                                       int32_t c, UErrorCode* e) {
      return unorm2_normalize(nfc, s, n, d, c, e);
    });
    if (normalised) units.swap(normal);
  }
  return Murmur3(reinterpret_cast<const unsigned char*>(units.data()), units.size() * 2,
                 ProcessSeed());
}

}  // namespace vela
