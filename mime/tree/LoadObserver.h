#pragma once

#include <string_view>

namespace mail {

class MimeMessage2;

// Told by the loader what an entity looked like in the bytes of the message, which the tree no
// longer shows, for those who tell people what is damaged. Each entity begins, then its header is
// read, then its body or its parts, which come in between. What goes to the log until the next one
// begins is about it. Views are good during the call; the entities stay where they are as long as
// nobody changes the tree. Implementations may throw std::bad_alloc alone.
class LoadObserver {
 public:
  virtual ~LoadObserver() = default;

  virtual void entityBegins(const MimeMessage2& objEntity) = 0;

  // The header with what ended it, which is empty where nothing did. A part may have none at all.
  virtual void headerRead(const MimeMessage2& objEntity, std::string_view strHeader,
                          std::string_view strEndMarker) = 0;

  struct Leaf {
    std::string_view strSource;    // the body as it came
    std::string_view strEncoding;  // as the header had it before the body was read,
    int nNamedPage = 0;            // and the page of its charset, 0 for none that is known
    int nPage = 0;                 // the page of the text; 65001 if it stayed, 0 if it is no text
    bool bLossy = false;           // some bytes mean nothing in that page
  };
  // A multipart whose boundary is missing or never stands in the body is a leaf, too.
  virtual void leafRead(const MimeMessage2& objEntity, const Leaf& objLeaf) = 0;

  struct Parts {
    bool bClosed = false;        // the last delimiter was there
    bool bMended = false;        // the delimiters spell the boundary in another way than the header
    std::string_view strBehind;  // what follows the last delimiter
  };
  virtual void partsRead(const MimeMessage2& objEntity, const Parts& objParts) = 0;
};

}  // namespace mail
