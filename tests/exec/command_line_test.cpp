#include <gtest/gtest.h>

#include "exec/command_line.h"

namespace vela {
namespace {

using Tokens = std::vector<std::string>;

TEST(CommandLine, BlanksSeparateAndAreSkipped) {
  EXPECT_EQ(TokenizeCommandLine("  a.txt \t b.txt  "), (Tokens{"a.txt", "b.txt"}));
  EXPECT_TRUE(TokenizeCommandLine("").empty());
  EXPECT_TRUE(TokenizeCommandLine("   ").empty());
}

TEST(CommandLine, QuotedTokensKeepTheirBlanks) {
  EXPECT_EQ(TokenizeCommandLine("\"My File.txt\" other"), (Tokens{"My File.txt", "other"}));
  // A quote ends the token even without a blank behind it.
  EXPECT_EQ(TokenizeCommandLine("\"a b\"c"), (Tokens{"a b", "c"}));
  EXPECT_EQ(TokenizeCommandLine("\"\""), (Tokens{""}));
}

TEST(CommandLine, UnclosedQuoteRunsToTheEnd) {
  EXPECT_EQ(TokenizeCommandLine("x \"/tmp/open ended"), (Tokens{"x", "/tmp/open ended"}));
}

TEST(CommandLine, JoinedArgumentsSplitBackUnchanged) {
  Tokens arguments{"/home/u/My Documents/a.txt", "plain", "", "tab\there"};
  EXPECT_EQ(TokenizeCommandLine(JoinCommandLine(arguments)), arguments);
}

}  // namespace
}  // namespace vela
