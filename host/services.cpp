#include "host/services.h"

#include <new>

#include "host/language.h"
#include "host/platform.h"
#include "host/session.h"

namespace lumo {

const char16_t* const kDefaultTitle = u"Vantor提示";

int32_t msgBoxEx(const ustring& prompt, int32_t buttons, const ustring& title) {
  // Only the house title is a resource text; a caller's own title is already final.
  const ustring shown = title == kDefaultTitle ? loadVtString(title) : title;
  return platform().messageBox(prompt, buttons, shown);
}

void showHostMessage(const ustring& text) { msgBoxEx(text, msgbox::vbOKOnly, kDefaultTitle); }

int32_t writeLog(const ustring& funcCode, int32_t action, const ustring& description, const ustring& machineName,
                 const ustring& ipAddress) {
  // Logging must never stop the operation being logged.
  try {
    ObjectPtr log = platform().create(u"OxaBase.LogServer");
    return log->call(u"WriteLog", {getPropsString(), funcCode, action, description, machineName, ipAddress}).toI4();
  } catch (const std::exception&) {
    return 0;
  }
}

ObjectPtr makeBatchAuditRecord(const ustring& funcCode, const ustring& description, const ustring& machineName,
                               const ustring& ipAddress) {
  // A keyed collection: the log server reads each field by name, record("FDesc").
  auto record = std::make_shared<Collection>();
  const ustring funcKey = u"FFuncID", statementKey = u"FStatement", descKey = u"FDesc",
                machineKey = u"FMachineName", ipKey = u"FIPAddress";
  record->add(funcCode, &funcKey);
  record->add(static_cast<int16_t>(audit::Operation), &statementKey);
  record->add(description, &descKey);
  record->add(machineName, &machineKey);
  record->add(ipAddress, &ipKey);
  return record;
}

void writeBatchLog(const ObjectPtr& records) {
  ObjectPtr log = platform().create(u"OxaBase.LogServer");
  Variant collection{records};
  log->call(u"WriteBatchLog", {getPropsString(), Variant::ref(&collection)});
}

ustring getMachineName() {
  try {
    std::string buffer(128, ' ');
    if (platform().computerNameA(buffer, 128) == 0) return {};
    const std::size_t end = buffer.find('\0');
    if (end == std::string::npos) return {};  // the cut fails: no name
    return platform().fromAnsi(buffer.substr(0, end));
  } catch (const std::exception&) {
    return {};
  }
}

ustring getIPAddress() {
  std::string first;
  std::string buffer(64, ' ');
  if (platform().readTcp(first, buffer) != 1) return {};
  const std::size_t end = buffer.find('\0');
  // The library reported success without terminating the text: the cut before
  // the terminator is an invalid argument, and the caller hears of it.
  if (end == std::string::npos) throw Error(errnum::InvalidCall);
  return platform().fromAnsi(buffer.substr(0, end));
}

void showHelp(intptr_t formWindow) {
  try {
    Platform& p = platform();
    const ustring path = p.moduleDirectory() + u"\\MobileService.chm";
    const intptr_t help = p.htmlHelp(formWindow, p.toAnsi(path), 0, 0);
    // Not topmost, no size, no move, no activate, show.
    p.setWindowPos(help, -2, 0, 0, 0, 0, 0x53);
  } catch (const std::exception&) {
    // A missing help file is not worth a message.
  }
}

bool checkOrnListDataType(const ustring& moduleType, const ustring& value) {
  double v = 0;
  try {
    v = Variant(value).toDouble();
  } catch (const std::exception&) {
    return false;
  }
  auto in = [v](double low, double high) { return v >= low && v <= high; };
  if (moduleType == u"W") {
    // The third range starts at 1005001 and the fourth ends at 1007799 on purpose.
    return in(1001000, 1001999) || in(1003000, 1004999) || in(1005001, 1005999) || in(1007000, 1007799) ||
           in(1010000, 1010999);
  }
  if (moduleType == u"C") return in(1000000, 1000999) || in(1006000, 1006999) || in(1009000, 1009999);
  if (moduleType == u"Z") return in(1002000, 1002999);
  return false;
}

bool errorTrap(const ustring& source, const std::function<void()>& body) {
  try {
    body();
    return true;
  } catch (...) {
    trapError(std::current_exception(), source);
    return false;
  }
}

void trapError(std::exception_ptr error, const ustring& source) {
  Error trapped(0, {});
  try {
    std::rethrow_exception(error);
  } catch (Error& e) {
    e.withSource(source);
    trapped = e;
  } catch (const std::bad_alloc&) {
    trapped = Error(7, u"Out of memory", source);
  } catch (const std::exception& e) {
    // A failure from outside the automation layer: reported as an unspecified
    // automation failure with its own text.
    trapped = Error(static_cast<int32_t>(0x80004005u), fromUtf8(e.what()), source);
  } catch (...) {
    trapped = Error(static_cast<int32_t>(0x80004005u), u"Unexpected failure", source);
  }
  err().set(trapped);
  showHostMessage(trapped.description());
}

}  // namespace lumo
