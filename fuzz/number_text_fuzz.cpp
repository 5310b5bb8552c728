// Arbitrary text through every reader of numbers and through Format as a
// pattern: Val and the numeric check, CDbl and CLong, the strict, lenient
// and digit readers, Double and Currency text.
//
// Input: byte 0 picks the encoding of the text, bytes 1 to 8 are a Double
// for Format, the rest is the text. Besides crashes and sanitizer reports,
// a run fails when a Currency value that was read does not read back the
// same from its own text, when the strict reader accepts text that is not
// an optional "-" and digits, or when a string record outlives the run.
#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "object/raise.h"
#include "text/string_create.h"
#include "text/string_holder.h"
#include "text/string_numbers.h"
#include "text/string_record.h"
#include "vela/classic_strings.h"
#include "vela/number_text.h"

namespace {

constexpr uint32_t kEncodings[] = {kEncodingUTF8, kEncodingASCII, kEncodingUTF16,
                                   kEncodingWindowsLatin1, kEncodingUnknown};

int gRaises = 0;
void CountRaise(const char*, int32_t, const char*) { ++gRaises; }

void Check(bool holds) {
  if (!holds) std::abort();
}

// True when `call` raised.
template <typename Call>
bool Raised(Call call) {
  const int before = gRaises;
  call();
  return gRaises != before;
}

bool IsOptionalMinusAndDigits(TESSstring s) {
  const std::string text(vela::StringText(s), size_t(vela::StringLength(s)));
  size_t i = !text.empty() && text[0] == '-' ? 1 : 0;
  if (i == text.size()) return false;
  for (; i < text.size(); ++i)
    if (!std::isdigit(static_cast<unsigned char>(text[i]))) return false;
  return true;
}

void Exercise(TESSstring s, double value) {
  (void)StringVal(s);
  (void)runCDbl(s);
  (void)runCLong(s);
  (void)IntegerFromStringParse(s);
  (void)UInt64FromStringParse(s);
  (void)Double_StringParse(s);
  (void)Raised([&] { (void)Double_FromStringNoLocale(s); });
  (void)Raised([&] { (void)Int8FromHexString(s); });
  (void)Raised([&] { (void)UInt64FromBinaryString(s); });
  (void)Raised([&] { (void)IntegerFromOctalString(s); });
  (void)BooleanFromString(s);

  int64_t strict = 0;
  if (!Raised([&] { strict = Int64FromStringNoLocale(s); }) && s && s->mEncoding != kEncodingUTF16)
    Check(IsOptionalMinusAndDigits(s));

  VelaCurrency money = 0;
  if (!Raised([&] { money = Currency_FromStringNoLocale(s); })) {
    vela::StringHolder text = vela::StringHolder::Adopt(Currency_ToStringNoLocale(money));
    VelaCurrency again = 0;
    Check(!Raised([&] { again = Currency_FromStringNoLocale(text.get()); }));
    Check(again == money);
  }

  vela::StringHolder formatted = vela::StringHolder::Adopt(StringFormat(value, s, 0));
  vela::StringHolder localised = vela::StringHolder::Adopt(StringFormat(value, s, 1));
  (void)strict;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 9) return 0;
  static const bool observing = (vela::SetRaiseObserver(CountRaise), true);
  (void)observing;
  const uint32_t encoding = kEncodings[data[0] % (sizeof kEncodings / sizeof kEncodings[0])];
  double value;
  std::memcpy(&value, data + 1, sizeof value);
  const int32_t length = int32_t(size - 9 > 4096 ? 4096 : size - 9);
  const int64_t stringsBefore = vela::LiveStringCount();
  {
    vela::StringHolder s = vela::StringHolder::Adopt(vela::NewString(data + 9, length, encoding));
    Exercise(s.get(), value);
  }
  Check(vela::LiveStringCount() == stringsBefore);
  return 0;
}
