#include <cstdlib>

#include "pipeline/ItemDescriptor.h"
#include "pipeline/TaggedBody.h"
#include "platform/CString.h"

// The items of a tagged body, told apart in one pass, are those that a search from the beginning
// finds for each of them.
namespace {

constexpr size_t kMostCompared = 4096;  // bytes: the search takes the square of it

void Check(bool holds) {
  if (!holds) std::abort();
}

// The item of that number, from 0: from its "<ITEM>" to the next "</ITEM>", without tags.
CString SearchedItem(const CString& body, size_t number) {
  int at = body.Find(kItemBegin);
  for (; number > 0 && at >= 0; --number) at = body.Find(kItemBegin, at + 1);
  if (at < 0) return {};
  CString item = body.Mid(at);
  if (const int end = item.Find(kItemEnd); end >= 0) item = item.Left(end);
  item.Replace(kItemBegin, u"");
  return item;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size) {
  const CString body = CString::FromUtf8({reinterpret_cast<const char*>(data), size});
  const TaggedBody tagged(body);
  CString rest = body;
  const auto ends = static_cast<size_t>(rest.Replace(kItemEnd, u""));
  Check(tagged.Items().size() <= ends);
  if (size > kMostCompared) return 0;
  for (size_t n = 0; n < ends; ++n) {
    CString label;
    CString value;
    SaprateFields(SearchedItem(body, n), label, value);
    const TaggedBody::Item item =
        n < tagged.Items().size() ? tagged.Items()[n] : TaggedBody::Item{};
    Check(label.View() == item.strLabel && value.View() == item.strValue);
  }
  return 0;
}
