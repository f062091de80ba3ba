// Soak of the landed windows: N open/close cycles of each, opened through its
// public class as the host opens it (clsSmsManager.SendSms for the send window;
// clsDispBuilder filled, shown modeless and released, for the list window), closed
// as the user closes it. At the end nothing of ours may be left: no live object,
// no window, no handle held by the window layer's owners, and the server must be
// ready to unload.
//
// The server's objects are linked into this program (not loaded from the DLL), so
// that the window layer's counters can be read: Wine's own handle counters are not
// reliable. The development host (its components and demo database) is the real one.
//
//   window_soak [--cycles N]     (default 1000; LUMO_DEVHOST_DB names the database)
// Prints the figures; exits 1 when anything is left behind.
#include <windows.h>
#include <objbase.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "automation/error.h"
#include "automation/win/bridge.h"
#include "com/module.h"
#include "com/typelib.h"
#include "tests/sms/send_windows.h"
#include "tests/support/win/pump.h"
#include "tests/support/win/server_dll.h"
#include "tests/support/win/windows.h"
#include "win32/controls.h"
#include "win32/window.h"
#include "display/win/windows.h"

namespace {

using lumo::ustring;
using lumo::test::drain;
using lumo::test::nowMs;
namespace win32 = lumo::win32;

[[noreturn]] void fail(const std::string& why) {
  std::fprintf(stderr, "window_soak: %s\n", why.c_str());
  std::exit(2);
}

// Runs messages until 'done' holds or the time is up; false on time-out.
template <class F>
bool pumpUntil(F&& done, int milliseconds = 5000) {
  const double end = nowMs() + milliseconds;
  while (!done()) {
    drain();
    if (nowMs() > end) return false;
    Sleep(1);
  }
  return true;
}

template <class Itf>
Itf* create(REFCLSID clsid, REFIID iid) {
  IClassFactory* factory = nullptr;
  if (DllGetClassObject(clsid, IID_IClassFactory, reinterpret_cast<void**>(&factory)) != S_OK)
    fail("no class object");
  Itf* object = nullptr;
  const HRESULT hr = factory->CreateInstance(nullptr, iid, reinterpret_cast<void**>(&object));
  factory->Release();
  if (hr != S_OK) fail("the class object made no instance");
  return object;
}

std::vector<HWND> listWindows() { return lumo::test::threadWindowsOfClass(win32::displayer::kClass); }

struct Left {
  long objects, locks, bridges, windows, handles[win32::kHandleKinds];
  DWORD gdi, user;
};

Left left() {
  Left l{};
  l.objects = lumo::com::liveComObjects();
  l.locks = lumo::com::serverLocks();
  l.bridges = lumo::com::liveObjects();
  for (int k = 0; k < win32::kHandleKinds; ++k) l.handles[k] = win32::liveHandles(static_cast<win32::Handle>(k));
  l.windows = static_cast<long>(lumo::test::sendWindows().size() + listWindows().size());
  l.gdi = GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS);
  l.user = GetGuiResources(GetCurrentProcess(), GR_USEROBJECTS);
  return l;
}

// What the window layer holds while a window is open, from the first cycle of each:
// proof that the counters see the windows' handles at all.
Left g_sendOpen{}, g_listOpen{};
bool g_recordOpen = false;

// One cycle of the send window: opened by the command, closed by its title bar.
void sendWindowCycle() {
  _clsSmsManager* manager = create<_clsSmsManager>(CLSID_clsSmsManager, IID__clsSmsManager);
  if (const HRESULT hr = manager->SendSms(); hr != S_OK) {
    std::string why = "SendSms failed";
    IErrorInfo* info = nullptr;
    if (GetErrorInfo(0, &info) == S_OK && info) {
      BSTR text = nullptr;
      info->GetDescription(&text);
      if (text) why += ": " + lumo::toUtf8(lumo::fromWide(text, SysStringLen(text)));
      SysFreeString(text);
      info->Release();
    }
    fail(why);
  }
  manager->Release();
  std::vector<HWND> open;
  if (!pumpUntil([&] { return !(open = lumo::test::sendWindows()).empty(); })) fail("no send window");
  if (g_recordOpen) g_sendOpen = left();
  for (HWND w : open) PostMessageW(w, WM_CLOSE, 0, 0);
  if (!pumpUntil([] { return lumo::test::sendWindows().empty(); })) fail("the send window did not close");
}

