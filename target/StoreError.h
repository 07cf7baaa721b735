#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include "platform/CString.h"
#include "target/RdoStore.h"

// What begins an item's text where its folder is not to be had; the store's words may follow.
inline constexpr std::string_view kNoStoreFolder = "The folder could not be made in the store.";
// What begins the words of a store that fails as a whole: who drives an engine tells by these alone
// that it is not the item.
inline constexpr std::string_view kStoreFailed = "The store failed:";
inline constexpr std::string_view kStoreGone = "The store is gone:";

// Why a call on a store failed, UTF-8.
inline std::string WordsOf(const std::exception& objError) {
  const std::string strWords = objError.what();
  const auto Behind = [&](std::string_view str) { return std::string(str) + " " + strWords; };
  if (dynamic_cast<const rdo::StoreGone*>(&objError)) return Behind(kStoreGone);
  return dynamic_cast<const rdo::StoreFailed*>(&objError) ? Behind(kStoreFailed) : strWords;
}

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
    strWords = CString::FromUtf8(WordsOf(objError));
  } catch (...) {
    strWords.Empty();
  }
  return false;
}
