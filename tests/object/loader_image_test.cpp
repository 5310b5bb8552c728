// Loading images from memory and patching them. The loaders here resolve
// imports against tables of the test instead of the library's exports, and
// each frees what it mapped when it goes.
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "exec/image_resources.h"
#include "kit/recording_reporter.h"
#include "object/loader.h"
#include "object/loader_format.h"

namespace vela {
namespace {

using namespace image;
using testkit::RecordingReporter;

int gExportCalls = 0;
extern "C" void CountingExport() { ++gExportCalls; }
extern "C" void OtherExport() {}

class FakeLibrary final : public ImageLibrary {
 public:
  explicit FakeLibrary(std::map<std::string, void*> functions) : mFunctions(std::move(functions)) {}
  void* GetFunction(const char* name) override {
    auto found = mFunctions.find(name);
    return found == mFunctions.end() ? nullptr : found->second;
  }

 private:
  std::map<std::string, void*> mFunctions;
};

class TestLoader final : public Loader {
 public:
  std::map<std::string, void*> exports{{"CountingExport", reinterpret_cast<void*>(&CountingExport)},
                                       {"OtherExport", reinterpret_cast<void*>(&OtherExport)}};
  std::map<std::string, std::map<std::string, void*>> libraries{
      {"libfake.so", {{"fake_call", reinterpret_cast<void*>(&OtherExport)}}}};
  int librariesLoaded = 0;

