#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "platform/CString.h"
#include "platform/Files.h"

namespace ews {

// The body of a request as a list of segments: text, and the base64 form of a buffer or of a file.
// Nothing is copied whole: base64 comes into being in the reader's buffer, a few groups of 3 bytes
// at a time, so that a mail of any size costs its own bytes and no more. The exact length is known
// before the first byte, since requests carry a Content-Length.
class RequestBody {
 public:
  RequestBody() = default;
  explicit RequestBody(std::string strText) { AddText(strText); }

  void AddText(std::string_view strText);  // bytes as they are
  // The buffer is shared and must not change any more.
  void AddBase64(std::shared_ptr<const unsigned char[]> pBytes, size_t nLength);
  // The file is opened when its turn comes; its length counts as of now. Throws ServiceException if
  // it is no readable file.
  void AddBase64File(const CString& strPath);

  std::uint64_t Length() const { return m_nLength; }  // bytes
  // Fills the buffer as far as there is more; returns the bytes written, 0 at the end only (or for
  // an empty buffer). Throws ServiceException if a file became shorter or unreadable meanwhile.
  size_t Read(std::span<char> objBuffer);
  void Rewind();

 private:
  struct Text {
    std::string strBytes;
  };
  struct Buffer {
    std::shared_ptr<const unsigned char[]> pBytes;
    size_t nLength = 0;
  };
  struct FileBytes {
    CString strPath;
    std::uint64_t nLength = 0;
  };
  using Segment = std::variant<Text, Buffer, FileBytes>;

  size_t ReadSegment(std::span<char> objBuffer);
  size_t ReadText(const Text& objText, std::span<char> objBuffer);
  size_t EncodeGroups(std::span<char> objBuffer, std::uint64_t nLeft);
  std::span<const unsigned char> Source(size_t nMost);
  void NextSegment();

  std::vector<Segment> m_arrSegments;
  std::uint64_t m_nLength = 0;

  size_t m_nSegment = 0;        // the one being read
  std::uint64_t m_nOffset = 0;  // source bytes of it that have been read
  std::string m_strCarry;       // characters of a group that did not fit
  std::optional<platform::File> m_objFile;
  std::vector<unsigned char> m_arrFileBuffer;
};

}  // namespace ews
