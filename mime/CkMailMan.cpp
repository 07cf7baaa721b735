#include "mime/CkMailMan.h"

namespace mail {
namespace {

class ClsMailMan final : public ClsBase {
  ~ClsMailMan() override = default;
};

}  // namespace
}  // namespace mail

CkMailMan::CkMailMan() : CkMultiByteBase(mail::makeOwned<mail::ClsMailMan>()) {}
