// What others make of an archive: a browser shows it as the page, and a reader of mail that is not
// ours finds every part.

#include <cstdlib>
#include <fstream>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include "tests/archive/ArchiveSupport.h"
#include "tests/archive/PageServer.h"

namespace {

using namespace archive_support;

void AppendNumber(std::string& bytes, std::size_t number) {
  for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(number >> shift);
}

void AppendChunk(std::string& png, std::string chunk) {
  AppendNumber(png, chunk.size() - 4);
  png += chunk;
  AppendNumber(
      png, crc32(0, reinterpret_cast<const Bytef*>(chunk.data()), static_cast<uInt>(chunk.size())));
}

// A picture of one colour.
std::string Png(unsigned width, unsigned height, std::string_view rgb) {
  std::string rows;
  for (unsigned y = 0; y < height; ++y) {
    rows += '\0';
    for (unsigned x = 0; x < width; ++x) rows += rgb;
  }
  uLongf size = compressBound(rows.size());
  std::string packed(size, '\0');
  compress(reinterpret_cast<Bytef*>(packed.data()), &size,
           reinterpret_cast<const Bytef*>(rows.data()), rows.size());
  packed.resize(size);
  std::string header = "IHDR";
  AppendNumber(header, width);
  AppendNumber(header, height);
  header += std::string("\x08\x02\0\0\0", 5);
  std::string png = "\x89PNG\r\n\x1A\n";
  AppendChunk(png, header);
  AppendChunk(png, "IDAT" + packed);
  AppendChunk(png, "IEND");
  return png;
}

struct SiteFile {
  const char* name;
  std::string bytes;
};

std::vector<SiteFile> Site(const std::string& frame) {
  return {
      {"img/red.png", Png(60, 40, "\xDC\x1E\x1E")},
      {"img/green.png", Png(20, 20, "\x1E\xA0\x3C")},
      {"img/blue.png", Png(30, 30, "\x28\x3C\xD2")},
      {"sub/yellow.png", Png(50, 30, "\xF0\xDC\x28")},
      {"css/site.css",
       "@import \"more.css\";\nh1{color:#0066cc} .box{width:200px;height:60px;background-image: "
       "url(\"../img/green.png\")}"},
      {"css/more.css",
       ".b2{width:100px;height:50px;background: url(../img/blue.png)}"
       "p{margin-left:40px}"},
      {"sub/frame.html",
       "<html><body bgcolor=#ddddff><b>frame</b> <img src=yellow.png></body></html>"},
      {"page.html",
       "<!DOCTYPE html><HTML><HEAD><TITLE>t</TITLE><meta charset=iso-8859-1>"
       "<LINK REL=stylesheet HREF=css/site.css><STYLE>.c{background:url(img/red.png);width:70px;"
       "height:50px}</STYLE></HEAD><BODY background=img/green.png><h1>Gr\xFC\xDF"
       "e</h1><p>para</p>"
       "<IMG SRC=img/red.png alt=x><img src='img/blue.png'><table><tr><td background=img/blue.png>"
       "cell</td></tr></table><div class=box></div><div class=b2></div><div class=c></div>" +
           frame + "</BODY></HTML>"},
  };
}

bool HaveChromium() { return std::system("command -v chromium > /dev/null 2>&1") == 0; }

// Takes a picture of what a browser shows at a URL.
void Shoot(std::string url, std::string png) {
  const std::string command =
      "timeout 240 chromium --headless --no-sandbox --disable-gpu --hide-scrollbars "
      "--window-size=400,600 --user-data-dir=" +
      png + ".d --screenshot=" + png + " '" + url + "' > /dev/null 2>&1";
  ASSERT_EQ(std::system(command.c_str()), 0) << url;
}

// A PNG's pixels, with its rows' filters undone by the few lines that it takes.
constexpr const char* kDifference = R"(
import sys, zlib, struct
def pixels(path):
    data = open(path, 'rb').read(); pos = 8; packed = b''
    while pos < len(data):
        size, kind = struct.unpack('>I4s', data[pos:pos + 8])
        body = data[pos + 8:pos + 8 + size]; pos += size + 12
        if kind == b'IHDR': w, h, depth, colour = struct.unpack('>IIBB', body[:10])
        if kind == b'IDAT': packed += body
    n = {2: 3, 6: 4}[colour]; raw = zlib.decompress(packed); rows = []; above = bytearray(w * n)
    for y in range(h):
        kind = raw[y * (w * n + 1)]; row = bytearray(raw[y * (w * n + 1) + 1:(y + 1) * (w * n + 1)])
        for i in range(w * n):
            a = row[i - n] if i >= n else 0; b = above[i]; c = above[i - n] if i >= n else 0
            p = a + b - c; pa, pb, pc = abs(p - a), abs(p - b), abs(p - c)
            paeth = a if pa <= pb and pa <= pc else b if pb <= pc else c
            row[i] = (row[i] + [0, a, b, (a + b) // 2, paeth][kind]) & 255
        rows += [bytes(row[x * n:x * n + 3]) for x in range(w)]; above = row
    return rows
same = open(sys.argv[1], 'rb').read() == open(sys.argv[2], 'rb').read()
one = pixels(sys.argv[1])
two = one if same else pixels(sys.argv[2])
colours = len(set(one))
differ = sum(a != b for a, b in zip(one, two))
print(differ, len(one), colours)
sys.exit(len(one) != len(two) or colours < 6 or differ * 100 >= len(one))
)";

void ExpectSameLook(const TemporaryFolder& folder, const std::string& one, const std::string& two) {
  std::thread other(Shoot, one, folder.File("one.png"));
  Shoot(two, folder.File("two.png"));
  other.join();
  const std::string script = folder.Write("difference.py", kDifference);
  const std::string command =
      "python3 " + script + " " + folder.File("one.png") + " " + folder.File("two.png");
  EXPECT_EQ(std::system(command.c_str()), 0);
}

TEST(MhtPeer, ABrowserShowsThePageWithIdsAsFromItsFolder) {
  if (!HaveChromium()) GTEST_SKIP() << "chromium is not installed";
  TemporaryFolder folder;
  for (const auto& [name, bytes] : Site("")) folder.Write(name, bytes);
  const Message archive = Converter().Mht(folder.File("page.html"));
  EXPECT_EQ(archive.parts.size(), 4U);
  TemporaryFolder other;
  const std::string file = other.Write("page.mht", archive.text);
  ExpectSameLook(other, "file://" + folder.File("page.html"), "file://" + file);
}

// A browser finds frames by location, and locations on the web alone.
TEST(MhtPeer, ABrowserShowsThePageWithLocationsAsFromItsSite) {
  if (!HaveChromium()) GTEST_SKIP() << "chromium is not installed";
  const std::string frame = "<iframe src=sub/frame.html width=300 height=100></iframe>";
  TemporaryFolder folder;
  for (const auto& [name, bytes] : Site(frame)) folder.Write(name, bytes);
  Message archive;
  {
    PageServer site;
    for (const auto& [name, bytes] : Site(frame)) {
      site.Put(std::string("/") + name, bytes,
               std::string_view(name).ends_with(".css")    ? "text/css"
               : std::string_view(name).ends_with(".html") ? "text/html"
                                                           : "image/png");
    }
    Converter converter;
    converter.mht.put_UseCids(false);
    archive = converter.Mht(site.Url("/page.html"));
  }  // the site is gone
  EXPECT_EQ(archive.parts.size(), 6U);
  TemporaryFolder other;
  const std::string file = other.Write("page.mht", archive.text);
  ExpectSameLook(other, "file://" + folder.File("page.html"), "file://" + file);
}

TEST(MhtPeer, AReaderOfMailFindsEveryPartByItsId) {
  TemporaryFolder folder;
  for (const auto& [name, bytes] : Site("<iframe src=sub/frame.html></iframe>")) {
    folder.Write(name, bytes);
  }
  const Message mail = Converter().Eml(folder.File("page.html"));
  const std::string file = folder.Write("mail.eml", mail.text);
  const std::string script = folder.Write("read.py", R"(
import email, email.policy, re, sys
mail = email.message_from_binary_file(open(sys.argv[1], 'rb'), policy=email.policy.default)
assert mail.get_content_type() == 'multipart/related' and mail.get_param('type') == 'text/html'
assert mail['Date'].datetime and mail['X-Unsent'] == '1' and not mail.defects
parts = list(mail.iter_parts())
by_id = {p['Content-ID']: p for p in parts[1:]}
assert len(by_id) == 5 and not any(p.defects for p in parts)
files = {p.get_filename(): p.get_payload(decode=True) for p in by_id.values()}
for name in ('red.png', 'green.png', 'blue.png'):
    assert files[name] == open(sys.argv[2] + '/img/' + name, 'rb').read(), name
page = parts[0].get_content()
assert 'Gr\u00fc\u00dfe' in page
frame = next(p for p in by_id.values() if p.get_filename() == 'frame.html').get_content()
ids = re.findall(r'cid:([-0-9A-Za-z]+)', page + frame)
assert len(ids) >= 7 and all('<' + i + '>' in by_id for i in ids)
)");
  EXPECT_EQ(std::system(("python3 " + script + " " + file + " " + folder.Path()).c_str()), 0);
}

}  // namespace
