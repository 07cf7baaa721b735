#include "platform/Base64.h"

#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <random>

#include "platform/Sha256.h"

namespace {

using platform::Base64Decode;
using platform::Base64Encode;

TEST(Base64, AgreesWithTheJudgeAtEveryLength) {
  std::mt19937 random(7);
  for (size_t length = 0; length < 200; ++length) {
    std::string bytes(length, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random());
    std::string expected(platform::Base64Length(length) + 1, '\0');
    EVP_EncodeBlock(reinterpret_cast<unsigned char*>(expected.data()),
                    reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<int>(length));
    expected.pop_back();
    ASSERT_EQ(Base64Encode(bytes), expected);
    std::string decoded;
    ASSERT_TRUE(Base64Decode(expected, decoded));
    ASSERT_EQ(decoded, bytes);
    for (size_t at = 0; at <= expected.size(); ++at) {
      std::string broken = expected;
      broken.insert(at, "\r\n ");
      ASSERT_TRUE(Base64Decode(broken, decoded));
      ASSERT_EQ(decoded, bytes);
    }
  }
}

TEST(Base64, WhatIsMalformedGivesNothing) {
  for (const char* text : {"A", "AA", "AAA", "AAAA=", "AAAAA===", "=", "====", "A===", "AA=A",
                           "AA==AAAA", "AA==x", "AA*A", "AAA\x80", "AA=", "AAAAAA-_"}) {
    std::string bytes = "before";
    EXPECT_FALSE(Base64Decode(text, bytes)) << text;
    EXPECT_EQ(bytes, "");
  }
  std::string bytes;
  EXPECT_TRUE(Base64Decode(" \n", bytes));
  EXPECT_EQ(bytes, "");
}

TEST(Sha256, PiecesGiveTheHashOfTheWhole) {
  EXPECT_EQ(platform::Sha256Hex("abc"),
            "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  platform::Sha256 hash;
  hash.Update("a");
  hash.Update("");
  hash.Update("bc");
  EXPECT_EQ(hash.Hex(), platform::Sha256Hex("abc"));
}

}  // namespace
