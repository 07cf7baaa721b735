#include "client/sources/ArchiveFiles.h"

#include <algorithm>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "client/run/Plan.h"
#include "platform/Base64.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WorkTime.h"

namespace client {
namespace {

using test_support::GrowsLinearly;
using test_support::TemporaryFolder;

const std::string kMbox = "From a@b Tue Mar  5 09:00:00 2024\n";

// The least first.
std::string Number(std::uint64_t number, int bytes) {
  std::string text;
  for (int i = 0; i < bytes; ++i) text += static_cast<char>(number >> (8 * i));
  return text;
}

std::string Tar(const std::string& name, const std::string& bytes) {
  std::string member(512 + (bytes.size() + 511) / 512 * 512, '\0');
  std::ranges::copy(name, member.begin());
  std::ranges::copy(fmt::format("{:011o}", bytes.size()), member.begin() + 124);
  std::ranges::copy(std::string("ustar"), member.begin() + 257);
  std::ranges::copy(bytes, member.begin() + 512);
  return member;
}

// As the first programs wrote them: without a mark, and with a sum of their bytes.
std::string OldTar(const std::string& name, const std::string& bytes, bool isSigned = false) {
  std::string member = Tar(name, bytes);
  member.replace(257, 5, 5, '\0');
  member.replace(148, 8, "        ");
  int sum = 0;
  for (const char c : member.substr(0, 512)) {
    sum += isSigned ? static_cast<signed char>(c) : static_cast<unsigned char>(c);
  }
  return member.replace(148, 8, fmt::format("{:6o} ", sum) + '\0');
}

struct Member {
  std::string name;
  std::string bytes;  // as they lie there
  int method = 0;
  int flags = 0;
};

std::string Zip(const std::vector<Member>& members) {
  std::string file;
  std::string list;
  for (const Member& member : members) {
    const std::string common = Number(20, 2) + Number(member.flags, 2) + Number(member.method, 2) +
                               std::string(8, '\0') + Number(member.bytes.size(), 4) +
                               Number(member.bytes.size(), 4) + Number(member.name.size(), 2);
    list += "PK\x01\x02" + Number(20, 2) + common + std::string(12, '\0') + Number(file.size(), 4) +
            member.name;
    file += "PK\x03\x04" + common + Number(0, 2) + member.name + member.bytes;
  }
  return file + list + "PK\x05\x06" + Number(0, 4) + Number(members.size(), 2) +
         Number(members.size(), 2) + Number(list.size(), 4) + Number(file.size(), 4) + Number(0, 2);
}

// In one block, as it stands.
std::string Gzip(const std::string& bytes) {
  std::uint32_t sum = 0xFFFFFFFF;
  for (const char c : bytes) {
    sum ^= static_cast<unsigned char>(c);
    for (int bit = 0; bit < 8; ++bit) sum = (sum & 1) != 0 ? sum >> 1 ^ 0xEDB88320 : sum >> 1;
  }
  return std::string("\x1F\x8B\x08\0\0\0\0\0\0\xFF\x01", 11) + Number(bytes.size(), 2) +
         Number(~bytes.size(), 2) + bytes + Number(~sum, 4) + Number(bytes.size(), 4);
}

// As uuencode and base64 write it.
std::string Uu(const std::string& name, const std::string& bytes) {
  std::string text = "begin 755 " + name + "\n";
  for (std::size_t at = 0; at < bytes.size(); at += 45) {
    std::string line = bytes.substr(at, 45);
    text += static_cast<char>(' ' + line.size());
    line.resize((line.size() + 2) / 3 * 3);
    for (std::size_t i = 0; i < line.size(); i += 3) {
      const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(line[i + k]); };
      const unsigned group = byte(0) << 16 | byte(1) << 8 | byte(2);
      for (int bits = 18; bits >= 0; bits -= 6) {
        text += static_cast<char>(' ' + (group >> bits & 63));
      }
    }
    text += '\n';
  }
  return text + "`\nend\n";
}

std::string Base64(const std::string& bytes) {
  const std::string all = platform::Base64Encode(bytes);
  std::string text;
  for (std::size_t at = 0; at < all.size(); at += 76) text += all.substr(at, 76) + "\r\n";
  return text;
}

const std::string kStub = "MZ" + std::string(3000, 'x') + "Rar!\x1A\x07, PK\x05\x06" +
                          std::string("7z\xBC\xAF\x27\x1C\0", 7) + std::string(200000, 'x');
// The headers of archives, and what they say that stands behind.
const std::string kRar("Rar!\x1A\x07\0..\x73", 10);
const std::string kRar5("Rar!\x1A\x07\x01\0....\x8A\x00\x04...", 18);
const std::string k7z =
    std::string("7z\xBC\xAF\x27\x1C\0\x04....", 12) + Number(3, 8) + Number(2, 8) + "....";

// A mail with two fields.
const std::string kDeflatedMail("\013\311\267RHtH\342\012.M\312JM.\261R\250\340\342\002\000", 22);

// A header, and in the sector behind it a list of streams.
std::string Compound(std::u16string_view stream) {
  std::string file = "\xD0\xCF\x11\xE0" + std::string(508, '\0');
  file[30] = 9;  // sectors of 512 bytes
  for (const char16_t unit : stream) file += Number(unit, 2);
  return file;
}

TEST(ArchiveFiles, WhatMayHoldMailIsALossByAnyName) {
  const std::string notes = Tar("notes.txt", "Note: one field\n");
  const std::string far = Tar("a.bin", std::string(20000, 'x')) + Tar("12", kMbox);
  const std::string joined = notes + std::string(1024, '\0') + Tar("12", kMbox);
  const std::string lost[] = {
      Tar("notes/", "") + Tar("notes/1", kMbox),
      Tar("Maildir/cur/1:2,S", ""),
      far,
      far.substr(0, far.size() - 600),
      notes + "no tar",
      joined,
      notes + std::string(3 << 20, '\0') + OldTar("12", kMbox),
      notes + std::string(512, '\0') + notes + std::string(512, 'x') + far,
      Gzip(joined),
      Gzip(notes + std::string(1024, '\0')) + Gzip(Tar("12", kMbox)),
      OldTar("a.bin", "x") + OldTar("K\xC3\xB6ln", kMbox),
      OldTar("1", kMbox + "A: b\nC: d\n\n") + OldTar("2", kMbox),
      Gzip(far),
      Gzip(OldTar("1", kMbox)),
      OldTar("K\xC3\xB6ln", kMbox, /*isSigned=*/true),
      Gzip(notes).substr(0, 560),
      Gzip(kMbox),
      Gzip("!BDN"),
      Gzip(Zip({})),
      "\x1F\x8B",
      Zip({{"m/", ""}, {"m/1.EML", "x"}}),
      Zip({{"a.bin", std::string(20000, 'x')}, {"Inbox", kMbox}}),
      Zip({{"12", kDeflatedMail, 8}}),
      Zip({{"notes.txt", "x", 0, 1}}),
      Zip({{"notes.txt", "x", 99}}),
      Zip({{"a.zip", Zip({{"b", "x"}})}}),
      Zip({{"Accounts/com.microsoft.__Messages/message_00001.xml", "<?xml"}}),
      Zip({{"notes.txt", "x"}}).substr(0, 60),
      "7z\xBC\xAF\x27\x1C",
      "Rar!\x1A\x07\x01",
      "BZh91AY",
      std::string("\xFD"
                  "7zXZ\0",
                  6),
      "\x28\xB5\x2F\xFD",
      "\x1F\x9D",
      "\x04\x22\x4D\x18\n\n" + kMbox + "A: 1\nB: 2\n\n",
      "!!-lh0-\n\n" + kMbox + "A: 1\nB: 2\n\n",
      "!BDN",
      "JMF9",
      Compound(u"__substg1.0_0037001F"),
      Uu("a.tar", far),
      Uu("a.bin", Zip({{"12", kDeflatedMail, 8}})),
      Uu("a.7z", "?"),
      Uu("Inbox", kMbox),
      "begin-base64 644 a\n" + Base64(Gzip(joined)),
      Base64(Zip({{"a.bin", std::string(20000, 'x')}, {"Inbox", kMbox}})),
      Base64("Rar!\x1A\x07\x01" + std::string(20, '\0')),
      kStub + Zip({{"m/1.eml", "x"}}),
      kStub + Zip({{"12", kDeflatedMail, 8}}) + std::string(7000, '\x02'),
      kStub + Zip({{"data1.cab", "?"}, {"notes.txt", "x", 0, 1}}),
      kStub + Zip({{"data1.cab", "?"}, {"12", kMbox}}),
      kStub + kRar,
      kStub + kRar5,
      kStub + k7z + "..[]]",
      Uu("a.exe", kStub.substr(0, 3000) + Zip({{"notes.txt", "x", 0, 1}})),
  };
  const std::string none[] = {
      notes,
      notes + std::string(1024, '\0') + notes + std::string(10240, '\0') + "filling",
      OldTar("notes.txt", "Note: one field\n"),
      Gzip(notes),
      Gzip("Note: one field is none\n"),
      Zip({{"notes.txt", "x"}}),
      Zip({}),
      Zip({{"[Content_Types].xml", "<?xml"}, {"word/x.xlsx", Zip({{"[Content_Types].xml", "<"}})}}),
      Zip({{"META-INF/MANIFEST.MF", "Manifest-Version: 1.0\nCreated-By: x\n"}}),
      Compound(u"WordDocument"),
      Uu("notes.tar", notes),
      Uu("x.jpg", "\xFF\xD8\xFF\xE0"),
      Base64(Gzip(notes)),
      "begin 100 of them\nFrom here on\n",
      "ThisIsOneLongWordWithoutAnyBlankInIt\nFrom here on\n",
      kStub,
      kStub + Zip({{"notes.txt", "x"}, {"setup.dll", "MZ"}}),
      kStub + Zip({{"data1.cab", "MSCF"}, {"lib/x.jar", Zip({{"b", "x"}})}, {"x.dll", "x", 14}}),
      kStub + ";!@Install@!UTF-8!\n;!@InstallEnd@!" + k7z + "..[]]",
      kStub + k7z,
      "%PDF-1.4\n",
      "\xFF\xD8\xFF\xE0",
  };
  const TemporaryFolder folder;
  for (std::size_t i = 0; i < std::size(lost); ++i) {
    folder.Write("lost/" + std::to_string(i) + ".x", lost[i]);
  }
  for (std::size_t i = 0; i < std::size(none); ++i) {
    folder.Write("none/" + std::to_string(i) + ".x", none[i]);
  }
  for (const char* name : {"a.7z", "b.RAR", "c.ost", "d.olm", "e.2021.mbox.xz", "f.msg", "g.tbb"}) {
    folder.Write(std::string("lost/") + name, "?");
  }
  folder.Write("lost/old.iso", std::string(40000, '\0') + "\n" + kMbox + "A: 1\nB: 2\n\n");
  folder.Write("lost/dovecot.tar", far);
  folder.Write("lost/.hidden", far);
  folder.Write("none/._a.zip", "?");
  folder.Write("none/x.wab", "?");
  std::size_t losses = 0;
  const Plan plan = MakePlan({folder.Path()});
  EXPECT_TRUE(plan.entries.empty());
  for (const SourceProblem& problem : plan.problems) {
    const bool isLost = problem.location.find("/lost/") != std::string::npos;
    EXPECT_EQ(problem.isUnread, isLost) << problem.location << ": " << problem.reason;
    losses += problem.isUnread ? 1 : 0;
  }
  EXPECT_EQ(losses, std::size(lost) + 10);
}

// Behind each end the next member stands one block on, or beyond a hole.
TEST(ArchiveFiles, NoMoreIsReadBehindTheEndsOfTarFilesThanIsThere) {
  const std::string pair = std::string(512, '\0') + Tar("a", "");
  EXPECT_TRUE(GrowsLinearly(
      [&](std::size_t count) {
        std::string bytes = Tar("a", "");
        for (std::size_t i = 0; i < count; ++i) bytes += pair;
        const auto read = [&](std::uint64_t at, std::uint64_t size) {
          return at < bytes.size() ? bytes.substr(at, size) : std::string();
        };
        for (int i = 0; i < 10; ++i) {
          EXPECT_EQ(LookIntoArchive({bytes.size(), read}, bytes), ArchiveLook::kNoMail);
        }
      },
      1000));

  constexpr std::uint64_t kHole = std::uint64_t{4} << 30;
  std::uint64_t total = 0;
  const auto read = [&](std::uint64_t at, std::uint64_t size) {
    total += size;
    std::string bytes(size, '\0');
    if (at % (32 << 20) == 0) bytes.replace(0, 512, Tar("a", ""));
    return bytes;
  };
  EXPECT_EQ(LookIntoArchive({kHole, read}, Tar("a", "")), ArchiveLook::kUnknown);
  EXPECT_LT(total, std::uint64_t{80} << 20);
}

}  // namespace
}  // namespace client
