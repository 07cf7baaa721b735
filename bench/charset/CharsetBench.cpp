// Conversion beside iconv and ICU: the same bytes, results compared before the clock starts, the
// best of several runs. A mebibyte of words in random order, and strings of about 40 bytes, where
// opening a converter counts for all three. The clock of "first use" runs in a fresh process.

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <functional>
#include <random>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include <iconv.h>
#include <unicode/ucnv.h>

#include "base/LogNull.h"
#include "charset/EncodingConvert.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kLong = 1024 * 1024;
constexpr std::size_t kShort = 40;

struct Case {
  unsigned page;
  const char* iconvName;
  const char* icuName;
  const char* words;  // UTF-8, separated by "|"
  double aim;         // against iconv, on long text
};

constexpr const char* kGerman =
    "Grüße |aus |München, |die |Übersicht |für |das |nächste |Quartal |liegt |bei. |Können |Sie "
    "|bitte |prüfen, |ob |alle |Zahlen |stimmen?\r\n|Café |déjà |vu |naïve |señor |mañana ";
constexpr const char* kRussian =
    "Добрый |день, |коллеги! |Высылаю |отчёт |за |третий |квартал |и |прошу |проверить |все "
    "|таблицы |до |пятницы.\r\n|С |уважением, |отдел |продаж |2024 ";
constexpr const char* kJapanese =
    "お世話になっております。|会議の|資料を|添付しました。|ご確認|ください。|東京|オフィス|"
    "より\r\n|"
    "来週の|予定は|メール|で|連絡します。|Windows |123 ";
constexpr const char* kChinese =
    "您好，|附件是|本季度的|报告，|请|查收。|如有|问题|请|及时|联系|我们。\r\n|会议|时间|定在|"
    "星期五|"
    "下午|北京|上海|Excel |2024 ";
constexpr const char* kTraditional =
    "您好，|附件是|本季度的|報告，|請|查收。|如有|問題|請|及時|聯絡|我們。\r\n|會議|時間|定在|"
    "星期五|"
    "下午|臺北|高雄|Excel |2024 ";
constexpr const char* kKorean =
    "안녕하세요, |첨부한 |보고서를 |확인해 |주시기 |바랍니다. |회의는 |금요일 |오후에 "
    "|있습니다.\r\n|"
    "감사합니다. |서울 |지사 |드림 |Excel |2024 ";
constexpr const char* kAscii = "The |quick |brown |fox |jumps |over |the |lazy |dog.\r\n";

constexpr Case kCases[] = {
    {1252, "CP1252", "ibm-5348_P100-1997", kGerman, 3},
    {20866, "KOI8-R", "ibm-878_P100-1996", kRussian, 3},
    {1251, "CP1251", "ibm-5347_P100-1998", kRussian, 3},
    {932, "CP932", "ibm-943_P15A-2003", kJapanese, 2},
    {936, "CP936", "windows-936-2000", kChinese, 2},
    {949, "CP949", "windows-949-2000", kKorean, 2},
    {950, "CP950", "windows-950-2000", kTraditional, 2},
    {50220, "ISO-2022-JP", "ISO-2022-JP", kJapanese, 1.5},
    {1200, "UTF-16LE", "UTF-16LE", kGerman, 2},
    {1200, "UTF-16LE", "UTF-16LE", kRussian, 2},
    {1200, "UTF-16LE", "UTF-16LE", kChinese, 2},
    {1252, "CP1252", "ibm-5348_P100-1997", kAscii, 3},
    {932, "CP932", "ibm-943_P15A-2003", kAscii, 2},
    {1200, "UTF-16LE", "UTF-16LE", kAscii, 2},
};

std::string MakeText(std::string_view words, std::size_t size) {
  std::vector<std::string_view> list;
  for (std::size_t at = 0; at <= words.size();) {
    const std::size_t end = std::min(words.find('|', at), words.size());
    list.push_back(words.substr(at, end - at));
    at = end + 1;
  }
  std::mt19937 random(7);
  std::string text;
  while (text.size() < size) text += list[random() % list.size()];
  return text;
}

