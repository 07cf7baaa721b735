#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>
#include <utility>

#include "mime/CkString.h"
#include "mime/base/ClsBase.h"
#include "mime/base/Validity.h"
#include "mime/base/XString.h"

// The base of the public objects. Narrow text, in and out, is in the machine's ANSI code page while
// Utf8 is false (as at the start) and UTF-8 while it is true. A null text counts as empty.
//
// A text that a method returns lies in one of kResultSlots slots that are used in turn: it is good
// for the next kResultSlots - 1 calls that return text, on this object, and must be copied before.
//
// Nothing throws. An object whose validity word is wrong answers false, null or nothing.
class CkMultiByteBase {
 public:
  static constexpr std::uint32_t kMultiByteValidityWord = 0x81F0CA3B;
  static constexpr std::size_t kResultSlots = 10;

  virtual ~CkMultiByteBase();
  CkMultiByteBase(const CkMultiByteBase&) = delete;
  CkMultiByteBase& operator=(const CkMultiByteBase&) = delete;

  bool get_Utf8() const { return Utf8; }
  void put_Utf8(bool bUtf8) { Utf8 = bUtf8; }
  // Of the last method; true on a new object.
  bool get_LastMethodSuccess() const;
  // What the last method logged, in a result slot.
  const char* lastErrorText();

 protected:
  // Takes over one reference of the working object.
  explicit CkMultiByteBase(mail::ClsBase* pImpl) : m_impl(pImpl), m_base(pImpl) {}

  // The working object, or null when it cannot be worked with.
  template <class Cls>
  Cls* impl() const {
    const bool bUsable = m_validity.holds() && m_impl != nullptr && m_base->isValid();
    return bUsable ? static_cast<Cls*>(m_base) : nullptr;
  }

  // The shape of every public method: m_impl is looked at, texts become XStrings, the working
  // operation runs, and its result is kept as LastMethodSuccess. Results are bool, a pointer or
  // nothing; without a working object they are false, null or nothing.
  //
  //   bool CkMime::SaveBody(const char* pszPath) { return run(&mail::ClsMime::SaveBody, pszPath); }
  template <class Result, class Cls, class... Parameters, class... Arguments>
  Result run(Result (Cls::*pMethod)(Parameters...), Arguments&&... arguments) {
    Cls* const pCls = impl<Cls>();
    if (pCls == nullptr) return Result();
    pCls->m_lastMethodSuccess = false;
    if constexpr (std::is_void_v<Result>) {
      (pCls->*pMethod)(argument(std::forward<Arguments>(arguments))...);
      pCls->m_lastMethodSuccess = true;
    } else {
      Result objResult = (pCls->*pMethod)(argument(std::forward<Arguments>(arguments))...);
      pCls->m_lastMethodSuccess = static_cast<bool>(objResult);
      return objResult;
    }
  }

  // The same for an operation whose last parameter takes the text that the method returns; null
  // when the operation fails.
  template <class Cls, class... Parameters, class... Arguments>
  const char* runText(bool (Cls::*pMethod)(Parameters...), Arguments&&... arguments) {
    if (impl<Cls>() == nullptr) return nullptr;
    CkString& strSlot = nextSlot();
    return run(pMethod, std::forward<Arguments>(arguments)..., strSlot.text()) ? strSlot.getString()
                                                                               : nullptr;
  }

 private:
  // A narrow argument as the working operation takes it.
  class NarrowArgument {
   public:
    NarrowArgument(const char* pszText, bool bUtf8);
    operator mail::XString&() { return m_strText; }

   private:
    mail::XString m_strText;
  };
  NarrowArgument argument(const char* pszText) const { return {pszText, Utf8}; }
  template <class T>
  requires(!std::is_convertible_v<T, const char*>) T && argument(T&& value)
  const { return std::forward<T>(value); }

  CkString& nextSlot();

  mail::Validity<std::uint32_t, kMultiByteValidityWord> m_validity;
  mail::RefCountedObject* m_impl;
  mail::ClsBase* m_base;  // the same object

 public:
  bool Utf8 = false;

 private:
  std::size_t m_nSlot = 0;
  std::array<std::unique_ptr<CkString>, kResultSlots> m_aSlots;
};
