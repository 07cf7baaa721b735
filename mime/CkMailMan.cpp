#include "mime/CkMailMan.h"

#include <new>

namespace mail {
namespace {

class ClsMailMan final : public ClsBase {
  ~ClsMailMan() override = default;
};

}  // namespace
}  // namespace mail

CkMailMan::CkMailMan() : CkMultiByteBase(new (std::nothrow) mail::ClsMailMan) {}
