// `tarny convert` as a program: bytes in, bytes out, messages and exit codes.

#include <sys/wait.h>

#include <cstdlib>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/client/commands/TarnyRun.h"

namespace {

using client_test::Result;
using testing::HasSubstr;

Result Convert(const std::string& arguments, const std::string& input) {
  return client_test::Tarny("convert " + arguments, input);
}

std::string EveryByte() {
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte) bytes += static_cast<char>(byte);
  return bytes;
}

TEST(ConvertCommand, BytesComeThrough) {
  const Result text = Convert("--from windows-1252 --to utf-8", "\x80 \r\n\xE4");
  EXPECT_EQ(text.exitCode, 0);
  EXPECT_EQ(text.out, "\xE2\x82\xAC \r\n\xC3\xA4");
  EXPECT_EQ(text.err, "");
  // NULs, line ends and 0x1A are bytes like any other, there and back, by number as by name.
  const Result wide = Convert("--from 28591 --to UTF-16BE", EveryByte());
  EXPECT_EQ(wide.out.size(), 512U);
  const Result back = Convert("--from 1201 --to iso-8859-1", wide.out);
  EXPECT_EQ(back.exitCode, 0);
  EXPECT_EQ(back.out, EveryByte());
  EXPECT_EQ(Convert("--from 932 --to 65001", "").out, "");
}

TEST(ConvertCommand, WhatDoesNotMapIsToldAndLeftOut) {
  // A byte without meaning: the conversion itself reports success.
  const Result source = Convert("--from 1252 --to 65001", "a\x81z");
  EXPECT_EQ(source.exitCode, 0);
  EXPECT_EQ(source.out, "az");
  EXPECT_EQ(source.err, "had errors\n");
  // A character that the target lacks: it reports failure, with the rest converted.
  const Result target = Convert("--from 65001 --to 1252", "a\xE4\xB8\xADz");
  EXPECT_EQ(target.exitCode, 1);
  EXPECT_EQ(target.out, "az");
  EXPECT_EQ(target.err, "had errors\n");
}

TEST(ConvertCommand, APageWithoutConversionFails) {
  const Result noTable = Convert("--from asmo-449 --to utf-8", "text");
  EXPECT_EQ(noTable.exitCode, 1);
  EXPECT_EQ(noTable.out, "");
  EXPECT_EQ(noTable.err, "tarny convert: there is no conversion from page 709 to page 65001\n");
  const Result target = Convert("--from utf-16be --to euc-tw", std::string("\0a", 2));
  EXPECT_EQ(target.exitCode, 1);
  EXPECT_THAT(target.err, HasSubstr("there is no conversion from page 1201"));
  EXPECT_EQ(Convert("--from asmo-449 --to utf-16be", "text").exitCode, 1);
  const Result encoding = Convert("--from base64 --to utf-8", "text");  // no charset at all
  EXPECT_EQ(encoding.exitCode, 1);
  EXPECT_EQ(encoding.out, "");
  EXPECT_EQ(encoding.err, "tarny convert: there is no conversion from page 1 to page 65001\n");
}

TEST(ConvertCommand, BadUsageIsTold) {
  const Result from = Convert("--from klingon --to utf-8", "text");
  EXPECT_EQ(from.exitCode, 2);
  EXPECT_EQ(from.err, "tarny convert: the charset 'klingon' is unknown\n");
  const Result to = Convert("--from utf-8 --to utf-99", "text");
  EXPECT_EQ(to.exitCode, 2);
  EXPECT_THAT(to.err, HasSubstr("'utf-99'"));
  EXPECT_EQ(Convert("--from 1252 --to 99999999999", "text").exitCode, 2);
  EXPECT_EQ(Convert("--to utf-8", "text").exitCode, 2);
  EXPECT_EQ(Convert("", "text").exitCode, 2);
  const Result help = Convert("--help", "");
  EXPECT_EQ(help.exitCode, 0);
  EXPECT_THAT(help.out, HasSubstr("--from"));
}

TEST(ConvertCommand, AnOutputThatCannotBeWrittenFails) {
  const std::string command =
      "echo text | " TARNY_BIN "/tarny convert --from 1252 --to 65001 > /dev/full 2> /dev/null";
  EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), 1);
}

}  // namespace
