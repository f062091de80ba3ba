#include "automation/variant.h"

#include <cmath>

#include "automation/object.h"

namespace lumo {

Variant Variant::null() {
  Variant v;
  v.v_ = NullTag{};
  return v;
}

Variant Variant::date(double oleDate) {
  Variant v;
  v.v_ = DateTag{oleDate};
  return v;
}

Variant Variant::missing() {
  Variant v;
  v.v_ = MissingTag{};
  return v;
}

Variant Variant::ref(Variant* target) {
  Variant v;
  v.v_ = target;
  return v;
}

Variant::Type Variant::type() const {
  const Variant& d = deref();
  switch (d.v_.index()) {
    case 0: return Type::Empty;
    case 1: return Type::Null;
    case 2: return Type::Bool;
    case 3: return Type::I2;
    case 4: return Type::I4;
    case 5: return Type::R8;
    case 6: return Type::Date;
    case 7: return Type::String;
    case 8: return Type::Object;
    case 9: return Type::Array;
    case 10: return Type::Missing;
    default: return Type::Empty;  // a reference to a reference is not made
  }
}

bool Variant::isNumeric() const {
  switch (type()) {
    case Type::Bool:
    case Type::I2:
    case Type::I4:
    case Type::R8:
    case Type::Empty: return true;
    case Type::String: {
      double d;
      return parseNumber(rawString(), d);
    }
    default: return false;
  }
}

double Variant::rawDouble() const {
  const Variant& d = deref();
  if (auto p = std::get_if<DateTag>(&d.v_)) return p->v;
  return std::get<double>(d.v_);
}

// Default value of an object (its DISPID_VALUE member), as the language reads
// an object where a plain value is wanted.
static Variant defaultValue(const ObjectPtr& o) {
  if (!o) throw Error(errnum::ObjectVariableNotSet);
  return o->get(u"");
}

ustring Variant::toString() const {
  switch (type()) {
    case Type::Empty: return {};
    case Type::Null: throw Error(errnum::InvalidUseOfNull);
    case Type::Bool: return rawBool() ? u"True" : u"False";
    case Type::I2: return toText(rawI2());
    case Type::I4: return toText(rawI4());
    case Type::R8: return doubleToText(rawDouble());
    case Type::Date: return doubleToText(rawDouble());
    case Type::String: return rawString();
    case Type::Object: return defaultValue(toObject()).toString();
    default: throw Error(errnum::TypeMismatch);
  }
}

double Variant::toDouble() const {
  switch (type()) {
    case Type::Empty: return 0;
    case Type::Null: throw Error(errnum::InvalidUseOfNull);
    case Type::Bool: return rawBool() ? -1 : 0;
    case Type::I2: return rawI2();
    case Type::I4: return rawI4();
    case Type::R8:
    case Type::Date: return rawDouble();
    case Type::String: {
      double d;
      if (!parseNumber(rawString(), d)) {
        if (equalsNoCase(trim(rawString()), u"True")) return -1;
        if (equalsNoCase(trim(rawString()), u"False")) return 0;
        throw Error(errnum::TypeMismatch);
      }
      return d;
    }
    case Type::Object: return defaultValue(toObject()).toDouble();
    default: throw Error(errnum::TypeMismatch);
  }
}

bool Variant::toBool() const {
  switch (type()) {
    case Type::Bool: return rawBool();
    case Type::String: {
      const ustring t = trim(rawString());
      if (equalsNoCase(t, u"True")) return true;
      if (equalsNoCase(t, u"False")) return false;
      return toDouble() != 0;
    }
    default: return toDouble() != 0;
  }
}

int16_t Variant::toI2() const {
  if (type() == Type::I2) return rawI2();
  double d = roundHalfEven(toDouble());
  if (d < -32768.0 || d > 32767.0) throw Error(errnum::Overflow);
  return static_cast<int16_t>(d);
}

int32_t Variant::toI4() const {
  if (type() == Type::I4) return rawI4();
  double d = roundHalfEven(toDouble());
  if (d < -2147483648.0 || d > 2147483647.0) throw Error(errnum::Overflow);
  return static_cast<int32_t>(d);
}

ObjectPtr Variant::toObject() const {
  switch (type()) {
    case Type::Object: return std::get<ObjectPtr>(deref().v_);
    case Type::Empty: return nullptr;
    default: throw Error(errnum::ObjectRequired);
  }
}

const std::vector<Variant>& Variant::toArray() const {
  if (type() != Type::Array) throw Error(errnum::TypeMismatch);
  return *std::get<std::shared_ptr<std::vector<Variant>>>(deref().v_);
}

bool Variant::operator==(const Variant& o) const {
  const Variant& a = deref();
  const Variant& b = o.deref();
  if (a.v_.index() != b.v_.index()) return false;
  if (a.type() == Type::Array) return a.toArray() == b.toArray();
  return a.v_ == b.v_;
}

ustring Variant::describe() const {
  switch (type()) {
    case Type::Empty: return u"Empty";
    case Type::Null: return u"Null";
    case Type::Missing: return u"Missing";
    case Type::Bool: return rawBool() ? u"True" : u"False";
    case Type::I2:
    case Type::I4:
    case Type::R8: return toString();
    case Type::Date: return u"#" + doubleToText(rawDouble()) + u"#";
    case Type::String: return u"'" + rawString() + u"'";
    case Type::Object: return toObject() ? u"<object>" : u"Nothing";
    case Type::Array: {
      ustring s = u"[";
      const auto& a = toArray();
      for (std::size_t i = 0; i < a.size(); ++i) {
        if (i) s += u", ";
        s += a[i].describe();
      }
      return s + u"]";
    }
  }
  return {};
}

}  // namespace lumo
