// A dynamically typed value as late-bound automation passes it around, with the
// conversions of the host language (CStr, CBool, CInt, CLng, CDbl).
#pragma once

#include <cstdint>
#include <memory>
#include <variant>
#include <vector>

#include "automation/error.h"
#include "automation/text.h"

namespace lumo {

class Object;
using ObjectPtr = std::shared_ptr<Object>;

class Variant {
 public:
  enum class Type : uint8_t { Empty, Null, Bool, I2, I4, R8, Date, String, Object, Array, Missing };

  Variant() = default;
  Variant(bool v) : v_(v) {}
  Variant(int16_t v) : v_(v) {}
  Variant(int32_t v) : v_(v) {}
  Variant(double v) : v_(v) {}
  Variant(ustring v) : v_(std::move(v)) {}
  Variant(const char16_t* v) : v_(ustring(v)) {}
  Variant(ObjectPtr v) : v_(std::move(v)) {}
  Variant(std::vector<Variant> v) : v_(std::make_shared<std::vector<Variant>>(std::move(v))) {}

  static Variant null();
  static Variant date(double oleDate);
  // An omitted optional argument.
  static Variant missing();
  // A by-reference argument: the callee reads and writes *target.
  static Variant ref(Variant* target);

  bool isRef() const { return std::holds_alternative<Variant*>(v_); }
  Variant* refTarget() const { return isRef() ? std::get<Variant*>(v_) : nullptr; }
  // The value itself, following a reference.
  const Variant& deref() const { return isRef() ? *std::get<Variant*>(v_) : *this; }
  Variant& deref() { return isRef() ? *std::get<Variant*>(v_) : *this; }

  Type type() const;
  bool isEmpty() const { return type() == Type::Empty; }
  bool isNull() const { return type() == Type::Null; }
  bool isMissing() const { return type() == Type::Missing; }
  bool isObject() const { return type() == Type::Object; }
  bool isString() const { return std::holds_alternative<ustring>(deref().v_); }
  bool isNumeric() const;

  // Conversions; each raises the host language's error on failure
  // (13 type mismatch, 6 overflow, 94 invalid use of Null, 424 object required).
  ustring toString() const;
  bool toBool() const;
  int16_t toI2() const;
  int32_t toI4() const;
  double toDouble() const;
  ObjectPtr toObject() const;  // Nothing (an empty object) stays a null pointer
  const std::vector<Variant>& toArray() const;

  // The raw stored value, for bridges.
  bool rawBool() const { return std::get<bool>(deref().v_); }
  int16_t rawI2() const { return std::get<int16_t>(deref().v_); }
  int32_t rawI4() const { return std::get<int32_t>(deref().v_); }
  double rawDouble() const;  // R8 or Date
  const ustring& rawString() const { return std::get<ustring>(deref().v_); }

  // Equality of type and value (objects by identity); for tests and journals.
  bool operator==(const Variant& o) const;

  // A short readable form for journals and test failures: 'text', 12, True, Null, Empty, <object>.
  ustring describe() const;

 private:
  struct NullTag {
    bool operator==(const NullTag&) const = default;
  };
  struct MissingTag {
    bool operator==(const MissingTag&) const = default;
  };
  struct DateTag {
    double v;
    bool operator==(const DateTag&) const = default;
  };
  std::variant<std::monostate, NullTag, bool, int16_t, int32_t, double, DateTag, ustring, ObjectPtr,
               std::shared_ptr<std::vector<Variant>>, MissingTag, Variant*>
      v_;
};

using Args = std::vector<Variant>;

}  // namespace lumo
