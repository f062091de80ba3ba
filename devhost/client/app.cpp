#include "devhost/client/app.h"

#include <cstdio>

#include "automation/win/bridge.h"

namespace lumo::client {

namespace {

// Errors the client itself raises name it as their source.
const char16_t* const kSource = u"LumoErp";

// Before anyone has signed in, the sign-in dialog reads the user list under the
// host's built-in system account, as ERP sign-in screens do.
const char16_t* const kSystemSession = u"UserName=administrator;UserID=16";

template <class F>
CallResult guarded(F&& f) {
  try {
    f();
    return {};
  } catch (const Error& e) {
    return CallResult::failed(e);
  } catch (const std::exception& e) {
    return CallResult::failed(Error(51, u"Internal error: " + fromUtf8(e.what()), kSource));
  }
}

ustring exeDirectory() {
  wchar_t path[MAX_PATH * 4];
  DWORD n = GetModuleFileNameW(nullptr, path, static_cast<DWORD>(std::size(path)));
  ustring p = fromWide(n ? path : L"");
  std::size_t slash = p.find_last_of(u"\\/");
  return slash == ustring::npos ? ustring() : p.substr(0, slash);
}

// A Unix path of the build tree as Wine sees it (drive Z: is the root).
ustring windowsPath(const ustring& p) {
  if (p.empty() || p[0] != u'/') return p;
  ustring out = u"Z:" + p;
  for (char16_t& c : out)
    if (c == u'/') c = u'\\';
  return out;
}

bool readFile(const ustring& path, std::string& out) {
  HANDLE h = CreateFileW(wz(path), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                         nullptr);
  if (h == INVALID_HANDLE_VALUE) return false;
  out.clear();
  char buf[65536];
  DWORD got = 0;
  while (ReadFile(h, buf, sizeof buf, &got, nullptr) && got > 0) out.append(buf, got);
  CloseHandle(h);
  return true;
}

Variant fieldValue(const ObjectPtr& rs, const ustring& name) {
  Variant field;
  try {
    field = rs->get(u"Fields", {Variant(name)});
  } catch (const Error&) {
    // A recordset whose Fields takes no index: index its collection instead.
    field = rs->get(u"Fields").toObject()->get(u"Item", {Variant(name)});
  }
  if (field.isObject()) return field.toObject()->get(u"Value");
  return field;
}

}  // namespace

CallResult CallResult::failed(const Error& e) {
  CallResult r;
  r.ok = false;
  r.number = e.number();
  r.hresult = e.hresult();
  r.source = e.source().empty() ? ustring(kSource) : e.source();
  r.description = e.description();
  return r;
}

App::App(Options options) : options_(std::move(options)) {
  if (options_.language) language_ = *options_.language;
  loadTable();
}

App::~App() {
  loader_.reset();
  shareProps_.reset();
}

void App::loadTable() {
  std::vector<ustring> candidates;
  if (options_.resources) candidates.push_back(*options_.resources);
  candidates.push_back(exeDirectory() + u"\\resources.tsv");
#ifdef LUMO_CLIENT_RESOURCES
  candidates.push_back(windowsPath(fromUtf8(LUMO_CLIENT_RESOURCES)));
#endif
  for (const ustring& path : candidates) {
    std::string bytes;
    if (!readFile(path, bytes)) {
      if (options_.resources && path == *options_.resources)
        report(u"resources-error: cannot read " + path);
      continue;
    }
    ustring error;
    if (!table_.parse(bytes, &error)) report(u"resources-error: " + path + u": " + error);
    tablePath_ = path;
    return;
  }
}

std::optional<ustring> App::askLoader(const ustring& key, Language l) const {
  if (!loaderTried_) {
    loaderTried_ = true;
    try {
      loader_ = com::createByProgId(u"LumoResLoader.Loader");
    } catch (const Error&) {
      loader_.reset();  // no loader registered: the table answers alone
    }
  }
  if (!loader_) return std::nullopt;
  try {
    if (loaderLanguage_ != l) {
      loader_->put(u"LanguageID", Variant(languageCode(l)));
      loaderLanguage_ = l;
    }
    return loader_->call(u"LoadString", {Variant(key)}).toString();
  } catch (const Error&) {
    return std::nullopt;
  }
}

ustring App::trIn(const ustring& key, Language l) const {
  return translate(key, l, table_, [&](const ustring& k) { return askLoader(k, l); });
}

CallResult App::signIn(const ustring& user, Language l) {
  ustring props;
  CallResult r = guarded([&] {
    if (!shareProps_) shareProps_ = com::createByProgId(u"PropsMgr.ShareProps");
    shareProps_->call(u"SignIn", {Variant(user), Variant(languageCode(l))});
    try {
      props = shareProps_->call(u"GetProperty", {Variant(static_cast<int32_t>(GetCurrentProcessId())),
                                                 Variant(u"PropsString")})
                  .toString();
    } catch (const Error&) {
      props.clear();  // signed in; the status line then names no database
    }
  });
  if (r.ok) {
    signedIn_ = true;
    user_ = user;
    language_ = l;
    props_ = props;
    report(signInOkLine(user, languageCode(l)));
  } else {
    ++failures_;
    report(signInErrorLine(r.source, r.description));
  }
  return r;
}

UserList App::listUsers() {
  UserList out;
  CallResult r = guarded([&] {
    ustring props;
    try {
      ObjectPtr sp = shareProps_ ? shareProps_ : com::createByProgId(u"PropsMgr.ShareProps");
      props = sp->call(u"GetProperty", {Variant(static_cast<int32_t>(GetCurrentProcessId())), Variant(u"PropsString")})
                  .toString();
    } catch (const Error&) {
      props.clear();
    }
    if (trim(props).empty()) props = kSystemSession;  // nobody signed in yet in this process
    ObjectPtr data = com::createByProgId(u"LumoMSmsManager.clsBillUseInfo");
    ObjectPtr rs = data->call(u"GetData", {Variant(props),
                                           Variant(u"Select FName,FEmpID From t_User Where FUserID Between 16384 "
                                                   u"And 32767 And FForbidden=0 Order By FUserID")})
                       .toObject();
    if (!rs) throw Error(errnum::ObjectVariableNotSet, {}, kSource);
    while (!rs->get(u"EOF").toBool()) {
      UserRow row;
      row.name = fieldValue(rs, u"FName").toString();
      Variant emp = fieldValue(rs, u"FEmpID");
      if (!emp.isNull() && !emp.isEmpty()) {
        try {
          row.hasEmployee = emp.toDouble() > 0;
        } catch (const Error&) {
          row.hasEmployee = false;
        }
      }
      if (!trim(row.name).empty()) out.users.push_back(row);
      rs->call(u"MoveNext");
    }
  });
  if (!r.ok) out.error = r.description;
  return out;
}

CallResult App::runCommand(const Command& c) {
  CallResult r = guarded([&] {
    ObjectPtr manager = com::createByProgId(u"LumoSmsManager.clsSmsManager");
    Args args;
    if (c.takesType) args.push_back(Variant(ustring()));
    manager->call(c.member, args);
    manager.reset();
  });
  if (r.ok) {
    report(commandOkLine(c.member));
  } else {
    ++failures_;
    report(commandErrorLine(c.member, r.source, r.description));
  }
  return r;
}

void App::report(const ustring& line) const {
  std::string bytes = toUtf8(line) + "\n";
  HANDLE err = GetStdHandle(STD_ERROR_HANDLE);
  if (err && err != INVALID_HANDLE_VALUE) {
    DWORD written = 0;
    WriteFile(err, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
  }
  if (options_.logFile) {
    if (FILE* f = _wfopen(wz(*options_.logFile), L"ab")) {
      fwrite(bytes.data(), 1, bytes.size(), f);
      fclose(f);
    }
  }
}

void App::showError(HWND owner, const ustring& title, const ustring& what, const CallResult& r) const {
  if (!options_.errorBoxes || r.ok) return;
  wchar_t hex[16];
  swprintf(hex, 16, L"0x%08lX", static_cast<unsigned long>(static_cast<uint32_t>(r.hresult)));
  ustring number = toText(r.number);
  if (r.number != r.hresult) number += u" (" + fromWide(hex) + u")";
  ustring text = r.description + u"\r\n\r\n";
  if (!what.empty()) text += what + u"\r\n";
  text += trf(u"错误来源: %1", {r.source}) + u"\r\n" + trf(u"错误号: %1", {number});
  MessageBoxW(owner, wz(text), wz(title), MB_OK | MB_ICONERROR);
}

// ---------------------------------------------------------------- DPI

UINT dpiOf(HWND window) {
  using GetDpiForWindowFn = UINT(WINAPI*)(HWND);
  static const auto getDpiForWindow = user32Function<GetDpiForWindowFn>("GetDpiForWindow");
  if (window && getDpiForWindow) {
    if (UINT d = getDpiForWindow(window)) return d;
  }
  HDC dc = GetDC(nullptr);
  int d = GetDeviceCaps(dc, LOGPIXELSY);
  ReleaseDC(nullptr, dc);
  return d > 0 ? static_cast<UINT>(d) : 96;
}

HFONT createUiFont(UINT dpi) {
  using SpiForDpiFn = BOOL(WINAPI*)(UINT, UINT, PVOID, UINT, UINT);
  static const auto spiForDpi = user32Function<SpiForDpiFn>("SystemParametersInfoForDpi");
  NONCLIENTMETRICSW ncm{};
  ncm.cbSize = sizeof ncm;
  if (!(spiForDpi && spiForDpi(SPI_GETNONCLIENTMETRICS, sizeof ncm, &ncm, 0, dpi))) {
    SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof ncm, &ncm, 0);
    ncm.lfMessageFont.lfHeight = MulDiv(ncm.lfMessageFont.lfHeight, static_cast<int>(dpi),
                                        static_cast<int>(dpiOf(nullptr)));
  }
  return CreateFontIndirectW(&ncm.lfMessageFont);
}

}  // namespace lumo::client
