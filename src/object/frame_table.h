// The frame tables that compiled code registers with RegisterFDE: frame
// description entries in the exception-frame form, with their CIEs and
// language-specific data areas (call-site tables). A return address is
// looked up here first when an exception looks for its handler.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vela::frametable {

void Register(const void* entry);
// Removes every registration of `entry`.
void Unregister(const void* entry);
size_t RegisteredCount();

// The landing pad for a call that returns to `returnAddress`, or 0. The
// first registered entry whose function covers the address (start <=
// address <= start + length) decides; its call-site table gives the pad.
uintptr_t LandingPadFor(uintptr_t returnAddress);
// The same answer by a scan of the registration list in order, without the
// index. The reference for tests and the fuzz target.
uintptr_t LandingPadByLinearScan(uintptr_t returnAddress);

// Confines every read of the parser to [begin, begin + length): bytes
// outside count as missing, so a table that points elsewhere is reported
// instead of read. Nil lifts the confinement. For fuzzing and tests.
void ConfineReadsForTesting(const void* begin, size_t length);

}  // namespace vela::frametable
