// A raise from a library function to a frame-table landing pad two frames
// up, with few and with many frame tables registered: the lookup of the
// return address among the tables must not grow with their number.
//
//   build/<dir>/bench/vela_bench --benchmark_filter=Exception
#include <benchmark/benchmark.h>
#include <sys/mman.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "object/loader.h"
#include "vela/application.h"
#include "vela/exceptions.h"

namespace {

// Compiled code: intptr_t Protected(fn, arg) calls fn(arg) and returns 0;
// its landing pad returns TakeCurrentException().
constexpr uint8_t kProtectedCode[] = {
    0x55,                    //  0 push rbp
    0x48, 0x89, 0xE5,        //  1 mov rbp, rsp
    0x48, 0x89, 0xF8,        //  4 mov rax, rdi
    0x48, 0x89, 0xF7,        //  7 mov rdi, rsi
    0xFF, 0xD0,              //  a call rax
    0x31, 0xC0,              //  c xor eax, eax
    0x5D, 0xC3,              //  e pop rbp; ret
    0x48, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0,  // 10 movabs rax, TakeCurrentException
    0xFF, 0xD0,              // 1a call rax
    0x5D, 0xC3,              // 1c pop rbp; ret
};
constexpr uint8_t kCallStart = 0x0A, kCallLength = 2, kLandingPad = 0x10;

class Tables {
 public:
  void Byte(uint8_t b) { mBytes.push_back(b); }
  void Word(uint32_t w) { Put(&w, 4); }
  void Pointer(uintptr_t p) { Put(&p, 8); }
  size_t Size() const { return mBytes.size(); }
  uint8_t* At(size_t offset) { return mBytes.data() + offset; }
  void Reserve(size_t bytes) { mBytes.reserve(bytes); }
  void PatchWord(size_t at, uint32_t w) { std::memcpy(At(at), &w, 4); }

 private:
  void Put(const void* p, size_t n) {
    auto* b = static_cast<const uint8_t*>(p);
    mBytes.insert(mBytes.end(), b, b + n);
  }
  std::vector<uint8_t> mBytes;
};

// One CIE ("zLR", absolute pointers), one LSDA, and `count` FDEs: the
// protected function's comes last, the others cover code that never runs.
struct FrameTables {
  Tables bytes;
  std::vector<size_t> fdes;

  FrameTables(uintptr_t function, size_t count) {
    bytes.Reserve(64 + 40 * count);  // addresses must not move once written
    size_t lsda = bytes.Size();
    const uint8_t callSites[] = {0xFF, 0xFF, 0x01, 4, kCallStart, kCallLength, kLandingPad, 0};
    for (uint8_t b : callSites) bytes.Byte(b);
    size_t cie = bytes.Size();
    bytes.Word(16);
    bytes.Word(0);
    const uint8_t cieBody[] = {1, 'z', 'L', 'R', 0, 1, 0x78, 16, 2, 0x00, 0x00, 0};
    for (uint8_t b : cieBody) bytes.Byte(b);
    for (size_t i = 0; i < count; ++i) {
      uintptr_t start = i + 1 == count ? function : 0x10000000 + i * 0x100;
      size_t fde = bytes.Size();
      bytes.Word(32);
      bytes.Word(uint32_t(bytes.Size() - cie));
      bytes.Pointer(start);
      bytes.Pointer(sizeof kProtectedCode);
      bytes.Byte(8);
      bytes.Pointer(reinterpret_cast<uintptr_t>(bytes.At(lsda)));
      bytes.Byte(0);
      bytes.Byte(0);
      bytes.Byte(0);
      fdes.push_back(fde);
    }
  }
};

using Protected = intptr_t (*)(intptr_t (*)(void*), void*);

// The library function that raises, and the frame between it and the pad.
__attribute__((noinline)) intptr_t Raiser(void*) {
  RaiseOutOfBoundsException();
  return 0;  // the dummy result
}
__attribute__((noinline)) intptr_t Between(void* arg) {
  intptr_t result = Raiser(arg);
  asm volatile("" ::: "memory");
  return result;
}

void BindExceptionClasses() {
  static bool bound = [] {
    RuntimeClass* root = RuntimeNewClass(nullptr, 0, 0, 0, 0, 0, 0);
    root->name = "RuntimeException";
    root->instanceSize = sizeof(RuntimeObject);
    RuntimeClass* bounds = RuntimeNewClass(root, 0, 0, 0, 0, 0, 0);
    bounds->name = "OutOfBoundsException";
    bounds->instanceSize = sizeof(RuntimeObject);
    RuntimeInitExternalClasses();
    return true;
  }();
  (void)bound;
}

void Exception_RaiseToLandingPadTwoFramesUp(benchmark::State& state) {
  BindExceptionClasses();
  void* page = mmap(nullptr, 4096, PROT_READ | PROT_WRITE | PROT_EXEC,
                    MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  auto* code = static_cast<uint8_t*>(page);
  std::memcpy(code, kProtectedCode, sizeof kProtectedCode);
  auto take = reinterpret_cast<uintptr_t>(&TakeCurrentException);
  std::memcpy(code + kLandingPad + 2, &take, sizeof take);
  vela::Loader::Instance().AdoptImageForTesting(code, sizeof kProtectedCode, nullptr, 0);

  FrameTables tables(reinterpret_cast<uintptr_t>(code), size_t(state.range(0)));
  for (size_t fde : tables.fdes) RegisterFDE(tables.bytes.At(fde));
  auto protect = reinterpret_cast<Protected>(code);
  for (auto _ : state) {
    auto* exception = reinterpret_cast<RuntimeObject*>(protect(Between, nullptr));
    if (!exception) {
      state.SkipWithError("the landing pad was not reached");
      break;
    }
    RuntimeUnlockObject(exception);
  }
  for (size_t fde : tables.fdes) UnregisterFDE(tables.bytes.At(fde));
  vela::Loader::Instance().AdoptImageForTesting(nullptr, 0, nullptr, 0);
  munmap(page, 4096);
}
BENCHMARK(Exception_RaiseToLandingPadTwoFramesUp)->Arg(10)->Arg(10000);

}  // namespace
