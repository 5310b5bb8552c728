#include "object/frame_table.h"

#include <pthread.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "support/assert.h"
#include "support/export.h"
#include "support/simple_vector.h"

namespace vela::frametable {
namespace {
constexpr const char* kReportPath = "RuntimeCore/DwarfExceptions";

constexpr uint8_t kOmitted = 0xFF;

// Where the parser may read. Unconfined, a table is trusted to lie in
// readable memory (it is the compiled code's own data) and only the lengths
// inside the tables bound the reads; the lowest page is never readable.
const uint8_t* gConfinedBegin = nullptr;
const uint8_t* gConfinedEnd = nullptr;

uint64_t ReadableBytes(const uint8_t* at) {
  auto address = reinterpret_cast<uintptr_t>(at);
  if (gConfinedBegin)
    return at >= gConfinedBegin && at < gConfinedEnd ? uint64_t(gConfinedEnd - at) : 0;
  return address < 4096 ? 0 : UINTPTR_MAX - address;
}

// Reads a table front to back. Every read stays inside mLength bytes from
// the base; a read or skip beyond is reported once and ends the parse.
class TableReader {
 public:
  explicit TableReader(const uint8_t* base) : mBase(base), mLength(ReadableBytes(base)) {}

  uint64_t Position() const { return mPosition; }
  const uint8_t* Here() const { return mBase + mPosition; }
  bool ok() const { return mOk; }
  // Narrows the readable length to `length` bytes from the base.
  void Limit(uint64_t length) { mLength = std::min(mLength, length); }

  template <class T>
  T Read() {
    if (!mOk) return T();
    if (!(sizeof(T) <= mLength - mPosition)) {
      VELA_ASSERT_TEXT(false, "Position() + sizeof(T) <= mLength");
      mOk = false;
      return T();
    }
    T value;
    std::memcpy(&value, Here(), sizeof value);
    mPosition += sizeof(T);
    return value;
  }

  void Skip(uint64_t size) {
    if (!mOk) return;
    if (!(size <= mLength - mPosition)) {
      VELA_ASSERT_TEXT(false, "Position() + size <= mLength");
      mOk = false;
      return;
    }
    mPosition += size;
  }

  uint64_t ReadULEB128() {
    uint64_t value = 0;
    unsigned shift = 0;
    uint8_t byte;
    do {
      byte = Read<uint8_t>();
      if (!mOk) return 0;
      if (shift < 64) value |= uint64_t(byte & 0x7F) << shift;
      shift += 7;
    } while (byte & 0x80);
    return value;
  }

  int64_t ReadSLEB128() {
    uint64_t value = 0;
    unsigned shift = 0;
    uint8_t byte;
    do {
      byte = Read<uint8_t>();
      if (!mOk) return 0;
      if (shift < 64) value |= uint64_t(byte & 0x7F) << shift;
      shift += 7;
    } while (byte & 0x80);
    if (shift < 64 && (byte & 0x40)) value |= ~uint64_t(0) << shift;
    return int64_t(value);
  }

  // A value in a pointer encoding: the low four bits give the format, 0x10
  // makes it relative to the field, 0x80 reads the pointer it gives.
  uintptr_t ReadEncoded(uint8_t encoding) {
    if (encoding == kOmitted || !mOk) return 0;
    const uintptr_t field = reinterpret_cast<uintptr_t>(Here());
    uintptr_t value = 0;
    switch (encoding & 0x0F) {
      case 0x0: value = Read<uintptr_t>(); break;
      case 0x1: value = ReadULEB128(); break;
      case 0x2: value = Read<uint16_t>(); break;
      case 0x3: value = Read<uint32_t>(); break;
      case 0x4: value = Read<uint64_t>(); break;
      case 0x9: value = uintptr_t(ReadSLEB128()); break;
      case 0xA: value = uintptr_t(intptr_t(Read<int16_t>())); break;
      case 0xB: value = uintptr_t(intptr_t(Read<int32_t>())); break;
      case 0xC: value = uintptr_t(Read<int64_t>()); break;
      default: return Unsupported(encoding);
    }
    switch (encoding & 0x70) {
      case 0x00: break;
      case 0x10: value += field; break;
      default: return Unsupported(encoding);
    }
    if ((encoding & 0x80) && mOk) {
      TableReader target(reinterpret_cast<const uint8_t*>(value));
      value = target.Read<uintptr_t>();
      if (!target.ok()) mOk = false;
    }
    return mOk ? value : 0;
  }

