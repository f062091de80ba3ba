// Errors as automation clients see them: a number, a description and a source.
// Small numbers are the host language's run-time errors (5, 13, 429, ...); at the
// COM boundary they become HRESULTs 0x800A0000 | number, and such HRESULTs come
// back as the small number. Any other failure HRESULT is kept as the number.
#pragma once

#include <cstdint>
#include <exception>
#include <string>

#include "automation/text.h"

namespace lumo {

namespace errnum {
constexpr int32_t InvalidCall = 5;          // invalid procedure call or argument
constexpr int32_t Overflow = 6;
constexpr int32_t SubscriptOutOfRange = 9;
constexpr int32_t TypeMismatch = 13;
constexpr int32_t FileNotFound = 53;
constexpr int32_t BadFileMode = 54;
constexpr int32_t FileAlreadyOpen = 55;
constexpr int32_t DeviceIoError = 57;
constexpr int32_t InputPastEnd = 62;
constexpr int32_t PermissionDenied = 70;
constexpr int32_t PathNotFound = 76;
constexpr int32_t ObjectVariableNotSet = 91;
constexpr int32_t InvalidUseOfNull = 94;
constexpr int32_t ObjectRequired = 424;
constexpr int32_t CannotCreateObject = 429;
constexpr int32_t NotSupported = 438;        // object doesn't support this property or method
constexpr int32_t WrongArgumentCount = 450;
constexpr int32_t KeyAlreadyExists = 457;
constexpr int32_t NotImplemented = 32765;    // member whose behaviour is not available in this build
}  // namespace errnum

// The standard description of a host-language run-time error ("" when unknown).
ustring standardDescription(int32_t number);

int32_t hresultFromNumber(int32_t number);
int32_t numberFromHresult(int32_t hr);

class Error : public std::exception {
 public:
  Error(int32_t number, ustring description, ustring source = {}, ustring helpFile = {}, int32_t helpContext = 0);
  // A run-time error with its standard description.
  explicit Error(int32_t number);

  int32_t number() const { return number_; }
  const ustring& description() const { return description_; }
  const ustring& source() const { return source_; }
  const ustring& helpFile() const { return helpFile_; }
  int32_t helpContext() const { return helpContext_; }
  int32_t hresult() const { return hresultFromNumber(number_); }

  // Fills in the source when the error has none yet (the innermost procedure names it).
  Error& withSource(const ustring& source);

  const char* what() const noexcept override { return what_.c_str(); }

 private:
  int32_t number_;
  ustring description_;
  ustring source_;
  ustring helpFile_;
  int32_t helpContext_;
  std::string what_;
};

[[noreturn]] void raise(int32_t number, const ustring& description = {}, const ustring& source = {});

// The pending error of the running code (the host language's Err object): set by
// error traps when they catch, cleared by Clear. Lookups that must not disturb a
// caller's pending error save and restore it with ErrStateGuard.
struct ErrState {
  int32_t number = 0;
  ustring description;
  ustring source;
  ustring helpFile;
  int32_t helpContext = 0;

  void clear() { *this = ErrState(); }
  void set(const Error& e);
  bool operator==(const ErrState&) const = default;
};

ErrState& err();

class ErrStateGuard {
 public:
  ErrStateGuard() : saved_(err()) {}
  ~ErrStateGuard() { err() = saved_; }
  ErrStateGuard(const ErrStateGuard&) = delete;
  ErrStateGuard& operator=(const ErrStateGuard&) = delete;

 private:
  ErrState saved_;
};

}  // namespace lumo
