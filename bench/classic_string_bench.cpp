// The classic string functions over 1 MiB of text beside the C and C++
// libraries doing the same work: InStrB against memmem, case-insensitive
// InStr, Len (characters) on a record not yet counted and on one already
// counted, and ReplaceAll and Split against std::string. Each benchmark
// checks its result once before timing and stops with an error when the
// result is wrong.
#include <cstring>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "text/string_create.h"
#include "text/string_record.h"
#include "vela/arrays.h"
#include "vela/classic_strings.h"
#include "vela/object.h"
#include "vela/string.h"

namespace {

constexpr size_t kTextSize = size_t(1) << 20;

// 1 MiB of UTF-8: ASCII words, two-, three- and four-byte characters and
// commas, cut at a character boundary. None of the needles below occurs in
// it.
const std::string& MixedText() {
  static const std::string text = [] {
    static const char* const kWords[] = {
        "the ",      "quick ",     "brown ",          "fox, ",     "jumps ",
        "over ",     "déjà ",      "vu ",             "straße, ",  "Жук ",
        "日本語 ",   "naïve ",     "café, ",          "😀 ",       "ÉLAN ",
        "lazy ",     "dog, ",      "Ωmega ",          "ünïcode ",  "text, "};
    std::string t;
    t.reserve(kTextSize + 64);
    unsigned state = 12345;
    while (t.size() < kTextSize) {
      state = state * 1103515245u + 12345u;
      t += kWords[(state >> 16) % (sizeof kWords / sizeof kWords[0])];
    }
    size_t cut = kTextSize;
    while (cut > 0 && (static_cast<unsigned char>(t[cut]) & 0xC0) == 0x80) --cut;
    t.resize(cut);
    return t;
  }();
  return text;
}

// The mixed text with `needle` written over it `back` bytes before the end
// (moved back to a character boundary).
std::string WithNeedleNearEnd(const std::string& needle, size_t back) {
  std::string t = MixedText();
  size_t at = t.size() - back;
  while (at > 0 && (static_cast<unsigned char>(t[at]) & 0xC0) == 0x80) --at;
  std::string out = t.substr(0, at) + needle;
  size_t rest = at + needle.size();
  while (rest < t.size() && (static_cast<unsigned char>(t[rest]) & 0xC0) == 0x80) ++rest;
  out += t.substr(rest);
  return out;
}

int64_t CountUtf8Chars(const char* p, size_t n) {
  int64_t count = 0;
  for (size_t i = 0; i < n; ++i) count += (static_cast<unsigned char>(p[i]) & 0xC0) != 0x80;
  return count;
}

std::string Bytes(TESSstring s) {
  return std::string(reinterpret_cast<const char*>(vela::StringBytes(s)), size_t(s->mLength));
}

TESSstring Make(const std::string& bytes) {
  return vela::NewString(bytes.data(), int32_t(bytes.size()), kEncodingUTF8);
}

const char kNeedle16[] = "Zq#7Kx!9Wm@4Vb$2";  // 16 bytes

void BM_ClassicInStrB(benchmark::State& state) {
  const std::string needle(kNeedle16);
  const std::string text = WithNeedleNearEnd(needle, 200);
  const int32_t expected = int32_t(text.find(needle)) + 1;
  TESSstring s = Make(text);
  TESSstring f = Make(needle);
  if (StringInStrB(1, s, f) != expected) state.SkipWithError("InStrB gave the wrong position");
  for (auto _ : state) {
    benchmark::DoNotOptimize(s);
    int32_t at = StringInStrB(1, s, f);
    benchmark::DoNotOptimize(at);
  }
  RuntimeUnlockString(s);
  RuntimeUnlockString(f);
  state.SetBytesProcessed(int64_t(state.iterations()) * expected);
}
BENCHMARK(BM_ClassicInStrB);

void BM_ClassicMemmem(benchmark::State& state) {
  const std::string needle(kNeedle16);
  const std::string text = WithNeedleNearEnd(needle, 200);
  const size_t expected = text.find(needle);
  const void* hit0 = memmem(text.data(), text.size(), needle.data(), needle.size());
  if (!hit0 || static_cast<const char*>(hit0) - text.data() != ptrdiff_t(expected))
    state.SkipWithError("memmem gave the wrong position");
  for (auto _ : state) {
    const char* p = text.data();
    benchmark::DoNotOptimize(p);
    const void* hit = memmem(p, text.size(), needle.data(), needle.size());
    benchmark::DoNotOptimize(hit);
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(expected + 1));
}
BENCHMARK(BM_ClassicMemmem);

// Case-insensitive: the text holds the needle in one case, the search asks
// for it in another.
void BM_ClassicInStrNoCase(benchmark::State& state) {
  const std::string planted = "NeedleÉtéSTRASSEΩ";
  const std::string asked = "nEEDLEétéstrasseω";
  const std::string text = WithNeedleNearEnd(planted, 200);
  const size_t byteAt = text.find(planted);
  const int32_t expected = int32_t(CountUtf8Chars(text.data(), byteAt)) + 1;
  TESSstring s = Make(text);
  TESSstring f = Make(asked);
  if (StringInStr(1, s, f) != expected) state.SkipWithError("InStr gave the wrong position");
  for (auto _ : state) {
    benchmark::DoNotOptimize(s);
    int32_t at = StringInStr(1, s, f);
    benchmark::DoNotOptimize(at);
  }
  RuntimeUnlockString(s);
  RuntimeUnlockString(f);
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(byteAt));
}
BENCHMARK(BM_ClassicInStrNoCase);

