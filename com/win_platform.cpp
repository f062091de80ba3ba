// The core's platform over the real Windows calls, installed when the DLL loads.
#include <windows.h>
#include <htmlhelp.h>

#include <string>
#include <vector>

#include "automation/win/bridge.h"
#include "com/module.h"
#include "host/platform.h"

namespace lumo::com {
namespace {

constexpr int32_t kErrorLoadingDll = 48;
constexpr int32_t kEntryPointNotFound = 453;

// A host or system library loaded on first use and kept for the life of the
// process, as a declared DLL function of the host language is.
class LateLibrary {
 public:
  LateLibrary(const char* file, const char* function) : file_(file), function_(function) {}

  // The function's address; raises 48 when the library cannot be loaded and 453
  // when it lacks the function.
  void* function() {
    if (!module_) module_ = LoadLibraryA(file_);
    if (!module_) raise(kErrorLoadingDll, u"Error in loading DLL");
    FARPROC proc = GetProcAddress(module_, function_);
    if (!proc)
      raise(kEntryPointNotFound,
            u"Can't find DLL entry point " + fromUtf8(function_) + u" in " + fromUtf8(file_));
    return reinterpret_cast<void*>(proc);
  }

 private:
  const char* file_;
  const char* function_;
  HMODULE module_ = nullptr;
};

// A writable, NUL-terminated copy of 8-bit text, as strings are passed to a DLL
// by value; copied back over the caller's text (same length) after the call.
class AnsiBuffer {
 public:
  explicit AnsiBuffer(const std::string& s) : bytes_(s.begin(), s.end()) { bytes_.push_back('\0'); }
  char* data() { return bytes_.data(); }
  void copyBack(std::string& s) const { s.assign(bytes_.data(), bytes_.size() - 1); }

 private:
  std::vector<char> bytes_;
};

class WindowsPlatform final : public Platform {
 public:
  // While held (a window open), each component's class object is looked up
  // once: the system's look-up is what creating a component mostly costs.
  ObjectPtr create(const ustring& progId) override {
    return holds_ > 0 ? classObjects_.create(progId) : lumo::com::createByProgId(progId);
  }

  void holdClassObjects(bool hold) override {
    if (hold) ++holds_;
    else if (holds_ > 0 && --holds_ == 0) classObjects_.clear();
  }

  uint32_t currentProcessId() override { return GetCurrentProcessId(); }

  int32_t computerNameA(std::string& buffer, uint32_t size) override {
    if (buffer.size() < size) buffer.resize(size, ' ');
    DWORD length = size;
    return GetComputerNameA(buffer.data(), &length);
  }

  int32_t readTcp(std::string& first, std::string& buffer) override {
    using ReadTcp = long(__stdcall*)(char* first, char* buffer);
    auto call = reinterpret_cast<ReadTcp>(readTcp_.function());
    AnsiBuffer a(first), b(buffer);
    long result = call(a.data(), b.data());
    a.copyBack(first);
    b.copyBack(buffer);
    return static_cast<int32_t>(result);
  }

  int32_t messageBox(const ustring& prompt, int32_t buttons, const ustring& title) override {
    return MessageBoxW(GetActiveWindow(), lumo::wz(prompt), lumo::wz(title), static_cast<UINT>(buttons));
  }

  ustring moduleDirectory() override { return lumo::com::moduleDirectory(); }

  intptr_t htmlHelp(intptr_t window, const std::string& path, uint32_t command, uintptr_t data) override {
    // Typed by the system's own declaration: a convention written by hand here
    // would go unchecked through the cast, and on i686 a wrong one corrupts the stack.
    auto call = reinterpret_cast<decltype(&::HtmlHelpA)>(htmlHelp_.function());
    return reinterpret_cast<intptr_t>(call(reinterpret_cast<HWND>(window), path.c_str(), command, data));
  }

  std::string toAnsi(const ustring& text) override {
    if (text.empty()) return {};
    const wchar_t* wide = lumo::wz(text);
    int n = WideCharToMultiByte(CP_ACP, 0, wide, static_cast<int>(text.size()), nullptr, 0, nullptr, nullptr);
    std::string out(static_cast<std::size_t>(n > 0 ? n : 0), '\0');
    if (n > 0) WideCharToMultiByte(CP_ACP, 0, wide, static_cast<int>(text.size()), out.data(), n, nullptr, nullptr);
    return out;
  }

  ustring fromAnsi(const std::string& bytes) override {
    if (bytes.empty()) return {};
    int n = MultiByteToWideChar(CP_ACP, 0, bytes.data(), static_cast<int>(bytes.size()), nullptr, 0);
    std::wstring out(static_cast<std::size_t>(n > 0 ? n : 0), L'\0');
    if (n > 0) MultiByteToWideChar(CP_ACP, 0, bytes.data(), static_cast<int>(bytes.size()), out.data(), n);
    return ustring(out.begin(), out.end());
  }

  int32_t setWindowPos(intptr_t window, intptr_t insertAfter, int32_t x, int32_t y, int32_t cx, int32_t cy,
                       uint32_t flags) override {
    return SetWindowPos(reinterpret_cast<HWND>(window), reinterpret_cast<HWND>(insertAfter), x, y, cx, cy, flags);
  }

 private:
  int holds_ = 0;
  lumo::com::ClassObjects classObjects_;
  LateLibrary readTcp_{"vtappsvr.dll", "ReadTcp"};
  LateLibrary htmlHelp_{"hhctrl.ocx", "HtmlHelpA"};
};

WindowsPlatform g_platform;
bool g_installed = false;
Platform* g_previous = nullptr;

}  // namespace

void installPlatform() {
  if (g_installed) return;
  g_previous = setPlatform(&g_platform);
  g_installed = true;
}

void uninstallPlatform() {
  if (!g_installed) return;
  Platform* current = setPlatform(g_previous);
  if (current != &g_platform) setPlatform(current);  // someone else's since: leave it
  g_installed = false;
}

}  // namespace lumo::com
