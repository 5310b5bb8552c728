// The binary interface as the dynamic linker sees it: every name that
// compiled code calls must be exported by libvela.so, and nothing else may
// be, so that no internal or C++ runtime symbol becomes part of it by chance.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <vector>
#include <sstream>
#include <string>

#include "kit/child_process.h"

namespace {

std::string ReadFile(const std::string& path) {
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

// The names listed in tests/abi/exports/*.txt, one file per family of
// exports. A name listed twice is a mistake in the tables and fails the test
// that loads them.
std::set<std::string> ExpectedExports() {
  std::set<std::string> names;
  const std::filesystem::path folder = VELA_SOURCE_DIR "/tests/abi/exports";
  EXPECT_TRUE(std::filesystem::is_directory(folder)) << "cannot read " << folder;
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(folder))
    if (entry.path().extension() == ".txt") files.push_back(entry.path());
  for (const auto& path : files) {
    std::ifstream in(path);
    std::string line;
    while (std::getline(in, line)) {
      if (auto hash = line.find('#'); hash != std::string::npos) line.erase(hash);
      std::istringstream words(line);
      std::string name, extra;
      if (!(words >> name)) continue;
      EXPECT_FALSE(words >> extra) << "more than one name on a line in " << path << ": " << line;
      EXPECT_TRUE(names.insert(name).second) << name << " is listed twice";
    }
  }
  return names;
}

// Defined dynamic symbols of the shared library: name -> nm's type letter.
std::map<std::string, char> ExportedSymbols() {
  const auto result = vela::testkit::RunProgram(
      {"nm", "-D", "--defined-only", VELA_SHARED_LIBRARY}, {"LC_ALL=C"});
  EXPECT_TRUE(result.ok()) << "nm failed on " << VELA_SHARED_LIBRARY << "\n" << result.Describe();
  std::map<std::string, char> symbols;
  static const std::regex line(R"(^(?:[0-9a-fA-F]+)?\s+([A-Za-z])\s+(\S+)$)");
  std::istringstream lines(result.out);
  std::string text;
  while (std::getline(lines, text)) {
    std::smatch match;
    if (!std::regex_match(text, match, line)) {
      ADD_FAILURE() << "unexpected nm line: " << text;
      continue;
    }
    std::string name = match[2];
    if (auto at = name.find('@'); at != std::string::npos) name.erase(at);  // version suffix
    symbols[name] = match[1].str()[0];
  }
  return symbols;
}

std::string Join(const std::set<std::string>& names) {
  std::string text;
  for (const auto& name : names) text += "\n  " + name;
  return text;
}

class ExportTable : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    sExpected = new std::set<std::string>(ExpectedExports());
    sExported = new std::map<std::string, char>(ExportedSymbols());
  }
  static void TearDownTestSuite() {
    delete sExpected;
    delete sExported;
  }
  static std::set<std::string>* sExpected;
  static std::map<std::string, char>* sExported;
};
std::set<std::string>* ExportTable::sExpected = nullptr;
std::map<std::string, char>* ExportTable::sExported = nullptr;

TEST_F(ExportTable, TableIsReadable) {
  // The families present from the start; an empty or unreadable table would
  // make every other check pass by default.
  EXPECT_GE(sExpected->size(), 80u);
  EXPECT_TRUE(sExpected->count("RuntimeNewObject"));
  EXPECT_TRUE(sExpected->count("StringFromCString"));
  EXPECT_TRUE(sExpected->count("MainExport"));
}

TEST_F(ExportTable, EveryExpectedNameIsExported) {
  std::set<std::string> missing;
  for (const auto& name : *sExpected)
    if (!sExported->count(name)) missing.insert(name);
  EXPECT_TRUE(missing.empty()) << missing.size() << " exports are missing from "
                               << VELA_SHARED_LIBRARY << ":" << Join(missing);
}

TEST_F(ExportTable, EveryExportIsAFunctionInTheCodeSection) {
  std::set<std::string> notCode;
  for (const auto& name : *sExpected) {
    auto found = sExported->find(name);
    if (found != sExported->end() && found->second != 'T')
      notCode.insert(name + " (type " + found->second + ")");
  }
  EXPECT_TRUE(notCode.empty()) << "exports that are not plain functions:" << Join(notCode);
}

TEST_F(ExportTable, NothingOutsideTheTableIsExported) {
  std::set<std::string> cxx, stray;
  for (const auto& [name, type] : *sExported) {
    if (name.rfind("_Z", 0) == 0)
      cxx.insert(name);
    else if (!sExpected->count(name))
      stray.insert(name + " (type " + type + ")");
  }
  EXPECT_TRUE(cxx.empty()) << "C++ symbols leak from the library:" << Join(cxx);
  EXPECT_TRUE(stray.empty())
      << "exported but not in tests/abi/exports/<family>.txt (add the name there if the "
         "export is meant, or give the definition hidden visibility):"
      << Join(stray);
}

// Every function that the public headers declare as part of the interface is
// in the table, so a header cannot grow without the export check growing too.
TEST_F(ExportTable, PublicHeadersDeclareOnlyListedNames) {
  namespace fs = std::filesystem;
  const std::regex declaration(R"(VELA_API[^;(]*?\b([A-Za-z_]\w*)\s*\()");
  std::set<std::string> unlisted;
  size_t declared = 0;
  for (const auto& entry : fs::directory_iterator(VELA_SOURCE_DIR "/include/vela")) {
    if (entry.path().extension() != ".h") continue;
    // Declarations only: preprocessor lines (the macro's own definition) go.
    std::istringstream lines(ReadFile(entry.path().string()));
    std::string text, line;
    while (std::getline(lines, line))
      if (line.find_first_not_of(" \t") == std::string::npos ||
          line[line.find_first_not_of(" \t")] != '#')
        text += line + "\n";
    for (std::sregex_iterator it(text.begin(), text.end(), declaration), end; it != end; ++it) {
      // Declarations that a macro table generates (name##Getter) are checked
      // by the export list itself.
      size_t at = size_t(it->position(1));
      if (at > 0 && text[at - 1] == '#') continue;
      ++declared;
      if (!sExpected->count((*it)[1])) unlisted.insert((*it)[1]);
    }
  }
  EXPECT_GE(declared, 80u);
  EXPECT_TRUE(unlisted.empty()) << "declared in include/vela but not in the export table:"
                                << Join(unlisted);
}

}  // namespace
