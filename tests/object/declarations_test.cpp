// Checks over the whole list of declarations that the library registers at
// load: their names and how far the framework's class list is covered.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <set>
#include <string>

#include "object/class_decl.h"
#include "support/ascii.h"

namespace vela {
namespace {

std::string Lower(const char* name) {
  std::string lower;
  for (const char* c = name; *c; ++c) lower += AsciiLower(*c);
  return lower;
}

TEST(Declarations, NoTwoShareANameIgnoringCase) {
  std::map<std::string, int> seen;
  size_t count = 0;
  for (ClassDecl* decl = ClassDecl::ListHead(); decl; decl = decl->next()) {
    ++seen[Lower(decl->name())];
    ++count;
  }
  for (const auto& [name, times] : seen) EXPECT_EQ(times, 1) << name << " is declared twice";
  EXPECT_GE(count, 3u);  // at least Application, DesktopApplication and Timer
}

TEST(Declarations, EventNamesAreUniqueWithinADeclarationChain) {
  for (ClassDecl* decl = ClassDecl::ListHead(); decl; decl = decl->next()) {
    std::set<std::string> names;
    for (ClassDecl* d = decl; d; d = d->super())
      for (uint32_t i = 0; i < d->eventCount(); ++i)
        EXPECT_TRUE(names.insert(Lower(d->events()[i].name)).second)
            << decl->name() << " declares " << d->events()[i].name << " twice";
  }
}

// A report, not a check: which framework classes have their native side yet.
TEST(Declarations, CoverageOfTheFrameworkClassList) {
  std::ifstream in(VELA_SOURCE_DIR "/tests/object/framework_class_names.txt");
  ASSERT_TRUE(in) << "class name list missing";
  std::set<std::string> declared;
  for (ClassDecl* decl = ClassDecl::ListHead(); decl; decl = decl->next())
    declared.insert(Lower(decl->name()));
  std::string line, missing;
  size_t total = 0, have = 0;
  while (std::getline(in, line)) {
    if (line.empty() || line[0] == '#') continue;
    ++total;
    if (declared.count(Lower(line.c_str()))) ++have;
  }
  EXPECT_GT(total, 250u);
  std::cout << "framework classes with a declaration: " << have << " of " << total << "\n";
  RecordProperty("declared", int(have));
  RecordProperty("listed", int(total));
}

}  // namespace
}  // namespace vela
