// The stored form of a table: what it says when it is whole, and that damage is noticed.

#include <bzlib.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ConversionSupport.h"
#include "charset/HashConvert.h"
#include "charset/StoredTable.h"
#include "charset/UnicodeLookup.h"
#include "platform/Base64.h"

namespace {

using mail::HashConvert;
using mail::stored_table::Contents;

// 80 is 20AC, 82 is 201A; the pair 8141 is 4E02, 8140 is 201A too.
const std::string kTable =
    Bytes("a-\x80\xAC\x20\x02\x6E\xFF\0\x41\x81\x02\x4E\xFF\xFF\x18\xD2\0\0");

std::string Packed(std::string_view table, std::uint32_t magic = mail::stored_table::kMagic,
                   long size = -1) {
  std::string stream(table.size() + 1000, '\0');
  auto length = static_cast<unsigned>(stream.size());
  std::string input(table);
  EXPECT_EQ(BZ2_bzBuffToBuffCompress(stream.data(), &length, input.data(),
                                     static_cast<unsigned>(input.size()), 1, 0, 0),
            BZ_OK);
  const auto claimed =
      static_cast<std::uint32_t>(size < 0 ? static_cast<long>(table.size()) : size);
  std::string packed;
  for (const std::uint32_t number : {magic, claimed}) {
    for (unsigned n = 0; n < 4; ++n) packed += static_cast<char>(number >> 8 * n);
  }
  return packed + stream.substr(0, length);
}

std::string Stored(char letter, std::string_view bytes) {
  return letter + platform::Base64Encode(bytes);
}

std::optional<std::string> Unpack(std::string_view packed) {
  return mail::stored_table::unpack(Stored('c', packed));
}

Contents Parsed(std::string_view table) {
  const std::optional<Contents> contents = mail::stored_table::parse(table);
  EXPECT_TRUE(contents.has_value());
  return contents.value_or(Contents{});
}

TEST(TablesStored, BothLettersGiveTheTable) {
  EXPECT_EQ(mail::stored_table::unpack(Stored('x', kTable)), kTable);
  EXPECT_EQ(Unpack(Packed(kTable)), kTable);
  EXPECT_EQ(mail::stored_table::unpack(Stored('y', kTable)), std::nullopt);
  EXPECT_EQ(mail::stored_table::unpack(""), std::nullopt);
  EXPECT_EQ(mail::stored_table::unpack("x!"), std::nullopt);
}

TEST(TablesStored, OneTableServesBothDirections) {
  const Contents contents = Parsed(kTable);
  HashConvert to(1, HashConvert::Direction::kToUnicode);
  ASSERT_TRUE(to.load(contents));
  EXPECT_TRUE(to.isAscii());
  EXPECT_EQ(to.single(0x80), 0x20AC);
  EXPECT_EQ(to.single(0x82), 0x201A);
  EXPECT_EQ(to.single('A'), 'A');
  EXPECT_EQ(to.lookup(0x8141), 0x4E02);
  EXPECT_EQ(to.lookup(0x8140), 0x201A);
  EXPECT_EQ(to.lookup(0x8142), 0);

  HashConvert from(1, HashConvert::Direction::kFromUnicode);
  ASSERT_TRUE(from.load(contents));
  EXPECT_EQ(from.lookup(0x20AC), 0x80);
  EXPECT_EQ(from.lookup(0x201A), 0x82);  // the first of two codes stays
  EXPECT_EQ(from.lookup(0x4E02), 0x8141);
  EXPECT_EQ(from.lookup(0x4E03), 0);

  const mail::UnicodeLookup flat(to);
  EXPECT_EQ(flat.unit(0x80), 0x20AC);
  EXPECT_EQ(flat.unit(0), 0);
  EXPECT_EQ(flat.utf8()[0x80], 0x03AC82E2U);
}

TEST(TablesStored, AnEditForgetsAndAddsPlainlyWhenWriting) {
  const std::string edit = Bytes("ad\x1A\x20\0\0\x90\xAD\x20\0\x40\x81\x1A\x20\0\0");
  HashConvert from(1, HashConvert::Direction::kFromUnicode);
  ASSERT_TRUE(from.load(Parsed(kTable)));
  ASSERT_TRUE(from.load(Parsed(edit)));
  EXPECT_EQ(from.lookup(0x201A), 0x8140);
  EXPECT_EQ(from.lookup(0x20AD), 0x90);
  EXPECT_EQ(from.lookup(0x20AC), 0x80);
  HashConvert to(1, HashConvert::Direction::kToUnicode);
  EXPECT_FALSE(to.load(Parsed(edit)));
}

TEST(TablesStored, ShortPackedBuffersUnpackToNothing) {
  EXPECT_EQ(Unpack(""), "");
  EXPECT_EQ(Unpack("1234567"), "");
  EXPECT_EQ(mail::stored_table::parse(""), std::nullopt);
}

TEST(TablesStored, DamageIsNoticed) {
  const std::string good = Packed(kTable);
  EXPECT_EQ(Unpack(Packed(kTable, 0xB394A7E2)), std::nullopt);
  const long size = static_cast<long>(kTable.size());
  for (const long lie : {0L, size - 1, size + 1, 0x100000L, 0x100001L, 0xFFFFFFFFL}) {
    EXPECT_EQ(Unpack(Packed(kTable, mail::stored_table::kMagic, lie)), std::nullopt) << lie;
  }
  for (std::size_t cut = 8; cut < good.size(); ++cut) {
    EXPECT_EQ(Unpack(good.substr(0, cut)), std::nullopt) << cut;
  }
  for (std::size_t n = 0; n < good.size() * 8; ++n) {
    std::string bad = good;
    bad[n / 8] = static_cast<char>(bad[n / 8] ^ 1 << n % 8);
    // The letters of the block's end and unused bits may not matter; never is it another table.
    EXPECT_THAT(Unpack(bad).value_or(kTable), kTable) << n;
  }
}

TEST(TablesStored, ATableThatEndsEarlyIsRefused) {
  for (std::size_t cut = 0; cut < kTable.size(); ++cut) {
    EXPECT_FALSE(mail::stored_table::parse(std::string_view(kTable).substr(0, cut))) << cut;
  }
  EXPECT_FALSE(mail::stored_table::parse(Bytes("a-\0\x41\0\x02\x4E\0\0")));  // a pair of one byte
}

}  // namespace
