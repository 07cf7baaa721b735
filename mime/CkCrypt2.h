#pragma once

#include "base/CkMultiByteBase.h"

// Stands for encryption. Programs make one beside the objects that they work with; it has no
// operation.
class CkCrypt2 : public CkMultiByteBase {
 public:
  CkCrypt2();
};
