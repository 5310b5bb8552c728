// Two strings of arbitrary bytes and encodings through comparison,
// concatenation, copy-out and the raw-text bridges.
//
// Input: byte 0 picks the first string's encoding, byte 1 the second's,
// byte 2 where the rest is split between them. Besides crashes and sanitizer
// reports, a run fails when an order is not antisymmetric, when a string
// does not equal itself, when a result breaks its size promise, or when a
// string record outlives the run.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "text/string_compare.h"
#include "text/string_copy.h"
#include "text/string_create.h"
#include "vela/string.h"

namespace {

constexpr uint32_t kEncodings[] = {
    kEncodingUTF8,    kEncodingUTF16,   kEncodingUTF16BE,   kEncodingUTF16LE,
    kEncodingUTF32,   kEncodingUTF32BE, kEncodingUTF32LE,   kEncodingASCII,
    kEncodingMacRoman, kEncodingWindowsLatin1, kEncodingUnknown,
};
constexpr size_t kEncodingCount = sizeof kEncodings / sizeof kEncodings[0];

void Check(bool holds) {
  if (!holds) std::abort();
}

void CheckCopyOut(TESSstring s, uint32_t encoding, int32_t size) {
  unsigned char buffer[64];
  std::memset(buffer, 0xAA, sizeof buffer);
  const int32_t measured = vela::CopyStringOut(s, nullptr, 0, encoding);
  const int32_t written = vela::CopyStringOut(s, buffer, size, encoding);
  Check(written >= 0 && written <= size);
  Check(written == (measured < size ? measured : size));
  for (int32_t i = written; i < size; ++i) Check(buffer[i] == 0);
  for (int32_t i = size; i < int32_t(sizeof buffer); ++i) Check(buffer[i] == 0xAA);
}

void Exercise(TESSstring a, TESSstring b, const uint8_t* control) {
  for (bool fold : {false, true}) {
    const int32_t ab = vela::CompareStringText(a, b, fold);
    Check(ab >= -1 && ab <= 1);
    Check(ab == -vela::CompareStringText(b, a, fold));
    Check(vela::CompareStringText(a, a, fold) == 0);
  }
  Check(RuntimeStringCompare(a, b) == -RuntimeStringCompare(b, a));
  Check(StringStrCompare(a, b, 0) == -StringStrCompare(b, a, 0));
  Check(StringStrCompare(a, b, 1) == -StringStrCompare(b, a, 1));

  TESSstring sum = RuntimeAddString(a, b);
  if (a && b && a->mEncoding == b->mEncoding) Check(sum && sum->mLength == a->mLength + b->mLength);
  if (a || b) Check(sum != nullptr);
  if (sum) Check(sum->mBuffer[0] == (sum->mLength > 255 ? 255 : sum->mLength));
  RuntimeUnlockString(sum);

  CheckCopyOut(a, kEncodings[control[0] % kEncodingCount], control[1] % 64);
  CheckCopyOut(b, kEncodingUnknown, control[2] % 64);

  (void)StringToOSType(a);
  (void)StringToOSType(b);
  char* c = StringToCString(a);
  Check(std::memcmp(c, vela::StringText(a) ? vela::StringText(a) : "", size_t(vela::StringLength(a))) == 0);
  RuntimeUnlockCString(c);
  unsigned char* p = StringToPString(b);
  Check(p[0] == (vela::StringLength(b) > 255 ? 255 : vela::StringLength(b)));
  RuntimeUnlockPString(p);
  uint16_t* w = StringToWString(a);
  UnlockWString(w);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 3) return 0;
  vela::SetStringTracking(true);
  const int64_t live = vela::LiveStringCount();

  const uint32_t encodingA = kEncodings[data[0] % kEncodingCount];
  const uint32_t encodingB = kEncodings[data[1] % kEncodingCount];
  const uint8_t* text = data + 3;
  const size_t length = size - 3;
  const size_t split = length * data[2] / 255;
  TESSstring a = vela::NewString(text, int32_t(split), encodingA);
  TESSstring b = vela::NewString(text + split, int32_t(length - split), encodingB);

  Exercise(a, b, data);
  RuntimeUnlockString(a);
  RuntimeUnlockString(b);

  Check(vela::LiveStringCount() == live);
  return 0;
}
