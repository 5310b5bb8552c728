// The frame-table parser on hand-built bytes: every pointer encoding in the
// FDE, the LSDA pointer and the call-site table, the first-match rules, the
// index against the linear scan, and the reports on malformed tables.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <vector>

#include "kit/recording_reporter.h"
#include "object/frame_table.h"
#include "vela/exceptions.h"

namespace vela {
namespace {

using testkit::RecordingReporter;

// Writes CIEs, FDEs and LSDAs into one buffer whose addresses do not move,
// so that relative encodings can be written as they are read.
class TableBytes {
 public:
  uintptr_t Address(size_t offset) const { return reinterpret_cast<uintptr_t>(mBytes + offset); }
  const uint8_t* At(size_t offset) const { return mBytes + offset; }
  size_t Size() const { return mSize; }

  void Byte(uint8_t b) { mBytes[mSize++] = b; }
  template <class T>
  void Put(T value) {
    std::memcpy(mBytes + mSize, &value, sizeof value);
    mSize += sizeof value;
  }
  void ULEB(uint64_t v) {
    do {
      uint8_t b = v & 0x7F;
      v >>= 7;
      Byte(uint8_t(b | (v ? 0x80 : 0)));
    } while (v);
  }
  void SLEB(int64_t v) {
    bool more = true;
    while (more) {
      uint8_t b = v & 0x7F;
      v >>= 7;
      more = !((v == 0 && !(b & 0x40)) || (v == -1 && (b & 0x40)));
      Byte(uint8_t(b | (more ? 0x80 : 0)));
    }
  }
  // `value` in `encoding`; a relative encoding is written relative to here.
  void Encoded(uint8_t encoding, uintptr_t value) {
    if (encoding & 0x10) value -= Address(mSize);
    switch (encoding & 0x0F) {
      case 0x0: case 0x4: case 0xC: Put(uint64_t(value)); break;
      case 0x1: ULEB(value); break;
      case 0x2: case 0xA: Put(uint16_t(value)); break;
      case 0x3: case 0xB: Put(uint32_t(value)); break;
      case 0x9: SLEB(int64_t(value)); break;
      default: Byte(0); break;  // for the malformed cases
    }
  }

  // A CIE with the augmentation `aug` ("zPLR" letters); returns its offset.
  size_t Cie(const char* aug, uint8_t fdeEncoding, uint8_t lsdaEncoding, uint32_t id = 0) {
    size_t start = Begin();
    Put(id);
    Byte(1);
    for (const char* c = aug; *c; ++c) Byte(uint8_t(*c));
    Byte(0);
    ULEB(1);
    SLEB(-8);
    Byte(16);
    if (aug[0] == 'z') {
      TableBytes data;
      for (const char* c = aug + 1; *c; ++c) {
        if (*c == 'P') data.Byte(0x00), data.Put(uint64_t(0x1234));
        if (*c == 'L') data.Byte(lsdaEncoding);
        if (*c == 'R') data.Byte(fdeEncoding);
      }
      ULEB(data.mSize);
      for (size_t i = 0; i < data.mSize; ++i) Byte(data.mBytes[i]);
    }
    return End(start);
  }

  // An FDE of `cie`; the LSDA pointer is written when lsdaEncoding is not
  // 0xFF (an augmented CIE is assumed).
  size_t Fde(size_t cie, uint8_t fdeEncoding, uintptr_t start, uintptr_t length,
             uint8_t lsdaEncoding, uintptr_t lsda, bool augmented = true) {
    size_t begin = Begin();
    Put(uint32_t(mSize - cie));
    Encoded(fdeEncoding, start);
    Encoded(fdeEncoding & 0x0F, length);
    if (augmented) {
      if (lsdaEncoding == 0xFF) {
        ULEB(0);
      } else {
        TableBytes probe;  // the pointer's size in this encoding
        probe.Encoded(lsdaEncoding & 0x0F, lsda);
        ULEB(probe.mSize);
        Encoded(lsdaEncoding, lsda);
      }
    }
    return End(begin);
  }

  struct Site {
    uintptr_t start, length, pad;
  };
  // An LSDA; `padBaseEncoding` 0xFF leaves the pads relative to the function.
  size_t Lsda(uint8_t siteEncoding, std::vector<Site> sites, uint8_t padBaseEncoding = 0xFF,
              uintptr_t padBase = 0, bool typeTable = false) {
    size_t begin = mSize;
    Byte(padBaseEncoding);
    if (padBaseEncoding != 0xFF) Encoded(padBaseEncoding, padBase);
    Byte(typeTable ? 0x9B : 0xFF);
    if (typeTable) ULEB(300);
    Byte(siteEncoding);
    TableBytes table;
    for (const Site& s : sites) {
      table.Encoded(siteEncoding & 0x0F, s.start);
      table.Encoded(siteEncoding & 0x0F, s.length);
      table.Encoded(siteEncoding & 0x0F, s.pad);
      table.ULEB(1);
    }
    ULEB(table.mSize);
    for (size_t i = 0; i < table.mSize; ++i) Byte(table.mBytes[i]);
    return begin;
  }

