#include "mime/CkCrypt2.h"

namespace mail {
namespace {

class ClsCrypt2 final : public ClsBase {
  ~ClsCrypt2() override = default;
};

}  // namespace
}  // namespace mail

CkCrypt2::CkCrypt2() : CkMultiByteBase(mail::makeOwned<mail::ClsCrypt2>()) {}
