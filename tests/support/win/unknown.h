// The IUnknown of the COM objects the tests write themselves (fakes handed to the
// code under test, class objects registered for it): a reference count that
// deletes the object when it drops to zero, and QueryInterface for the listed
// interfaces and IUnknown.
//
//   class FakeThing final : public RefCounted<IDispatch> { ... };   // one reference when made
#pragma once

#include <windows.h>
#include <unknwn.h>

#include <tuple>

namespace lumo::test {

template <class... Interfaces>
class RefCounted : public Interfaces... {
  using Primary = std::tuple_element_t<0, std::tuple<Interfaces...>>;

 public:
  RefCounted(const RefCounted&) = delete;
  RefCounted& operator=(const RefCounted&) = delete;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** ppv) override {
    if (!ppv) return E_POINTER;
    *ppv = nullptr;
    if (IsEqualIID(iid, IID_IUnknown)) *ppv = static_cast<Primary*>(this);
    else if (!(offer<Interfaces>(iid, ppv) || ...)) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++refs_; }
  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG n = --refs_;
    if (n == 0) delete this;
    return n;
  }
  // The references held now.
  ULONG refs() const { return refs_; }

 protected:
  RefCounted() = default;
  virtual ~RefCounted() = default;

 private:
  template <class I>
  bool offer(REFIID iid, void** ppv) {
    if (!IsEqualIID(iid, __uuidof(I))) return false;
    *ppv = static_cast<I*>(this);
    return true;
  }

  ULONG refs_ = 1;
};

}  // namespace lumo::test