// Ours; the output buffer is kept, as the peers keep theirs.
void Ours(unsigned from, unsigned to, std::string_view text, mail::DataBuffer& out) {
  mail::EncodingConvert converter;
  mail::LogNull log;
  out.weakClear();
  (void)converter.EncConvert(from, to, text.data(), text.size(), out, log);
}

std::size_t RunIconv(iconv_t converter, std::string_view text, std::string& out) {
  iconv(converter, nullptr, nullptr, nullptr, nullptr);
  char* in = const_cast<char*>(text.data());
  std::size_t inLeft = text.size();
  char* at = out.data();
  std::size_t outLeft = out.size();
  iconv(converter, &in, &inLeft, &at, &outLeft);
  iconv(converter, nullptr, nullptr, &at, &outLeft);
  return out.size() - outLeft;
}

std::size_t RunIcu(UConverter* from, UConverter* to, std::string_view text, std::string& out) {
  UErrorCode error = U_ZERO_ERROR;
  char* at = out.data();
  const char* in = text.data();
  UChar pivot[1024];
  UChar* pivotSource = pivot;
  UChar* pivotTarget = pivot;
  ucnv_convertEx(to, from, &at, out.data() + out.size(), &in, in + text.size(), pivot, &pivotSource,
                 &pivotTarget, pivot + 1024, true, true, &error);
  return static_cast<std::size_t>(at - out.data());
}