// Len in characters (StringDBCSLen) on a record whose count is not cached:
// the cache field is cleared before each call, so every call counts.
void BM_ClassicLenFirstCall(benchmark::State& state) {
  const std::string& text = MixedText();
  const int32_t expected = int32_t(CountUtf8Chars(text.data(), text.size()));
  TESSstring s = Make(text);
  if (s->mCharCount != 0 || StringDBCSLen(s) != expected)
    state.SkipWithError("Len gave the wrong count");
  for (auto _ : state) {
    s->mCharCount = 0;
    benchmark::DoNotOptimize(s);
    int32_t n = StringDBCSLen(s);
    benchmark::DoNotOptimize(n);
  }
  RuntimeUnlockString(s);
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()));
}
BENCHMARK(BM_ClassicLenFirstCall);

// The second call on the same record: the cached count. Bytes are reported
// as the record's size, to show the call does not read them.
void BM_ClassicLenCached(benchmark::State& state) {
  const std::string& text = MixedText();
  const int32_t expected = int32_t(CountUtf8Chars(text.data(), text.size()));
  TESSstring s = Make(text);
  if (StringDBCSLen(s) != expected || s->mCharCount != expected)
    state.SkipWithError("Len did not cache the count");
  for (auto _ : state) {
    benchmark::DoNotOptimize(s);
    int32_t n = StringDBCSLen(s);
    benchmark::DoNotOptimize(n);
  }
  RuntimeUnlockString(s);
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()));
}
BENCHMARK(BM_ClassicLenCached);

// LenB (StringLen), the byte length, for completeness.
void BM_ClassicLenBytes(benchmark::State& state) {
  const std::string& text = MixedText();
  TESSstring s = Make(text);
  if (StringLen(s) != int32_t(text.size())) state.SkipWithError("StringLen gave the wrong size");
  for (auto _ : state) {
    benchmark::DoNotOptimize(s);
    int32_t n = StringLen(s);
    benchmark::DoNotOptimize(n);
  }
  RuntimeUnlockString(s);
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()));
}
BENCHMARK(BM_ClassicLenBytes);

std::string StdReplaceAll(const std::string& s, const std::string& find, const std::string& with) {
  std::string out;
  out.reserve(s.size());
  size_t from = 0;
  for (size_t hit = s.find(find); hit != std::string::npos; hit = s.find(find, from)) {
    out.append(s, from, hit - from);
    out += with;
    from = hit + find.size();
  }
  out.append(s, from, std::string::npos);
  return out;
}

// "dog" occurs only in lower case, so the case-insensitive ReplaceAll, the
// byte form and the exact std::string loop all give the same text.
template <TESSstring (*ReplaceAll)(TESSstring, TESSstring, TESSstring)>
void BM_ClassicReplaceAllWith(benchmark::State& state) {
  const std::string& text = MixedText();
  TESSstring s = Make(text);
  TESSstring f = Make("dog");
  TESSstring w = Make("wolf");
  TESSstring check = ReplaceAll(s, f, w);
  if (!check || Bytes(check) != StdReplaceAll(text, "dog", "wolf"))
    state.SkipWithError("ReplaceAll gave the wrong text");
  RuntimeUnlockString(check);
  for (auto _ : state) {
    TESSstring r = ReplaceAll(s, f, w);
    benchmark::DoNotOptimize(r);
    RuntimeUnlockString(r);
  }
  RuntimeUnlockString(s);
  RuntimeUnlockString(f);
  RuntimeUnlockString(w);
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()));
}
BENCHMARK_TEMPLATE(BM_ClassicReplaceAllWith, StringReplaceAll)->Name("BM_ClassicReplaceAll");
BENCHMARK_TEMPLATE(BM_ClassicReplaceAllWith, StringReplaceAllB)->Name("BM_ClassicReplaceAllB");

void BM_ClassicStdReplaceAll(benchmark::State& state) {
  const std::string& text = MixedText();
  for (auto _ : state) {
    std::string r = StdReplaceAll(text, "dog", "wolf");
    benchmark::DoNotOptimize(r.data());
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()));
}
BENCHMARK(BM_ClassicStdReplaceAll);

std::vector<std::string> StdSplit(const std::string& s, const std::string& delimiter) {
  std::vector<std::string> pieces;
  size_t from = 0;
  for (size_t hit = s.find(delimiter); hit != std::string::npos; hit = s.find(delimiter, from)) {
    pieces.emplace_back(s, from, hit - from);
    from = hit + delimiter.size();
  }
  pieces.emplace_back(s, from, std::string::npos);
  return pieces;
}

void BM_ClassicSplit(benchmark::State& state) {
  const std::string& text = MixedText();
  TESSstring s = Make(text);
  TESSstring d = Make(",");
  const int32_t expectedBound = int32_t(StdSplit(text, ",").size()) - 1;
  RuntimeArray* check = StringSplit(s, d);
  if (!check || RuntimeUBound(check) != expectedBound)
    state.SkipWithError("Split gave the wrong number of pieces");
  if (check) RuntimeUnlockObject(&check->header);
  for (auto _ : state) {
    RuntimeArray* a = StringSplit(s, d);
    benchmark::DoNotOptimize(a);
    RuntimeUnlockObject(&a->header);
  }
  RuntimeUnlockString(s);
  RuntimeUnlockString(d);
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()));
}
BENCHMARK(BM_ClassicSplit);

void BM_ClassicStdSplit(benchmark::State& state) {
  const std::string& text = MixedText();
  for (auto _ : state) {
    std::vector<std::string> pieces = StdSplit(text, ",");
    benchmark::DoNotOptimize(pieces.data());
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()));
}
BENCHMARK(BM_ClassicStdSplit);

}  // namespace
