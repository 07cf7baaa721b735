#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "client/sources/FromLine.h"
#include "client/sources/SpilledVector.h"

namespace client {

// What programs call mbox. No file names its kind; they differ in what was done to a line of a body
// that begins with "From ".
enum class MboxKind {
  kAuto,     // by what each mail shows
  kMboxo,    // ">" before "From " alone, so that ">From " of the text cannot be told from it
  kMboxrd,   // one ">" before "From ", ">From ", ">>From " …
  kMboxcl,   // as mboxo, and Content-Length says how long a body is
  kMboxcl2,  // nothing: Content-Length alone says where a mail ends, if anything does
};
// "mboxo", "mboxrd", "mboxcl", "mboxcl2" or "auto".
std::optional<MboxKind> MboxKindNamed(std::string_view name);

// So many NULs in a row, or more, are a hole, which a crash or a full disk left in place of what
// stood there; fewer may be a mail's own.
inline constexpr std::uint64_t kLeastHole = 64;  // bytes

// Finds the mails of an mbox file, as the program meant it that wrote the file. What stands before
// the first belongs to none. A mail begins at a line of these:
//
//   one with a date behind an empty line, or where a header field follows (some programs put no
//   empty line behind a text); but where text follows, among which are no two fields, it is text
//   itself, unless the kind is one that quotes such lines;
//   a bare "From " where X-Mozilla-Status follows; and any bare one, behind an empty line or before
//   a field, where the file begins with one;
//   one with something else behind an empty line and before a field, where the file begins so, or
//   where the kind quotes such lines in a text.
//
// But a Content-Length that leads exactly to such a line, one with a date before text among them,
// or to the end of the file, is believed: what lies before is text. In a file whose line ends
// became CR LF later it does not count the CRs.
//
// A hole ends a line as a line end does, and belongs to no mail where one begins behind it or the
// file ends.
//
// The bytes come in pieces of any size, of which nothing is kept. Linear in time but for a
// logarithm of the number of mails; some 100 bytes for each line above are kept, most of them not
// in memory where there are very many.
class MboxSplitter {
 public:
  struct Mail {
    std::uint64_t offset = 0;  // bytes from the beginning of the file
    std::uint64_t length = 0;  // bytes, its "From " line included
    std::uint64_t header = 0;  // of those up to the end of its header; all where none ends it
  };
  using Mails = SpilledVector<Mail>;
  explicit MboxSplitter(MboxKind kind = MboxKind::kAuto) : m_kind(kind) {}
  void Feed(std::string_view bytes);
  // After the last piece: the mails in the order of the file, each ending where the next begins, or
  // a hole in front of it.
  Mails Finish();
  // After that: lines in the mails by which a mail may begin or another mail is quoted: behind an
  // empty line, without a date and before two fields, or with a date and before text. Where a
  // length is believed they are text.
  std::uint64_t Suspects() const { return m_suspects; }
  // The last mail ends within a line, and no length says that it is whole.
  bool IsCut() const { return m_isCut; }

 private:
  // In bytes as they are and as they would be without the CR of each CR LF.
  struct Place {
    std::uint64_t bytes = 0;
    std::uint64_t withoutCr = 0;
  };
  struct Candidate {
    Place line;
    std::optional<Place> body;
    std::optional<std::uint64_t> length;  // what Content-Length says
    bool afterBlank = false;
    bool isDoubtful = false;     // text stands where its first field should
    bool isText = false;         // but for a length that leads to it
    std::uint32_t suspects = 0;  // behind it, up to the next
    std::uint64_t hole = 0;      // bytes in front of it
  };
  struct Line {
    std::string_view head;  // its first kMostOfLine bytes
    bool isWhole = true;    // that is all of it
    bool crLf = false;
    std::uint64_t size = 0;
    bool IsBlank() const;
  };

  void FeedLines(std::string_view bytes);
  void EndLine(bool crLf);
  void EndHole();
  void TakeLine(const Line& line);
  void Decide(const Line* next);
  void TakeHeaderLine(const Line& line, Place behind);
  void CountFieldOfSuspect(const Line& line);
  void EndHeader();
  void EndCandidate();
  std::size_t EndByLength(std::size_t mail, Place end) const;
  std::size_t EndByLines(std::size_t mail);

  MboxKind m_kind;
  SpilledVector<Candidate> m_candidates;
  std::optional<Candidate> m_candidate;  // the last, to which its header may add
  std::string m_part;                    // the first bytes of a line that came in pieces
  std::uint64_t m_partSize = 0;          // bytes of it so far
  bool m_partCr = false;                 // the last of them is a CR
  std::uint64_t m_nulls = 0;             // at the end of what was fed
  std::uint64_t m_hole = 0;              // in front of the next line
  Place m_at;                            // of the next line
  std::optional<Place> m_from;           // a "From " line whose next line is to come
  FromLine::Shape m_shape{};             // its shape
  bool m_fromAfterBlank = false;
  std::uint64_t m_holeOfFrom = 0;
  std::optional<FromLine::Shape> m_first;  // of the first "From " line
  bool m_inHeader = false;                 // of that
  bool m_hasField = false;                 // and a line of it was seen
  int m_fields = 0;                        // lines of it that are fields, where it is doubtful
  std::optional<int> m_fieldsOfSuspect;    // lines so far behind one that are fields
  std::uint64_t m_suspects = 0;
  bool m_isCut = false;
  bool m_afterBlank = true;  // the next line stands at the start or behind an empty line
};

// Without the "From " line in front and the empty lines behind it, where there is one.
std::string_view WithoutFromLine(std::string_view mail);

// A mail as it was before it was put into an mbox file: the "From " line in front, the quoting of
// its kind and the empty line that parts it from the next are taken away. By itself a mail is of
// the kind that its "From " line is known for, or mboxcl2 where its Content-Length is right: that
// it is mboxcl no file shows.
std::string UnquoteMbox(std::string_view bytes, MboxKind kind = MboxKind::kAuto);

}  // namespace client
