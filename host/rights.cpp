#include "host/rights.h"

#include "host/gateway.h"

namespace lumo {

bool accessCheck(const ustring& props, int32_t objectType, int32_t objectId, int32_t accessMask) {
  try {
    return callComponent(u"OxaBase.SecurityInfo", u"AccessCheck",
                         {Variant(props), Variant(objectType), Variant(objectId), Variant(accessMask), Variant(false)})
        .toBool();
  } catch (...) {
    // A right that cannot be confirmed is a right not granted.
    return false;
  }
}

}  // namespace lumo
