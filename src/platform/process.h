// Process and thread services of the platform: what start-up, diagnostics and
// exception dispatch need to know about the running process.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace vela::platform {

// The usable stack of the calling native thread: the high limit and the size
// from it down to 0x4000 bytes above the low limit, where a raise still has
// room to run.
struct StackBounds {
  uintptr_t high = 0;
  size_t size = 0;
};
StackBounds CurrentThreadStackBounds();

// Resident set of the process in bytes; 0 when it cannot be read.
int64_t WorkingSetBytes();

uint64_t CurrentNativeThreadId();

// Module handles: the loaded object that contains the given address, and its
// file path. The executable's handle is ModuleContaining(nullptr).
void* ExecutableModule();
void* ModuleContaining(const void* address);
std::string ModulePath(void* module);

}  // namespace vela::platform