  void* GetFrameworkFunction(const char* name) override {
    auto found = exports.find(name);
    return found == exports.end() ? nullptr : found->second;
  }
  ImageLibrary* LoadLibrary(const char* name, std::string* error) override {
    auto found = libraries.find(name);
    if (found == libraries.end()) {
      *error = std::string("Failed to load library ") + name + "\r\nnot here";
      return nullptr;
    }
    ++librariesLoaded;
    return new FakeLibrary(found->second);
  }
};

uint32_t Word(const uint8_t* at) {
  uint32_t value;
  std::memcpy(&value, at, 4);
  return value;
}
uint64_t Quad(const uint8_t* at) {
  uint64_t value;
  std::memcpy(&value, at, 8);
  return value;
}
void PutAt(std::vector<uint8_t>& bytes, size_t at, uint64_t value, size_t width) {
  std::memcpy(bytes.data() + at, &value, width);
}

class LoaderImage : public ::testing::Test {
 protected:
  // Loads `parts`; expects success.
  TestLoader& Load(const ImageParts& parts) {
    std::vector<uint8_t> bytes = Serialize(parts);
    EXPECT_TRUE(loader->LoadImageBytes(bytes.data(), bytes.size()));
    return *loader;
  }
  std::unique_ptr<TestLoader> loader = std::make_unique<TestLoader>();
};

TEST_F(LoaderImage, WithoutSymbolsAndResourcesCodeAndDataLieTogetherBelow2GiB) {
  ImageParts parts;
  parts.code.assign(100, 0x90);
  parts.data = {1, 2, 3};
  uint32_t rowsBefore = ImageResourceTable().Count();
  Load(parts);
  ASSERT_NE(loader->CodeBase(), nullptr);
  EXPECT_LT(reinterpret_cast<uintptr_t>(loader->CodeBase()), uintptr_t(1) << 31);
  EXPECT_EQ(loader->CodeLength(), 100u);
  EXPECT_EQ(loader->DataBase(), loader->CodeBase() + 4096);
  EXPECT_EQ(loader->DataBase()[2], 3);
  uint32_t count = 7;
  EXPECT_EQ(loader->Symbols(&count), nullptr);
  EXPECT_EQ(count, 0u);
  EXPECT_FALSE(loader->SymbolForAddress(uintptr_t(loader->CodeBase()), nullptr, nullptr));
  EXPECT_EQ(ImageResourceTable().Count(), rowsBefore);
}

TEST_F(LoaderImage, LoadedSymbolsAnswerForTheCodeBase) {
  ImageParts parts;
  parts.code.assign(64, 0x90);
  parts.symbols = SymbolTable({{0, "VelaMain"}, {32, "Helper"}});
  Load(parts);
  EXPECT_STREQ(loader->SymbolNameForAddress(uintptr_t(loader->CodeBase())), "VelaMain");
  EXPECT_STREQ(loader->SymbolNameForAddress(uintptr_t(loader->CodeBase() + 40)), "Helper");
}

// An image cut anywhere stops at the field that came up short, with its
// report, and leaves nothing mapped.
TEST_F(LoaderImage, CutImagesStopWithTheReportOfTheShortField) {
  ImageParts parts;
  parts.code.assign(16, 0x90);
  parts.data.assign(8, 0);
  parts.relocations.assign(5, kTagCode32);
  parts.symbols = SymbolTable({{0, "VelaMain"}});
  AppendResource(parts.resources, kVersionResourceType, "FileVersion", "1.0");
  const std::vector<uint8_t> whole = Serialize(parts);
  struct Cut {
    size_t length;
    const char* condition;
  };
  const size_t code = 4 + 16, data = code + 4 + 4 + 8, imports = data + 4 + 5;
  const size_t symbols = imports + 4 + parts.symbols.size();
  const Cut cuts[] = {{2, "bytesRead == 4"},
                      {code - 1, "bytesRead == mCodeSection.DataLength"},
                      {code + 2, "bytesRead == 4"},
                      {data - 1, "bytesRead == mDataSection.DataLength"},
                      {imports - 1, "bytesRead == mImportSection.DataLength"},
                      {symbols - 1, "bytesRead == mSymbolTableSection.DataLength"},
                      {whole.size() - 1, "bytesRead == mResourceSection.DataLength"}};
  for (const Cut& cut : cuts) {
    SCOPED_TRACE(cut.length);
    RecordingReporter reports;
    TestLoader cutLoader;
    EXPECT_FALSE(cutLoader.LoadImageBytes(whole.data(), cut.length));
    ASSERT_EQ(reports.count(), 1u);
    EXPECT_EQ(reports.reports()[0].condition, cut.condition);
    EXPECT_EQ(cutLoader.CodeBase(), nullptr);
  }
}

TEST_F(LoaderImage, ImportKindsPatchEveryPlaceOfTheirChain) {
  ImageParts parts;
  // Entry: call (rel32 at 1), ret. Then a chain of two 32-bit stub
  // addresses at 8 and 12, and of 64-bit addresses at 16 and 24.
  parts.code = {0xE8, 0, 0, 0, 0, 0xC3};
  parts.code.resize(40, 0);
  PutAt(parts.code, 8, 12, 4);
  PutAt(parts.code, 16, 24, 4);
  RelocationStream stream;
  stream.Import(kImportCall, 1, "CountingExport");
  stream.Import(kImportStub32, 8, "CountingExport");
  stream.Import(kImportAbsolute, 16, "OtherExport");
  stream.Import(kImportAbsolute, 0, "OtherExport");  // head 0: nothing to patch
  parts.relocations = stream.bytes;
  Load(parts);
  uint8_t* code = loader->CodeBase();

  // Kind 1: the distance from the end of the word to the stub, which jumps
  // on to the function.
  uint8_t* stub = code + 5 + int32_t(Word(code + 1));
  EXPECT_EQ(Quad(stub + 6), uintptr_t(&CountingExport));
  gExportCalls = 0;
  loader->Run();
  EXPECT_EQ(gExportCalls, 1);
  // Kind 2: the same stub's address in 32 bits, at each place of the chain.
  EXPECT_EQ(Word(code + 8), uint32_t(uintptr_t(stub)));
  EXPECT_EQ(Word(code + 12), uint32_t(uintptr_t(stub)));
  // Kind 0: the function's own address in 64 bits.
  EXPECT_EQ(Quad(code + 16), uintptr_t(&OtherExport));
  EXPECT_EQ(Quad(code + 24), uintptr_t(&OtherExport));
  EXPECT_EQ(Quad(code + 32), 0u);
}

TEST_F(LoaderImage, EveryMissingExportIsReportedAndTheStreamGoesOn) {
  ImageParts parts;
  parts.code.assign(32, 0);
  RelocationStream stream;
  stream.Import(kImportAbsolute, 8, "NotThere");
  stream.Import(kImportAbsolute, 16, "OtherExport");
  stream.Import(kImportCall, 24, "AlsoMissing");
  parts.relocations = stream.bytes;
  RecordingReporter reports;
  Load(parts);
  ASSERT_EQ(reports.count(), 2u);
  EXPECT_EQ(reports.reports()[0].condition, "funcAddress");
  EXPECT_EQ(reports.reports()[0].message, "Function 'NotThere' was not exported");
  EXPECT_EQ(reports.reports()[1].message, "Function 'AlsoMissing' was not exported");
  EXPECT_EQ(Quad(loader->CodeBase() + 8), 0u);
  EXPECT_EQ(Quad(loader->CodeBase() + 16), uintptr_t(&OtherExport));
}

TEST_F(LoaderImage, AddressesMoveWithTheCodeAndDataBases) {
  ImageParts parts;
  parts.code.assign(32, 0);
  parts.data.assign(16, 0);
  PutAt(parts.code, 0, 8, 4);                      // tag 3: code offset 8
  PutAt(parts.code, 4, 12, 4);                     // tag 2: data offset 12
  PutAt(parts.code, 8, uint64_t(-4096 + 4), 8);    // tag 7: back into the code
  PutAt(parts.code, 16, uint32_t(-4096 + 16), 4);  // tag 2, negative
  RelocationStream stream;
  stream.At(kTagCode32, 0);
  stream.At(kTagData32, 4);
  stream.At(kTagData64, 8);
  stream.At(kTagData32, 16);
  stream.At(kTagData64, 4096 + 8);  // a place in the data
  parts.relocations = stream.bytes;
  Load(parts);
  const uintptr_t code = uintptr_t(loader->CodeBase()), data = uintptr_t(loader->DataBase());
  EXPECT_EQ(Word(loader->CodeBase()), code + 8);
  EXPECT_EQ(Word(loader->CodeBase() + 4), data + 12);
  EXPECT_EQ(Quad(loader->CodeBase() + 8), code + 4);
  EXPECT_EQ(Word(loader->CodeBase() + 16), code + 16);
  EXPECT_EQ(Quad(loader->DataBase() + 8), data);
}

TEST_F(LoaderImage, RecordReferencesSetTheSecondWordOnlyWhenItIsZero) {
  ImageParts parts;
  parts.code.assign(16, 0);
  parts.data.assign(160, 0);
  PutAt(parts.code, 0, 0, 4);     // tag 6: string record at data 0
  PutAt(parts.code, 4, 48, 4);    // tag 6: record at 48 whose mBuffer is set
  PutAt(parts.code, 8, 100, 4);   // tag 6: unaligned record
  PutAt(parts.code, 12, 112, 4);  // tag 5: data record at 112
  PutAt(parts.data, 48 + 8, 0x1234, 8);
  RelocationStream stream;
  stream.At(kTagStringRecord, 0);
  stream.At(kTagStringRecord, 4);
  stream.At(kTagStringRecord, 8);
  stream.At(kTagDataRecord, 12);
  parts.relocations = stream.bytes;
  RecordingReporter reports;
  Load(parts);
  const uintptr_t data = uintptr_t(loader->DataBase());
  EXPECT_EQ(Word(loader->CodeBase()), data);
  EXPECT_EQ(Quad(loader->DataBase() + 8), data + 33);  // the length byte
  EXPECT_EQ(Quad(loader->DataBase() + 48 + 8), 0x1234u);
  EXPECT_EQ(Word(loader->CodeBase() + 12), data + 112);
  EXPECT_EQ(Quad(loader->DataBase() + 112 + 8), data + 112 + 41);
  ASSERT_EQ(reports.count(), 1u);
  EXPECT_EQ(reports.reports()[0].condition, "result % sizeof(void *) == 0");
}

TEST_F(LoaderImage, LibrariesAreLoadedOnceAndTheirFailuresReported) {
  ImageParts parts;
  parts.code.assign(32, 0);
  RelocationStream stream;
  stream.LibraryImport(4, "fake_call", "libfake.so");
  stream.LibraryImport(12, "fake_call", "libfake.so");
  stream.LibraryImport(20, "missing_call", "libfake.so");
  stream.LibraryImport(24, "fake_call", "libabsent.so");
  parts.relocations = stream.bytes;
  RecordingReporter reports;
  Load(parts);
  EXPECT_EQ(loader->librariesLoaded, 1);
  const uint8_t* code = loader->CodeBase();
  EXPECT_EQ(code + 8 + int32_t(Word(code + 4)), code + 16 + int32_t(Word(code + 12)));
  ASSERT_EQ(reports.count(), 2u);
  EXPECT_EQ(reports.reports()[0].condition, "functionEntry");
  EXPECT_EQ(reports.reports()[0].message,
            "Could not resolve function 'missing_call' in libfake.so");
  EXPECT_EQ(reports.reports()[1].condition, "0");
  EXPECT_EQ(reports.reports()[1].message, "Failed to load library libabsent.so\r\nnot here");
}

TEST_F(LoaderImage, DamagedStreamsAreReportedAndNeverWriteOutside) {
  ImageParts parts;
  parts.code.assign(16, 0);
  PutAt(parts.code, 4, 4, 4);  // a chain that points at itself
  RelocationStream stream;
  stream.bytes.push_back(9);  // unknown tag; the walk goes on at the next byte
  stream.At(kTagCode32, 12);
  stream.At(kTagCode32, 14);                          // the word would end past the code
  stream.Import(kImportAbsolute, 12, "OtherExport");  // 8 bytes from 12
  stream.Import(kImportStub32, 4, "OtherExport");
  stream.bytes.insert(stream.bytes.end(), {kTagImport, 0, 8, 0, 0});  // cut short
  parts.relocations = stream.bytes;
  RecordingReporter reports;
  Load(parts);
  std::vector<std::string> messages;
  for (const auto& report : reports.reports()) messages.push_back(report.message);
  // Records are read first; the chains are walked behind the stream.
  ASSERT_EQ(messages.size(), 5u);
  EXPECT_EQ(messages[0], "Unknown relocation id: 9");
  EXPECT_EQ(Word(loader->CodeBase() + 12), uint32_t(uintptr_t(loader->CodeBase())));
  EXPECT_EQ(messages[1], "Relocation 3 at offset 14 lies outside the image");
  EXPECT_NE(messages[2].find("cut short"), std::string::npos);
  EXPECT_EQ(messages[3], "Relocation chain leaves the image at offset 12");
  EXPECT_NE(messages[4].find("chain leaves the image"), std::string::npos);
}

TEST_F(LoaderImage, ResourcesFillTheTableAndLeaveWithTheirLoader) {
  ImageParts parts;
  parts.code.assign(4, 0x90);
  AppendResource(parts.resources, kVersionResourceType, "FileVersion", "2.5.1.7");
  AppendResource(parts.resources, FourCharCode("TEXT"), "empty", "");
  AppendResource(parts.resources, kVersionResourceType, "Release", "final");
  const uint32_t rowsBefore = ImageResourceTable().Count();
  RecordingReporter reports;
  Load(parts);
  ASSERT_EQ(reports.count(), 1u);
  EXPECT_EQ(reports.reports()[0].message, "Unexpected resource");
  ASSERT_EQ(ImageResourceTable().Count(), rowsBefore + 2);
  const ImageResource* row = FindImageResource(kVersionResourceType, "Release");
  ASSERT_NE(row, nullptr);
  // The name's place in the file: behind the image's other parts and the
  // two headers and data before it.
  const uint64_t resourceStart = Serialize(parts).size() - parts.resources.size();
  EXPECT_EQ(row->nameFileOffset, resourceStart + 14 + 11 + 7 + 14 + 5 + 14);
  EXPECT_EQ(ImageVersionString("FileVersion"), "2.5.1.7");
  loader.reset();
  EXPECT_EQ(ImageResourceTable().Count(), rowsBefore);
  EXPECT_EQ(ImageVersionString("FileVersion"), std::nullopt);
}

TEST(LoaderLibraries, OpensBySystemNameAndReportsTheLoaderError) {
  Loader& loader = Loader::Instance();
  std::unique_ptr<ImageLibrary> math(loader.LoadLibrary("libm.so.6", nullptr));
  ASSERT_NE(math, nullptr);
  EXPECT_NE(math->GetFunction("cos"), nullptr);
  std::string error;
  EXPECT_EQ(loader.LoadLibrary("libvela-absent.so", &error), nullptr);
  EXPECT_EQ(error.rfind("Failed to load library libvela-absent.so\r\n", 0), 0u);
  EXPECT_NE(error.find("libvela-absent.so: cannot open shared object file"), std::string::npos);
}

}  // namespace
}  // namespace vela
