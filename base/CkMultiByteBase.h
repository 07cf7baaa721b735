#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

#include "base/CkString.h"
#include "base/ClsBase.h"
#include "base/CritSecExitor.h"
#include "base/MemoryShortage.h"
#include "base/OwnedPtr.h"
#include "base/Validity.h"
#include "base/XString.h"

// The base of the public objects. Narrow text, in and out, is in the machine's ANSI code page while
// Utf8 is false (as at the start) and UTF-8 while it is true. A null text counts as empty.
//
// A text that a method returns lies in one of kResultSlots slots that are used in turn: it is good
// for the next kResultSlots - 1 calls that return text, on this object, and must be copied before.
//
// Nothing throws. A method that runs short of memory fails, whatever it could still do, and
// lastErrorText says so. An object whose validity word is wrong answers false, null or nothing.
// Calls on one object from several threads wait for each other.
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
  // Takes over one reference of the working object; null for want of memory.
  explicit CkMultiByteBase(mail::OwnedPtr<mail::ClsBase> pImpl)
      : m_impl(pImpl.get()), m_base(pImpl.release()) {}

  // The shape of every public method: m_impl is looked at, texts become XStrings, the working
  // operation runs, and its result is kept as LastMethodSuccess. Results are bool or a pointer;
  // without a working object they are false or null.
  //
  //   bool CkMime::SaveBody(const char* pszPath) { return run(&mail::ClsMime::SaveBody, pszPath); }
  template <class Result, class Cls, class... Parameters, class... Arguments>
  Result run(Result (Cls::*pMethod)(Parameters...), Arguments&&... arguments) {
    return perform<Cls>([&](Cls& objCls) -> Result {
      return (objCls.*pMethod)(argument(std::forward<Arguments>(arguments))...);
    });
  }

  // The same for an operation whose last parameter takes the text that the method returns; null
  // when the operation fails.
  template <class Cls, class... Parameters, class... Arguments>
  const char* runText(bool (Cls::*pMethod)(Parameters...), Arguments&&... arguments) {
    return perform<Cls>([&](Cls& objCls) -> const char* {
      CkString& strSlot = nextSlot();
      const bool bDone =
          (objCls.*pMethod)(argument(std::forward<Arguments>(arguments))..., strSlot.text());
      return bDone ? strSlot.getString() : nullptr;
    });
  }

  // The same for any work with the working object.
  template <class Cls, class Work>
  std::invoke_result_t<Work, Cls&> perform(Work fnWork) {
    Cls* const pCls = impl<Cls>();
    if (pCls == nullptr) return {};
    return guarded(*pCls, [&] {
      pCls->m_lastMethodSuccess = false;
      const auto nShortages = mail::memoryShortages();
      auto objResult = fnWork(*pCls);
      if (mail::memoryShortages() != nShortages) throw std::bad_alloc();  // something is missing
      pCls->m_lastMethodSuccess = static_cast<bool>(objResult);
      return objResult;
    });
  }

 private:
  // The working object, or null when it cannot be worked with.
  template <class Cls>
  Cls* impl() const {
    const bool bUsable = m_validity.holds() && m_impl != nullptr && m_base->isValid();
    return bUsable ? static_cast<Cls*>(m_base) : nullptr;
  }

  // Holds the object's critical section, and lets nothing that is thrown out.
  template <class Work>
  static std::invoke_result_t<Work> guarded(mail::ClsBase& objBase, Work fnWork) {
    const mail::CritSecExitor objSection(objBase);
    try {
      return fnWork();
    } catch (const std::exception& objError) {
      objBase.m_log.LogError(objError.what());
      return {};
    }
  }

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

  CkString& nextSlot();  // throws std::bad_alloc

  mail::Validity<std::uint32_t, kMultiByteValidityWord> m_validity;
  mail::RefCountedObject* m_impl;
  mail::ClsBase* m_base;  // the same object

 public:
  bool Utf8 = false;

 private:
  std::size_t m_nSlot = 0;
  std::array<std::unique_ptr<CkString>, kResultSlots> m_aSlots;
};