  uintptr_t Unsupported(uint8_t encoding) {
    VELA_ASSERT_MSG(false, "supported pointer encoding", "pointer encoding 0x%02x", encoding);
    mOk = false;
    return 0;
  }

  // The length word of a CIE or FDE (a 32-bit one, or all ones and a 64-bit
  // one); narrows the reader to the record. `wide` tells which form it was.
  uint64_t ReadRecordLength(bool* wide) {
    uint64_t length = Read<uint32_t>();
    *wide = length == 0xFFFFFFFFu;
    if (*wide) length = Read<uint64_t>();
    if (mOk && length <= mLength - mPosition) Limit(mPosition + length);
    return length;
  }

 private:
  const uint8_t* mBase;
  uint64_t mLength;
  uint64_t mPosition = 0;
  bool mOk = true;
};

struct CieInfo {
  uint8_t fdeEncoding = 0x00;  // 8-byte absolute pointers unless 'R' says otherwise
  uint8_t lsdaEncoding = kOmitted;
  bool augmentationData = false;
};

bool ParseCie(const uint8_t* cie, CieInfo* info) {
  TableReader reader(cie);
  bool wide = false;
  reader.ReadRecordLength(&wide);
  uint64_t id = wide ? reader.Read<uint64_t>() : reader.Read<uint32_t>();
  if (!reader.ok()) return false;
  VELA_ASSERT_TEXT(id == 0, "cieID == 0");
  uint8_t version = reader.Read<uint8_t>();
  if (!reader.ok() || id != 0) return false;
  VELA_ASSERT_TEXT(version == 1 || version == 3, "version == 1 || version == 3");
  if (version != 1 && version != 3) return false;

  char augmentation[16];
  size_t letters = 0;
  for (;;) {
    char c = char(reader.Read<uint8_t>());
    if (!reader.ok()) return false;
    if (c == '\0') break;
    if (letters + 1 < sizeof augmentation) augmentation[letters] = c;
    ++letters;
  }
  augmentation[std::min(letters, sizeof augmentation - 1)] = '\0';
  VELA_ASSERT_MSG(letters < sizeof augmentation, "augmentation", "augmentation \"%s...\" too long",
                  augmentation);
  if (letters >= sizeof augmentation) return false;

  reader.ReadULEB128();  // code alignment
  reader.ReadSLEB128();  // data alignment
  if (version == 1)
    reader.Read<uint8_t>();  // return register
  else
    reader.ReadULEB128();
  if (!reader.ok()) return false;
  if (letters == 0) return true;

  VELA_ASSERT_MSG(augmentation[0] == 'z', "augmentation", "unknown augmentation letter '%c' in \"%s\"",
                  augmentation[0], augmentation);
  if (augmentation[0] != 'z') return false;
  info->augmentationData = true;
  const uint64_t dataLength = reader.ReadULEB128();
  const uint64_t dataStart = reader.Position();
  for (size_t i = 1; i < letters && reader.ok(); ++i) {
    switch (augmentation[i]) {
      case 'P': reader.ReadEncoded(reader.Read<uint8_t>()); break;  // personality: unused
      case 'L': info->lsdaEncoding = reader.Read<uint8_t>(); break;
      case 'R': info->fdeEncoding = reader.Read<uint8_t>(); break;
      default:
        VELA_ASSERT_MSG(false, "augmentation", "unknown augmentation letter '%c' in \"%s\"",
                        augmentation[i], augmentation);
        return false;
    }
  }
  // Whatever the letters did not read of the data is passed over; it must
  // lie inside the CIE.
  if (reader.ok() && reader.Position() - dataStart < dataLength)
    reader.Skip(dataLength - (reader.Position() - dataStart));
  return reader.ok();
}

struct Entry {
  const uint8_t* fde;
  uintptr_t start;
  uintptr_t last;   // start + length: the last address that still counts
  uintptr_t lsda;   // 0 when the function has no call-site table
  bool covers;      // false when the entry could not be read: it matches nothing
};

Entry ParseEntry(const uint8_t* fde) {
  Entry entry{fde, 0, 0, 0, false};
  TableReader reader(fde);
  bool wide = false;
  uint64_t length = reader.ReadRecordLength(&wide);
  if (!reader.ok()) return entry;
  VELA_ASSERT_TEXT(length != 0, "length != 0");  // the terminator of a section is no entry
  if (length == 0) return entry;
  const uint8_t* cieField = reader.Here();
  uint64_t ciePointer = wide ? reader.Read<uint64_t>() : reader.Read<uint32_t>();
  if (!reader.ok()) return entry;
  VELA_ASSERT_TEXT(ciePointer != 0, "ciePointer != 0");
  if (ciePointer == 0) return entry;
  auto* cie = reinterpret_cast<const uint8_t*>(reinterpret_cast<uintptr_t>(cieField) -
                                               uintptr_t(ciePointer));
  CieInfo info;
  if (!ParseCie(cie, &info)) return entry;

  uintptr_t start = reader.ReadEncoded(info.fdeEncoding);
  uintptr_t range = reader.ReadEncoded(info.fdeEncoding & 0x0F);
  if (!reader.ok()) return entry;
  entry.start = start;
  entry.last = range > UINTPTR_MAX - start ? UINTPTR_MAX : start + range;
  entry.covers = true;
  if (info.augmentationData) {
    const uint64_t dataLength = reader.ReadULEB128();
    // The LSDA pointer opens the augmentation data; without one the data
    // are passed over.
    if (info.lsdaEncoding != kOmitted)
      entry.lsda = reader.ReadEncoded(info.lsdaEncoding);
    else
      reader.Skip(dataLength);
  }
  return entry;
}

struct CallSite {
  uintptr_t start;
  uintptr_t length;
  uintptr_t landingPad;
};

// The landing pad that the call-site table at `lsda` gives a call returning
// to `returnAddress` in the function at `functionStart`; 0 for none.
uintptr_t LandingPadInLsda(uintptr_t lsda, uintptr_t functionStart, uintptr_t returnAddress) {
  if (!lsda) return 0;
  TableReader reader(reinterpret_cast<const uint8_t*>(lsda));
  uint8_t landingPadBaseEncoding = reader.Read<uint8_t>();
  uintptr_t landingPadBase = landingPadBaseEncoding == kOmitted
                                 ? functionStart
                                 : reader.ReadEncoded(landingPadBaseEncoding);
  uint8_t typeTableEncoding = reader.Read<uint8_t>();
  if (typeTableEncoding != kOmitted) reader.ReadULEB128();  // type table offset: unused
  uint8_t callSiteEncoding = reader.Read<uint8_t>();
  uint64_t tableLength = reader.ReadULEB128();
  if (!reader.ok()) return 0;
  const uint64_t tableEnd =
      tableLength > UINT64_MAX - reader.Position() ? UINT64_MAX : reader.Position() + tableLength;
  reader.Limit(tableEnd);

  // The whole table first, then the search: a malformed entry anywhere in
  // it is reported whichever entry matches.
  SimpleVector<CallSite> sites{};
  while (reader.ok() && reader.Position() < tableEnd) {
    CallSite site;
    site.start = reader.ReadEncoded(callSiteEncoding);
    site.length = reader.ReadEncoded(callSiteEncoding);
    site.landingPad = reader.ReadEncoded(callSiteEncoding);
    reader.ReadULEB128();  // action: every landing pad takes every exception
    if (reader.ok()) sites.Append(site);
  }
  uintptr_t pad = 0;
  for (uint32_t i = 0; reader.ok() && i < sites.count; ++i) {  // a malformed table gives none
    const CallSite& site = sites.items[i];
    uintptr_t first = functionStart + site.start;
    if (first <= returnAddress && returnAddress - first <= site.length) {
      pad = site.landingPad ? landingPadBase + site.landingPad : 0;
      break;
    }
  }
  sites.Free();
  return pad;
}

// The registration list in order, and an index over the entries that cover
// something: positions sorted by start, with the largest end so far, so that
// a lookup only visits entries that can contain the address.
pthread_mutex_t gLock = PTHREAD_MUTEX_INITIALIZER;
SimpleVector<Entry> gEntries{};
uint32_t* gSorted = nullptr;
uintptr_t* gMaxLast = nullptr;
uint32_t gSortedCount = 0;
bool gIndexStale = true;

void RebuildIndex() {
  std::free(gSorted);
  std::free(gMaxLast);
  gSortedCount = 0;
  gSorted = static_cast<uint32_t*>(std::malloc(sizeof(uint32_t) * (gEntries.count + 1)));
  gMaxLast = static_cast<uintptr_t*>(std::malloc(sizeof(uintptr_t) * (gEntries.count + 1)));
  if (!gSorted || !gMaxLast) return;  // without an index, lookups scan the list
  for (uint32_t i = 0; i < gEntries.count; ++i)
    if (gEntries.items[i].covers) gSorted[gSortedCount++] = i;
  std::sort(gSorted, gSorted + gSortedCount, [](uint32_t a, uint32_t b) {
    const Entry& x = gEntries.items[a];
    const Entry& y = gEntries.items[b];
    return x.start != y.start ? x.start < y.start : a < b;
  });
  uintptr_t maxLast = 0;
  for (uint32_t i = 0; i < gSortedCount; ++i) {
    maxLast = std::max(maxLast, gEntries.items[gSorted[i]].last);
    gMaxLast[i] = maxLast;
  }
  gIndexStale = false;
}

// The first position in list order whose entry covers `address`, or -1.
int64_t FirstCoveringByScan(uintptr_t address) {
  for (uint32_t i = 0; i < gEntries.count; ++i) {
    const Entry& e = gEntries.items[i];
    if (e.covers && e.start <= address && address <= e.last) return i;
  }
  return -1;
}

int64_t FirstCoveringByIndex(uintptr_t address) {
  if (gIndexStale) RebuildIndex();
  if (gIndexStale) return FirstCoveringByScan(address);
  // Entries at or before `after` start at or below the address; walking
  // back, the running maximum says when none further back reaches it.
  uint32_t after = uint32_t(
      std::upper_bound(gSorted, gSorted + gSortedCount, address,
                       [](uintptr_t value, uint32_t i) { return value < gEntries.items[i].start; }) -
      gSorted);
  int64_t first = -1;
  for (uint32_t i = after; i-- > 0 && gMaxLast[i] >= address;) {
    uint32_t position = gSorted[i];
    if (gEntries.items[position].last >= address && (first < 0 || position < first))
      first = position;
  }
  return first;
}

uintptr_t LandingPad(uintptr_t returnAddress, int64_t (*find)(uintptr_t)) {
  pthread_mutex_lock(&gLock);
  int64_t position = find(returnAddress);
  Entry entry = position >= 0 ? gEntries.items[position] : Entry{};
  pthread_mutex_unlock(&gLock);
  if (position < 0) return 0;
  return LandingPadInLsda(entry.lsda, entry.start, returnAddress);
}

}  // namespace

void Register(const void* entry) {
  VELA_ASSERT(entry);
  if (!entry) return;
  Entry parsed = ParseEntry(static_cast<const uint8_t*>(entry));
  pthread_mutex_lock(&gLock);
  gEntries.Append(parsed);
  gIndexStale = true;
  pthread_mutex_unlock(&gLock);
}

void Unregister(const void* entry) {
  pthread_mutex_lock(&gLock);
  for (uint32_t i = gEntries.count; i-- > 0;)
    if (gEntries.items[i].fde == entry) gEntries.RemoveAt(i);
  gIndexStale = true;
  pthread_mutex_unlock(&gLock);
}

size_t RegisteredCount() {
  pthread_mutex_lock(&gLock);
  size_t count = gEntries.count;
  pthread_mutex_unlock(&gLock);
  return count;
}

uintptr_t LandingPadFor(uintptr_t returnAddress) {
  return LandingPad(returnAddress, FirstCoveringByIndex);
}

uintptr_t LandingPadByLinearScan(uintptr_t returnAddress) {
  return LandingPad(returnAddress, FirstCoveringByScan);
}

void ConfineReadsForTesting(const void* begin, size_t length) {
  gConfinedBegin = static_cast<const uint8_t*>(begin);
  gConfinedEnd = gConfinedBegin ? gConfinedBegin + length : nullptr;
}

}  // namespace vela::frametable

VELA_EXPORT void RegisterFDE(const void* entry) { vela::frametable::Register(entry); }

VELA_EXPORT void UnregisterFDE(const void* entry) { vela::frametable::Unregister(entry); }
