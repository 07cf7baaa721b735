#include "body/rtf/CompressedRtf.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/body/RtfSupport.h"

namespace {

std::string Number(std::uint32_t value) {
  std::string bytes;
  for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(value >> shift);
  return bytes;
}

std::string WithHeader(std::string_view kind, std::string_view data, std::size_t textSize,
                       std::uint32_t checksum) {
  return Number(static_cast<std::uint32_t>(data.size() + 12)) +
         Number(static_cast<std::uint32_t>(textSize)) + std::string(kind) + Number(checksum) +
         std::string(data);
}

// The bytewise form of the checksum, as its definition has it.
std::uint32_t NaiveChecksum(std::string_view data) {
  std::uint32_t crc = 0;
  for (const char c : data) {
    crc ^= static_cast<unsigned char>(c);
    for (int bit = 0; bit < 8; ++bit) crc = crc >> 1 ^ (crc & 1 ? 0xEDB88320u : 0);
  }
  return crc;
}

// Bytes as they are, eight behind each control byte, and the end mark.
std::string PackLiterally(std::string_view text) {
  std::string data;
  std::size_t at = 0;
  for (; text.size() - at >= 8; at += 8) data.append(1, '\0').append(text.substr(at, 8));
  const std::size_t rest = text.size() - at;
  data += static_cast<char>(1 << rest);
  data += text.substr(at);
  const std::size_t end = (207 + text.size()) % 4096 << 4;
  data += static_cast<char>(end >> 8);
  data += static_cast<char>(end);
  return WithHeader("LZFu", data, text.size(), NaiveChecksum(data));
}

TEST(CompressedRtf, ReadsBothForms) {
  const std::string text = "{\\rtf1 hello hello}";
  const std::string stored = WithHeader("MELA", text, text.size(), 0);
  ASSERT_TRUE(rtf::IsCompressedRtf(stored));
  EXPECT_EQ(rtf::DecompressRtf(stored).strRtf, text);
  for (const std::size_t size : {0u, 1u, 7u, 8u, 9u, 4000u, 9000u}) {
    std::string long_text;
    while (long_text.size() < size) long_text += "abcdefghij";
    const rtf::DecompressedRtf result = rtf::DecompressRtf(PackLiterally(long_text));
    EXPECT_EQ(result.strRtf, long_text);
    EXPECT_TRUE(result.bComplete && result.bChecksumOk) << size;
  }
  EXPECT_EQ(BodyOf(Convert(PackLiterally("{\\rtf1 a\\par}")).strHtml),
            "<p style=\"margin:0\">a</p>");
  EXPECT_FALSE(rtf::IsCompressedRtf("{\\rtf1 LZFu}"));
}

// References into the words that the ring begins with, and one that runs into what it writes.
TEST(CompressedRtf, FollowsReferences) {
  std::string data;
  data += '\x0F';              // four references
  data.append("\x00\x04", 2);  // place 0, 6 bytes: {\rtf1
  data.append("\x0C\xD1", 2);  // place 205, 3 bytes: tx and the first {
  data.append("\x0D\x33", 2);  // place 211, 5 bytes that are being written
  const std::size_t end = (207 + 6 + 3 + 5) << 4;
  data += static_cast<char>(end >> 8);
  data += static_cast<char>(end);
  const auto result = rtf::DecompressRtf(WithHeader("LZFu", data, 14, NaiveChecksum(data)));
  EXPECT_EQ(result.strRtf, "{\\rtf1tx{f1tx{");
  EXPECT_TRUE(result.bComplete && result.bChecksumOk);
}

TEST(CompressedRtf, DamageCostsOnlyWhatItHits) {
  const std::string text = "{\\rtf1 some text}";
  const std::string packed = PackLiterally(text);
  for (std::size_t size = 16; size < packed.size(); ++size) {
    const rtf::DecompressedRtf cut = rtf::DecompressRtf(packed.substr(0, size));
    EXPECT_FALSE(cut.bComplete) << size;
    EXPECT_TRUE(text.starts_with(cut.strRtf)) << size;
  }
  std::string wrong = packed;
  wrong[12] ^= 1;
  EXPECT_EQ(rtf::DecompressRtf(wrong).strRtf, text);
  EXPECT_EQ(Convert(wrong).objNotes.Lines(),
            std::vector<std::string>{"the checksum of the compressed text is wrong"});
  wrong = packed;
  wrong[4] = 99;  // the length of the text
  EXPECT_EQ(rtf::DecompressRtf(wrong).strRtf, text);
  EXPECT_EQ(Convert(wrong).objNotes.Lines(),
            std::vector<std::string>{"the compressed text is cut, or not as long as it says"});
}

}  // namespace
