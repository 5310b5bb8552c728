// vela-pack: makes a runnable application of an image by appending it to a
// copy of the stub and writing the image's file offset over the "PICK" mark
// in the stub's section "velaimg".
//
//   vela-pack [--stub STUB] -o PROGRAM IMAGE
//
// Without --stub the stub installed beside the tool is taken: vela-stub in
// the same folder, else ../libexec/vela/vela-stub.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "object/loader_format.h"
#include "support/elf_image.h"

namespace {

bool ReadFile(const std::string& path, std::vector<uint8_t>* bytes) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  bytes->assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  return true;
}

int Fail(const std::string& message) {
  std::fprintf(stderr, "vela-pack: %s\n", message.c_str());
  return 1;
}

std::string DefaultStub() {
  char self[4096];
  ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
  if (n <= 0) return "vela-stub";
  std::string folder(self, size_t(n));
  folder.erase(folder.rfind('/'));
  std::string beside = folder + "/vela-stub";
  if (access(beside.c_str(), X_OK) == 0) return beside;
  return folder + "/../libexec/vela/vela-stub";
}

}  // namespace

int main(int argc, char** argv) {
  std::string stubPath, output, imagePath;
  for (int i = 1; i < argc; ++i) {
    std::string arg = argv[i];
    if ((arg == "--stub" || arg == "-o") && i + 1 < argc) {
      (arg == "-o" ? output : stubPath) = argv[++i];
    } else if (arg[0] != '-' && imagePath.empty()) {
      imagePath = arg;
    } else {
      imagePath.clear();
      break;
    }
  }
  if (output.empty() || imagePath.empty()) {
    std::fprintf(stderr, "usage: vela-pack [--stub STUB] -o PROGRAM IMAGE\n");
    return 2;
  }
  if (stubPath.empty()) stubPath = DefaultStub();

  std::vector<uint8_t> stub, image;
  if (!ReadFile(stubPath, &stub)) return Fail("cannot read the stub " + stubPath);
  if (!ReadFile(imagePath, &image)) return Fail("cannot read the image " + imagePath);
  vela::ElfImage elf = vela::ElfImage::Parse(stub);
  if (!elf.ok()) return Fail(stubPath + ": " + elf.error());
  const vela::ElfSection* section = elf.FindSection(vela::image::kOffsetSection);
  if (!section || section->type == 8 /* SHT_NOBITS */ || section->size < 4)
    return Fail(stubPath + " has no section " + vela::image::kOffsetSection +
                " to hold the offset");
  uint8_t* mark = stub.data() + section->offset;
  if (std::memcmp(mark, vela::image::kUnpackedMark, 4) != 0)
    return Fail(stubPath + " carries an image already");
  if (stub.size() > UINT32_MAX) return Fail("the stub is larger than 4 GiB");
  uint32_t offset = uint32_t(stub.size());
  std::memcpy(mark, &offset, 4);

  std::string temporary = output + ".part";
  {
    std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(stub.data()), std::streamsize(stub.size()));
    out.write(reinterpret_cast<const char*>(image.data()), std::streamsize(image.size()));
    if (!out.flush()) {
      std::remove(temporary.c_str());
      return Fail("cannot write " + output);
    }
  }
  if (chmod(temporary.c_str(), 0755) != 0 || std::rename(temporary.c_str(), output.c_str()) != 0) {
    std::remove(temporary.c_str());
    return Fail("cannot make " + output);
  }
  return 0;
}