// One cycle of the list window: filled through the builder, shown modeless, the
// builder let go (the window stays, as the user's), then closed by the user.
void listWindowCycle() {
  _clsDispBuilder* builder = create<_clsDispBuilder>(CLSID_clsDispBuilder, IID__clsDispBuilder);
  BSTR caption = SysAllocString(L"浸泡测试");
  BSTR titles = SysAllocString(L"姓名\t数量|");
  builder->put_Caption(caption);
  builder->put_Titles(titles);
  builder->put_Cols(2);
  for (const wchar_t* r : {L"张三\t12", L"李四\t7", L"王五\t130"}) {
    BSTR row = SysAllocString(r);
    builder->Add(&row);
    SysFreeString(row);
  }
  VARIANT modeless, state;
  VariantInit(&modeless);
  VariantInit(&state);
  modeless.vt = VT_I4;
  modeless.lVal = 0;
  state.vt = VT_ERROR;
  state.scode = DISP_E_PARAMNOTFOUND;
  if (builder->Show(modeless, state) != S_OK) fail("Show failed");
  SysFreeString(caption);
  SysFreeString(titles);
  builder->Release();
  std::vector<HWND> open;
  if (!pumpUntil([&] { return !(open = listWindows()).empty(); })) fail("no list window");
  if (g_recordOpen) g_listOpen = left();
  for (HWND w : open) PostMessageW(w, WM_CLOSE, 0, 0);
  if (!pumpUntil([] { return listWindows().empty(); })) fail("the list window did not close");
}

}  // namespace

int main(int argc, char** argv) {
  int cycles = 1000;
  for (int i = 1; i < argc; ++i) {
    const std::string a = argv[i];
    if (a == "--cycles" && i + 1 < argc) cycles = std::max(1, std::atoi(argv[++i]));
    else fail("usage: window_soak [--cycles N]");
  }
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  // This program is the module: its resources hold the type library.
  lumo::com::setModuleHandle(GetModuleHandleW(nullptr));
  lumo::com::installPlatform();
  const lumo::test::RegisteredServers host({LUMO_DEVHOST_DLL});
  if (!host.failure().empty()) fail(host.failure());
  try {
    lumo::com::createByProgId(u"PropsMgr.ShareProps")->call(u"SignIn", {ustring(u"王建国"), ustring(u"chs")});
  } catch (const lumo::Error& e) {
    fail("sign-in failed: " + lumo::toUtf8(e.description()));
  }

  // One cycle of each first: what the first window of a kind creates once (the
  // classes, the language tables, the resource loaders) is not a leak.
  g_recordOpen = true;
  sendWindowCycle();
  listWindowCycle();
  g_recordOpen = false;
  const Left before = left();

  const double t0 = nowMs();
  for (int i = 0; i < cycles; ++i) sendWindowCycle();
  const double t1 = nowMs();
  for (int i = 0; i < cycles; ++i) listWindowCycle();
  const double t2 = nowMs();
  const Left after = left();

  const char* kinds[] = {"font", "pen", "brush", "bitmap", "DC", "menu", "image list", "window object"};
  std::printf("window soak: %d cycles of each window\n", cycles);
  std::printf("  send window  %8.1f ms  (%.2f ms a cycle)\n", t1 - t0, (t1 - t0) / cycles);
  std::printf("  list window  %8.1f ms  (%.2f ms a cycle)\n", t2 - t1, (t2 - t1) / cycles);
  std::printf("held (with the send window open | with the list window open | after the first cycle of each"
              " -> at the end):\n");
  auto line = [](const char* what, long sendOpen, long listOpen, long b, long a) {
    std::printf("  %-22s %4ld | %4ld | %ld -> %ld\n", what, sendOpen, listOpen, b, a);
  };
  line("live objects of ours", g_sendOpen.objects, g_listOpen.objects, before.objects, after.objects);
  line("server locks", g_sendOpen.locks, g_listOpen.locks, before.locks, after.locks);
  line("automation bridges", g_sendOpen.bridges, g_listOpen.bridges, before.bridges, after.bridges);
  line("windows of ours open", g_sendOpen.windows, g_listOpen.windows, before.windows, after.windows);
  bool clean = after.objects == 0 && after.locks == 0 && after.bridges == 0 && after.windows == 0;
  for (int k = 0; k < win32::kHandleKinds; ++k) {
    line(kinds[k], g_sendOpen.handles[k], g_listOpen.handles[k], before.handles[k], after.handles[k]);
    clean = clean && after.handles[k] == 0;
  }
  std::printf("  (the system's own counts, for reference: GDI %lu -> %lu, USER %lu -> %lu)\n",
              static_cast<unsigned long>(before.gdi), static_cast<unsigned long>(after.gdi),
              static_cast<unsigned long>(before.user), static_cast<unsigned long>(after.user));
  const HRESULT unload = DllCanUnloadNow();
  std::printf("  DllCanUnloadNow        %s\n", unload == S_OK ? "S_OK (the module can unload)" : "S_FALSE");
  clean = clean && unload == S_OK;

  CoUninitialize();
  std::printf("%s\n", clean ? "nothing left behind" : "LEFT BEHIND: see above");
  return clean ? 0 : 1;
}
