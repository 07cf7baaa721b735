#pragma once

#include "base/CkMultiByteBase.h"

// Stands for mail transports. Programs make one beside the objects that they work with; it has no
// operation.
class CkMailMan : public CkMultiByteBase {
 public:
  CkMailMan();
};
