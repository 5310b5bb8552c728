/* The stub of every application: a small program linked against the runtime
 * that hands its arguments to MainExport. vela-pack appends the application
 * image to a copy of it and writes the image's file offset over "PICK". */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <stdint.h>

#include "vela/application.h"

__attribute__((section("velaimg"), used, aligned(8))) static const char kImageOffset[8] = "PICK";

/* The linker's symbol for this program's ELF header: its module handle. */
extern const char __ehdr_start[];

int main(int argc, char **argv, char **envp) {
  void *framework = NULL;
  Dl_info info;
  if (dladdr((void *)MainExport, &info)) framework = info.dli_fbase;
  return MainExport((void *)__ehdr_start, argc, (intptr_t)argv, (intptr_t)envp, framework);
}
