#pragma once

#include <stdexcept>

#include "platform/CString.h"

// A local store does not take an item, with its words for it. Another folder of it would not,
// either.
class StoreError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Runs one step in a store whose failure ends nothing, and keeps the words of it. True if it was
// done.
template <typename STEP>
bool DoneInStore(CString& strWords, STEP&& fnStep) {
  try {
    fnStep();
    return true;
  } catch (const std::exception& objError) {
    strWords = CString::FromUtf8(objError.what());
  } catch (...) {
    strWords.Empty();
  }
  return false;
}
