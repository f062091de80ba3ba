#include "automation/error.h"

namespace lumo {

ustring standardDescription(int32_t number) {
  switch (number) {
    case errnum::InvalidCall: return u"Invalid procedure call or argument";
    case errnum::Overflow: return u"Overflow";
    case errnum::SubscriptOutOfRange: return u"Subscript out of range";
    case errnum::TypeMismatch: return u"Type mismatch";
    case errnum::FileNotFound: return u"File not found";
    case errnum::BadFileMode: return u"Bad file mode";
    case errnum::FileAlreadyOpen: return u"File already open";
    case errnum::DeviceIoError: return u"Device I/O error";
    case errnum::InputPastEnd: return u"Input past end of file";
    case errnum::PermissionDenied: return u"Permission denied";
    case errnum::PathNotFound: return u"Path not found";
    case errnum::ObjectVariableNotSet: return u"Object variable or With block variable not set";
    case errnum::InvalidUseOfNull: return u"Invalid use of Null";
    case errnum::ObjectRequired: return u"Object required";
    case errnum::CannotCreateObject: return u"ActiveX component can't create object";
    case errnum::NotSupported: return u"Object doesn't support this property or method";
    case errnum::WrongArgumentCount: return u"Wrong number of arguments or invalid property assignment";
    case errnum::KeyAlreadyExists: return u"This key is already associated with an element of this collection";
    case errnum::NotImplemented: return u"This member is not available in this version";
    default: return {};
  }
}

int32_t hresultFromNumber(int32_t number) {
  if (number > 0 && number <= 0xFFFF) return static_cast<int32_t>(0x800A0000u | static_cast<uint32_t>(number));
  return number;
}

int32_t numberFromHresult(int32_t hr) {
  uint32_t u = static_cast<uint32_t>(hr);
  if ((u & 0xFFFF0000u) == 0x800A0000u) return static_cast<int32_t>(u & 0xFFFFu);
  return hr;
}

Error::Error(int32_t number, ustring description, ustring source, ustring helpFile, int32_t helpContext)
    : number_(number),
      description_(std::move(description)),
      source_(std::move(source)),
      helpFile_(std::move(helpFile)),
      helpContext_(helpContext) {
  if (description_.empty()) description_ = standardDescription(number_);
  what_ = toUtf8(description_);
}

Error::Error(int32_t number) : Error(number, standardDescription(number)) {}

Error& Error::withSource(const ustring& source) {
  if (source_.empty()) source_ = source;
  return *this;
}

void raise(int32_t number, const ustring& description, const ustring& source) {
  throw Error(number, description, source);
}

void ErrState::set(const Error& e) {
  number = e.number();
  description = e.description();
  source = e.source();
  helpFile = e.helpFile();
  helpContext = e.helpContext();
}

ErrState& err() {
  static ErrState state;
  return state;
}

}  // namespace lumo