// Nanoseconds of one run of each: the best of many rounds, in which all take turns, so that what
// else the machine does falls on all of them.
template <std::size_t kRunners>
std::array<double, kRunners> Time(const std::array<std::function<void()>, kRunners>& runners) {
  std::array<double, kRunners> best;
  best.fill(1e18);
  std::array<int, kRunners> inner;
  inner.fill(1);
  const auto end = Clock::now() + std::chrono::milliseconds(600);
  while (Clock::now() < end) {
    for (std::size_t n = 0; n < kRunners; ++n) {
      const auto start = Clock::now();
      for (int round = 0; round < inner[n]; ++round) runners[n]();
      const double taken = std::chrono::duration<double, std::nano>(Clock::now() - start).count();
      best[n] = std::min(best[n], taken / inner[n]);
      if (taken < 100'000) inner[n] *= 2;
    }
  }
  return best;
}

void Print(const std::string& name, std::size_t bytes, double ours, double peerIconv,
           double peerIcu, double aim, bool agrees) {
  const auto rate = [&](double time) { return static_cast<double>(bytes) * 1000 / time; };
  std::printf("%-28s %8zu %9.0f %9.0f %9.0f %7.1f %7.1f %6.1f %s\n", name.c_str(), bytes,
              rate(ours), rate(peerIconv), rate(peerIcu), peerIconv / ours, peerIcu / ours, aim,
              !agrees                  ? "RESULTS DIFFER"
              : peerIconv / ours < aim ? "below the aim"
                                       : "");
}

bool Run(const Case& row, bool toUtf8, std::size_t size) {
  std::string utf8 = MakeText(row.words, size);
  mail::DataBuffer out;
  Ours(65001, row.page, utf8, out);
  const std::string native(out.view());
  const unsigned from = toUtf8 ? row.page : 65001, to = toUtf8 ? 65001 : row.page;
  const std::string& text = toUtf8 ? native : utf8;
  const std::string& expected = toUtf8 ? utf8 : native;
  const char* const fromIconv = toUtf8 ? row.iconvName : "UTF-8";
  const char* const toIconv = toUtf8 ? "UTF-8" : row.iconvName;
  const char* const fromIcu = toUtf8 ? row.icuName : "UTF-8";
  const char* const toIcu = toUtf8 ? "UTF-8" : row.icuName;

  std::string buffer(4 * text.size() + 64, '\0');
  UErrorCode error = U_ZERO_ERROR;
  const iconv_t converter = iconv_open(toIconv, fromIconv);
  UConverter* const source = ucnv_open(fromIcu, &error);
  UConverter* const target = ucnv_open(toIcu, &error);
  Ours(from, to, text, out);
  bool agrees = out.view() == expected;
  agrees = buffer.substr(0, RunIconv(converter, text, buffer)) == expected && agrees;
  agrees = buffer.substr(0, RunIcu(source, target, text, buffer)) == expected && agrees;

  const bool isShort = size < 1000;
  const auto runOurs = [&] { Ours(from, to, text, out); };
  const auto runIconv = [&] {
    if (!isShort) {
      RunIconv(converter, text, buffer);
      return;
    }
    const iconv_t own = iconv_open(toIconv, fromIconv);
    RunIconv(own, text, buffer);
    iconv_close(own);
  };
  const auto runIcu = [&] {
    if (!isShort) {
      RunIcu(source, target, text, buffer);
      return;
    }
    UErrorCode ownError = U_ZERO_ERROR;
    UConverter* const ownSource = ucnv_open(fromIcu, &ownError);
    UConverter* const ownTarget = ucnv_open(toIcu, &ownError);
    RunIcu(ownSource, ownTarget, text, buffer);
    ucnv_close(ownSource);
    ucnv_close(ownTarget);
  };
  const auto [ours, peerIconv, peerIcu] =
      Time<3>({std::function<void()>(runOurs), runIconv, runIcu});
  iconv_close(converter);
  ucnv_close(source);
  ucnv_close(target);
  const bool wide = row.page == 1200 && !toUtf8;
  const double aim = isShort ? 5 : wide ? 3 : row.aim;
  const std::string name =
      toUtf8 ? std::string(row.iconvName) + " to UTF-8" : std::string("UTF-8 to ") + row.iconvName;
  Print(name + (row.words == kAscii ? " (ASCII)" : ""), text.size(), ours, peerIconv, peerIcu, aim,
        agrees);
  return agrees;
}

// The first conversion of a process, tables and all; in microseconds.
void PrintFirstUse(const Case& row) {
  std::fflush(stdout);
  if (const pid_t child = fork(); child != 0) {
    waitpid(child, nullptr, 0);
    return;
  }
  const std::string text = MakeText(row.words, kShort);
  const auto since = [](Clock::time_point start) {
    return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
  };
  mail::DataBuffer out;
  auto start = Clock::now();
  Ours(65001, row.page, text, out);
  const std::string native(out.view());
  Ours(row.page, 65001, native, out);
  const double ours = since(start);
  start = Clock::now();
  std::string buffer(1024, '\0');
  for (const auto& [to, from, input] :
       {std::tuple(row.iconvName, "UTF-8", std::string_view(text)),
        std::tuple("UTF-8", row.iconvName, std::string_view(native))}) {
    const iconv_t own = iconv_open(to, from);
    RunIconv(own, input, buffer);
    iconv_close(own);
  }
  std::printf("first use of %-15s ours %8.0f us   iconv %8.0f us\n", row.iconvName, ours,
              since(start));
  std::fflush(stdout);
  _exit(0);
}

}  // namespace

int main() {
  for (const Case& row : kCases) {
    if (row.words != kAscii && row.page != 1200) PrintFirstUse(row);
  }
  std::printf("%-28s %8s %9s %9s %9s %7s %7s %6s\n", "", "bytes", "MB/s", "iconv", "ICU", "/iconv",
              "/ICU", "aim");
  bool agrees = true;
  for (const std::size_t size : {kLong, kShort}) {
    for (const Case& row : kCases) {
      agrees = Run(row, true, size) && agrees;
      agrees = Run(row, false, size) && agrees;
    }
  }
  return agrees ? 0 : 1;
}
