#pragma once

#include <string>
#include <string_view>

namespace client {

// A mail that files are attached to: it becomes a multipart/mixed, of which what the mail was is
// the first part, with the fields that tell of its content. Its other fields and its body stay
// byte for byte. One whose body has none of the parts that its Content-Type speaks of is text: so a
// program leaves it that put the parts away. The same mail and files give the same bytes.
//
// A page that shows pictures is in a multipart/related with these, where programs look for them:
// mixed (related (page, picture, picture), file, file).
class MixedMail {
 public:
  // The mail must outlive this.
  explicit MixedMail(std::string_view mail);

  // Its text is HTML.
  bool IsPage() const;
  // A picture that the page shows by that link (PictureLinks.h); pictures come before other files.
  void Show(std::string_view name, std::string_view bytes, std::string_view link);
  // Names are UTF-8.
  void Attach(std::string_view name, std::string_view bytes);
  bool IsEmpty() const { return m_whole.empty(); }  // nothing was added
  std::string Finish() &&;

 private:
  void Begin(bool isRelated);
  // The last of the fields is its disposition.
  void AddPart(std::string_view boundary, std::string_view name, std::string_view fields,
               std::string_view bytes);
  void EndPictures();
  void AddLine(std::string_view line = {});

  std::string m_lineEnd;
  std::string m_boundary;
  std::string m_innerBoundary;  // of the page and its pictures
  std::string m_fields;         // of the mail, but for those of its content
  std::string m_content;        // the fields of its content
  std::string_view m_body;
  bool m_isRelated = false;  // and what it holds is not all there yet
  std::string m_whole;
};

}  // namespace client