  void Align() {
    while (mSize % 8) Byte(0);
  }

 private:
  size_t Begin() {
    Align();
    size_t start = mSize;
    Put(uint32_t(0));
    return start;
  }
  size_t End(size_t start) {
    Align();
    uint32_t length = uint32_t(mSize - start - 4);
    std::memcpy(mBytes + start, &length, 4);
    return start;
  }

  alignas(16) uint8_t mBytes[8192] = {};
  size_t mSize = 0;
};

// Registers entries for the length of a test and takes them out again.
class Registered {
 public:
  ~Registered() {
    for (const void* e : mEntries) UnregisterFDE(e);
  }
  void Add(const void* entry) {
    RegisterFDE(entry);
    mEntries.push_back(entry);
  }

 private:
  std::vector<const void*> mEntries;
};

std::vector<TableBytes::Site> Sites() { return {{0x08, 0x10, 0x30}, {0x20, 0x30, 0x38}}; }

TEST(FrameTables, FunctionStartAndLengthReadInEveryPointerFormat) {
  RecordingReporter reporter;
  const uint8_t formats[] = {0x00, 0x01, 0x02, 0x03, 0x04, 0x09, 0x0A, 0x0B, 0x0C};
  for (uint8_t relative : {uint8_t(0x00), uint8_t(0x10)}) {
    for (uint8_t format : formats) {
      const uint8_t encoding = uint8_t(format | relative);
      SCOPED_TRACE(testing::Message() << "encoding 0x" << std::hex << int(encoding));
      auto bytes = std::make_unique<TableBytes>();
      const bool narrow = format == 0x02 || format == 0x0A;
      // The function is a number only: lookups compare, nothing reads it.
      const uintptr_t function =
          relative ? bytes->Address(0x1800) : (narrow ? 0x7000 : uintptr_t(0x12345000));
      size_t lsda = bytes->Lsda(0x01, Sites());
      size_t cie = bytes->Cie("zLR", encoding, 0x1B);
      size_t fde = bytes->Fde(cie, encoding, function, 0x40, 0x1B, bytes->Address(lsda));
      Registered tables;
      tables.Add(bytes->At(fde));
      EXPECT_EQ(frametable::LandingPadFor(function + 0x08), function + 0x30);
      EXPECT_EQ(frametable::LandingPadFor(function + 0x18), function + 0x30);  // start + length
      EXPECT_EQ(frametable::LandingPadFor(function + 0x40), function + 0x38);  // the FDE's last
      EXPECT_EQ(frametable::LandingPadFor(function + 0x41), 0u);  // the call site goes on
      EXPECT_EQ(frametable::LandingPadFor(function + 0x04), 0u);  // no call site
      EXPECT_EQ(frametable::LandingPadFor(function - 1), 0u);
    }
  }
  // Relative signed values may point backwards.
  for (uint8_t encoding : {uint8_t(0x19), uint8_t(0x1B), uint8_t(0x1C)}) {
    auto bytes = std::make_unique<TableBytes>();
    const uintptr_t function = bytes->Address(0) - 0x900;
    size_t lsda = bytes->Lsda(0x01, Sites());
    size_t cie = bytes->Cie("zLR", encoding, 0x1B);
    size_t fde = bytes->Fde(cie, encoding, function, 0x40, 0x1B, bytes->Address(lsda));
    Registered tables;
    tables.Add(bytes->At(fde));
    EXPECT_EQ(frametable::LandingPadFor(function + 0x10), function + 0x30) << int(encoding);
  }
  EXPECT_EQ(reporter.count(), 0u);
}

TEST(FrameTables, LsdaPointerAndCallSiteEncodingsAndAbsentTables) {
  RecordingReporter reporter;
  const uintptr_t function = 0x5550000;
  // The LSDA pointer, directly or through a cell (0x80).
  for (uint8_t encoding : {0x00, 0x04, 0x0C, 0x10, 0x1B, 0x1C, 0x9B, 0x80}) {
    auto bytes = std::make_unique<TableBytes>();
    size_t lsda = bytes->Lsda(0x01, Sites());
    bytes->Align();
    size_t cell = bytes->Size();
    bytes->Put(uint64_t(bytes->Address(lsda)));
    uintptr_t pointer = bytes->Address((encoding & 0x80) ? cell : lsda);
    size_t fde = bytes->Fde(bytes->Cie("zLR", 0x00, encoding), 0x00, function, 0x40, encoding,
                            pointer);
    Registered tables;
    tables.Add(bytes->At(fde));
    EXPECT_EQ(frametable::LandingPadFor(function + 0x10), function + 0x30) << int(encoding);
  }
  // Call sites in each format, pads relative to a base of their own, a type
  // table that nobody reads.
  for (uint8_t encoding : {0x00, 0x01, 0x02, 0x03, 0x04, 0x09, 0x0B}) {
    auto bytes = std::make_unique<TableBytes>();
    size_t lsda = bytes->Lsda(encoding, {{0x08, 0x10, 0x30}, {0x00, 0x40, 0x3C}}, 0x00,
                              function + 0x1000, /*typeTable=*/true);
    size_t fde = bytes->Fde(bytes->Cie("zLR", 0x00, 0x1B), 0x00, function, 0x40, 0x1B,
                            bytes->Address(lsda));
    Registered tables;
    tables.Add(bytes->At(fde));
    EXPECT_EQ(frametable::LandingPadFor(function + 0x10), function + 0x1030) << int(encoding);
    EXPECT_EQ(frametable::LandingPadFor(function + 0x04), function + 0x103C) << int(encoding);
  }
  // No table: encoding 0xFF, no 'L', no augmentation; and a personality.
  auto bytes = std::make_unique<TableBytes>();
  Registered tables;
  tables.Add(bytes->At(bytes->Fde(bytes->Cie("zLR", 0, 0xFF), 0, function, 0x40, 0xFF, 0)));
  tables.Add(bytes->At(bytes->Fde(bytes->Cie("zR", 0, 0), 0, function + 0x100, 0x40, 0xFF, 0)));
  tables.Add(bytes->At(bytes->Fde(bytes->Cie("", 0, 0), 0, function + 0x200, 0x40, 0xFF, 0, false)));
  size_t lsda = bytes->Lsda(0x01, Sites());
  tables.Add(bytes->At(bytes->Fde(bytes->Cie("zPLR", 0, 0x1B), 0, function + 0x300, 0x40, 0x1B,
                                  bytes->Address(lsda))));
  for (uintptr_t offset : {0x10, 0x110, 0x210})
    EXPECT_EQ(frametable::LandingPadFor(function + offset), 0u) << offset;
  EXPECT_EQ(frametable::LandingPadFor(function + 0x310), function + 0x330);
  EXPECT_EQ(reporter.count(), 0u);
}

TEST(FrameTables, TheFirstEntryAndTheFirstCallSiteDecide) {
  RecordingReporter reporter;
  const uintptr_t function = 0x6660000;
  auto bytes = std::make_unique<TableBytes>();
  // Landing pad 0 means no handler, though a later site covers the address.
  size_t lsda = bytes->Lsda(0x01, {{0x08, 0x10, 0}, {0x00, 0x40, 0x38}});
  size_t cie = bytes->Cie("zLR", 0x00, 0x1B);
  size_t first = bytes->Fde(cie, 0x00, function, 0x40, 0x1B, bytes->Address(lsda));
  size_t other = bytes->Lsda(0x01, {{0x00, 0x40, 0x20}});
  size_t second = bytes->Fde(cie, 0x00, function, 0x40, 0x1B, bytes->Address(other));
  {
    Registered tables;
    tables.Add(bytes->At(first));
    tables.Add(bytes->At(second));  // never consulted while the first is registered
    tables.Add(bytes->At(first));
    EXPECT_EQ(frametable::LandingPadFor(function + 0x10), 0u);
    EXPECT_EQ(frametable::LandingPadFor(function + 0x30), function + 0x38);
    UnregisterFDE(bytes->At(first));  // every registration of it
    EXPECT_EQ(frametable::LandingPadFor(function + 0x10), function + 0x20);
  }
  EXPECT_EQ(frametable::RegisteredCount(), 0u);
  EXPECT_EQ(reporter.count(), 0u);
}

TEST(FrameTables, IndexGivesTheLinearScansFirstMatch) {
  RecordingReporter reporter;
  auto bytes = std::make_unique<TableBytes>();
  std::mt19937 random(7);
  const uintptr_t base = 0x10000000;
  size_t cie = bytes->Cie("zLR", 0x00, 0x00);
  std::vector<size_t> entries;
  for (int i = 0; i < 60; ++i) {
    // Overlapping functions; each pad tells which entry answered.
    uintptr_t start = base + random() % 0x400;
    uintptr_t length = random() % 0x200;
    size_t lsda = bytes->Lsda(0x01, {{0, length, uintptr_t(i + 1)}});
    entries.push_back(bytes->Fde(cie, 0x00, start, length, 0x00, bytes->Address(lsda)));
  }
  Registered tables;
  for (size_t e : entries) tables.Add(bytes->At(e));
  for (size_t e = 0; e < 30; ++e) tables.Add(bytes->At(entries[random() % entries.size()]));
  int answered = 0;
  for (uintptr_t address = base - 4; address < base + 0x620; ++address) {
    uintptr_t indexed = frametable::LandingPadFor(address);
    ASSERT_EQ(indexed, frametable::LandingPadByLinearScan(address)) << std::hex << address;
    answered += indexed != 0;
  }
  EXPECT_GT(answered, 0x300);
  EXPECT_EQ(reporter.count(), 0u);
}

TEST(FrameTables, MalformedTablesAreReportedAndMatchNothing) {
  const uintptr_t function = 0x7770000;
  struct Case {
    const char* condition;
    const char* message;
    // Writes the tables; returns the entry to register. The parser may read
    // what was written, or `cut` bytes when that is not 0.
    std::function<size_t(TableBytes&)> write;
    size_t cut = 0;
  };
  auto plain = [&](TableBytes& b, const char* aug, uint8_t encoding) {
    return b.Fde(b.Cie(aug, encoding, 0), encoding, function, 0x40, 0xFF, 0);
  };
  auto withSites = [&](TableBytes& b, uint8_t siteEncoding, uint8_t tableLength) {
    size_t lsda = b.Lsda(siteEncoding, {{0x00, 0x40, 0x30}});
    if (tableLength) const_cast<uint8_t*>(b.At(lsda))[3] = tableLength;
    return b.Fde(b.Cie("zLR", 0x00, 0x1B), 0x00, function, 0x40, 0x1B, b.Address(lsda));
  };
  const Case cases[] = {
      {"augmentation", "unknown augmentation letter 'S' in \"zRS\"",
       [&](TableBytes& b) { return plain(b, "zRS", 0x1B); }},
      {"supported pointer encoding", "pointer encoding 0x05",
       [&](TableBytes& b) { return plain(b, "zR", 0x05); }},
      {"supported pointer encoding", "pointer encoding 0x2b",  // relative to text
       [&](TableBytes& b) { return plain(b, "zR", 0x2B); }},
      {"supported pointer encoding", "pointer encoding 0x07",  // met at lookup
       [&](TableBytes& b) { return withSites(b, 0x07, 0); }},
      {"Position() + sizeof(T) <= mLength", "",  // call sites beyond the bytes
       [&](TableBytes& b) { return withSites(b, 0x03, 0x7F); }},
      {"cieID == 0", "",
       [&](TableBytes& b) {
         return b.Fde(b.Cie("zR", 0x1B, 0, 7), 0x1B, function, 0x40, 0xFF, 0);
       }},
      {"ciePointer != 0", "",  // a CIE is no FDE
       [&](TableBytes& b) { return b.Cie("zR", 0x1B, 0); }},
      {"length != 0", "",  // nor is the terminator
       [&](TableBytes& b) { return b.Put(uint32_t(0)), size_t(0); }},
      {"Position() + sizeof(T) <= mLength", "",  // cut inside the start field
       [&](TableBytes& b) { return plain(b, "zR", 0x1B); }, 24 + 10},
      {"Position() + size <= mLength", "",  // augmentation data beyond the FDE
       [&](TableBytes& b) {
         size_t fde = plain(b, "zR", 0x1B);
         const_cast<uint8_t*>(b.At(fde))[16] = 0x7F;
         return fde;
       }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.condition);
    auto bytes = std::make_unique<TableBytes>();
    size_t entry = c.write(*bytes);
    RecordingReporter reporter;
    frametable::ConfineReadsForTesting(bytes->At(0), c.cut ? c.cut : bytes->Size());
    RegisterFDE(bytes->At(entry));
    uintptr_t pad = frametable::LandingPadFor(function + 0x10);
    UnregisterFDE(bytes->At(entry));
    frametable::ConfineReadsForTesting(nullptr, 0);
    EXPECT_EQ(pad, 0u);
    ASSERT_EQ(reporter.count(), 1u);
    EXPECT_EQ(reporter.reports()[0].condition, c.condition);
    EXPECT_EQ(reporter.reports()[0].message, c.message);
    EXPECT_EQ(reporter.reports()[0].path, "RuntimeCore/DwarfExceptions");
  }
  RecordingReporter reporter;
  RegisterFDE(nullptr);
  EXPECT_TRUE(reporter.Saw("entry"));
  EXPECT_EQ(frametable::RegisteredCount(), 0u);
}

}  // namespace
}  // namespace vela
