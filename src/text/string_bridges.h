// Raw text handed to application code: C, Pascal and wide strings copied out
// of string records. Each copy is a heap block registered with a count in
// its family's map; the exported Lock, Unlock and Swap functions count it,
// and the last Unlock frees it. Pointers that are not registered (the shared
// empty constants, text from elsewhere) are ignored by all of them.
//
// The maps are not locked: only language threads touch them, one at a time
// under the cooperative turn.
#pragma once

#include <cstdint>

namespace vela {

enum class RawTextKind { kC, kPascal, kWide };

// The count of a registered block, or 0 when `text` is not registered.
int32_t RawTextLockCount(RawTextKind kind, const void* text);

// Registers a fresh malloc'd block with the count 1, for other bridges
// (Text) that hand out raw text; on failure the block is freed and false
// returned.
bool RegisterRawText(RawTextKind kind, void* block);

}  // namespace vela
