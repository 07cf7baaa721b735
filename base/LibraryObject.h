#pragma once

#include <cstdint>

#include "base/Validity.h"

namespace mail {

// Called with a fixed text when an object that is none (damaged, or destroyed already) is handed to
// the library: a fault in the program, never in its input. The handler in place at the start aborts
// the process. One that returns makes the library refuse the object and go on.
using FatalHandler = void (*)(const char* pszText);

// Sets the handler for the whole process and returns the one before it; null sets the one of the
// start.
FatalHandler SetFatalHandler(FatalHandler pHandler);

// The base of every long-lived object of the library.
class LibraryObject {
 public:
  static constexpr std::uint32_t kValidityWord = 0x62CB09E3;

  LibraryObject() = default;
  virtual ~LibraryObject() = default;

  bool isValidObject() const { return m_objectValidity.holds(); }

  // True for null and for a valid object; else calls the fatal handler and, if that returns, gives
  // false.
  static bool checkObject(const LibraryObject* pObject);

  // Gives up an object made with new: deletes it, or takes one reference from one that counts them.
  // Null is left alone; an object whose word is wrong goes to the fatal handler and stays.
  static void deleteObject(LibraryObject* pObject);

 protected:
  LibraryObject(const LibraryObject&) = default;
  LibraryObject& operator=(const LibraryObject&) = default;

  // What deleteObject does with this object.
  virtual void giveUp() { delete this; }

 private:
  Validity<std::uint32_t, kValidityWord> m_objectValidity;
};

}  // namespace mail
