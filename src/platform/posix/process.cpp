#include "platform/process.h"

#include <dlfcn.h>
#include <link.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdio>

namespace vela::platform {

StackBounds CurrentThreadStackBounds() {
  StackBounds bounds;
  pthread_attr_t attr;
  if (pthread_getattr_np(pthread_self(), &attr) != 0) return bounds;
  void* low = nullptr;
  size_t size = 0;
  if (pthread_attr_getstack(&attr, &low, &size) == 0 && size > 0x4000) {
    bounds.high = reinterpret_cast<uintptr_t>(low) + size;
    bounds.size = size - 0x4000;
  }
  pthread_attr_destroy(&attr);
  return bounds;
}

int64_t WorkingSetBytes() {
  FILE* statm = std::fopen("/proc/self/statm", "r");
  if (!statm) return 0;
  long long total = 0, resident = 0;
  int fields = std::fscanf(statm, "%lld %lld", &total, &resident);
  std::fclose(statm);
  if (fields != 2) return 0;
  return int64_t(resident) * int64_t(sysconf(_SC_PAGESIZE));
}

uint64_t CurrentNativeThreadId() { return uint64_t(syscall(SYS_gettid)); }

namespace {

// Walks the loaded objects; the main program comes first, with an empty name.
struct ModuleQuery {
  void* base = nullptr;  // in: the module to name, or nil for the main program
  void* foundBase = nullptr;
  std::string path;
  bool found = false;
};

void* LoadBase(const dl_phdr_info* info) {
  for (int i = 0; i < info->dlpi_phnum; ++i)
    if (info->dlpi_phdr[i].p_type == PT_LOAD)
      return reinterpret_cast<void*>(info->dlpi_addr + info->dlpi_phdr[i].p_vaddr -
                                     info->dlpi_phdr[i].p_offset);
  return nullptr;
}

int VisitModule(dl_phdr_info* info, size_t, void* data) {
  auto* query = static_cast<ModuleQuery*>(data);
  void* base = LoadBase(info);
  if (query->base && base != query->base) return 0;
  query->foundBase = base;
  query->path = info->dlpi_name ? info->dlpi_name : "";
  query->found = true;
  return 1;
}

}  // namespace

void* ExecutableModule() {
  ModuleQuery query;
  dl_iterate_phdr(VisitModule, &query);
  return query.foundBase;
}

void* ModuleContaining(const void* address) {
  Dl_info info;
  if (!address || !dladdr(address, &info)) return nullptr;
  return info.dli_fbase;
}

std::string ModulePath(void* module) {
  if (!module) return {};
  ModuleQuery query;
  query.base = module;
  dl_iterate_phdr(VisitModule, &query);
  if (query.found && query.path.empty()) {
    char exe[4096];
    ssize_t n = readlink("/proc/self/exe", exe, sizeof exe - 1);
    if (n > 0) query.path.assign(exe, size_t(n));
  }
  return query.path;
}

}  // namespace vela::platform
