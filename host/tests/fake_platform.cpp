#include "fake_platform.h"

#include "host/language.h"
#include "host/session.h"

namespace lumo::test {

std::string JournalEntry::text() const {
  std::string out = u8(component) + "." + u8(member);
  if (kind == InvokeKind::Put || kind == InvokeKind::PutRef) {
    out += kind == InvokeKind::Put ? " = " : " := ";
    out += args.empty() ? std::string() : u8(args.back());
    return out;
  }
  if (kind == InvokeKind::Get && args.empty()) return out;
  out += "(";
  for (std::size_t i = 0; i < args.size(); ++i) {
    if (i) out += ", ";
    out += u8(args[i]);
  }
  return out + ")";
}

FakeComponent::FakeComponent(FakePlatform& platform, ustring progId)
    : DynamicObject(progId), platform_(platform), progId_(std::move(progId)) {}

Variant FakeComponent::invoke(const ustring& name, InvokeKind kind, Args& args) {
  JournalEntry e{progId_, name, kind, {}};
  for (const Variant& a : args) e.args.push_back(a.describe());
  platform_.journal.push_back(std::move(e));
  return DynamicObject::invoke(name, kind, args);
}

void FakePlatform::registerFactory(const ustring& progId, Factory factory) { factories_[progId] = std::move(factory); }

void FakePlatform::registerComponent(const ustring& progId, Setup setup) {
  registerFactory(progId, [this, setup]() -> ObjectPtr {
    auto c = std::make_shared<FakeComponent>(*this, creatingAs_);
    if (setup) setup(*c);
    return c;
  });
}

void FakePlatform::unregister(const ustring& progId) { factories_.erase(progId); }

ObjectPtr FakePlatform::create(const ustring& progId) {
  auto it = factories_.find(progId);
  if (it == factories_.end()) {
    creations.push_back(u"!" + progId);
    throw Error(errnum::CannotCreateObject, u"ActiveX component can't create object: " + progId);
  }
  creations.push_back(progId);
  creatingAs_ = progId;
  ObjectPtr o = it->second();
  instances_.emplace_back(progId, o);
  return o;
}

std::size_t FakePlatform::liveInstances(const ustring& progId) const {
  std::size_t n = 0;
  for (const auto& [id, instance] : instances_)
    if (id == progId && !instance.expired()) ++n;
  return n;
}

std::size_t FakePlatform::creationCount(const ustring& progId) const {
  std::size_t n = 0;
  for (const auto& c : creations)
    if (c == progId) ++n;
  return n;
}

std::vector<std::string> FakePlatform::calls(const ustring& progId) const {
  std::vector<std::string> out;
  for (const auto& e : journal)
    if (progId.empty() || e.component == progId) out.push_back(e.text());
  return out;
}

void FakePlatform::setSessionString(const ustring& props) {
  registerComponent(u"PropsMgr.ShareProps", [props](FakeComponent& c) {
    c.on(u"GetProperty", [props](InvokeKind, Args& a) -> Variant {
      if (a.size() != 2) throw Error(errnum::WrongArgumentCount);
      if (a[1].toString() == u"PropsString") return props;
      return Variant();
    });
  });
}

void FakePlatform::setCurrentLanguage(const ustring& language) {
  registerComponent(u"LumoLangInfo.LangInfo",
                    [language](FakeComponent& c) { c.property(u"CurrentLanguage", language); });
}

void FakePlatform::addResLoader(const ustring& progId, std::map<ustring, ustring> table) {
  registerComponent(progId, [table](FakeComponent& c) {
    c.property(u"ResDirectory", u"(unset)").property(u"ResFileBaseName", u"(unset)").property(u"LanguageID", u"");
    FakeComponent* self = &c;
    auto lookup = [self, table](Args& a, const ustring& tag) -> Variant {
      err().clear();
      if (a.size() != 1) throw Error(errnum::WrongArgumentCount);
      const ustring key = a[0].toString();
      auto it = table.find(key);
      if (it != table.end()) return it->second;
      return self->propertyValue(u"LanguageID").toString() + tag + u":" + key;
    };
    c.on(u"LoadString", [lookup](InvokeKind, Args& a) { return lookup(a, u""); });
    c.on(u"LoadString2", [lookup](InvokeKind, Args& a) { return lookup(a, u"2"); });
  });
}

void FakePlatform::addFailingResLoader(const ustring& progId, int32_t number) {
  registerComponent(progId, [number](FakeComponent& c) {
    c.property(u"ResDirectory").property(u"ResFileBaseName").property(u"LanguageID");
    auto fail = [number](InvokeKind, Args&) -> Variant {
      Error e(number, u"resource file missing", u"ResLoader");
      err().set(e);
      throw e;
    };
    c.on(u"LoadString", fail);
    c.on(u"LoadString2", fail);
  });
}

void FakePlatform::addLogServer(int32_t result) {
  registerComponent(u"OxaBase.LogServer", [this, result](FakeComponent& c) {
    c.on(u"WriteLog", [result](InvokeKind, Args& a) -> Variant {
      if (a.size() != 6) throw Error(errnum::WrongArgumentCount);
      return result;
    });
    c.on(u"WriteBatchLog", [this](InvokeKind, Args& a) -> Variant {
      if (a.size() != 2) throw Error(errnum::WrongArgumentCount);
      batchLogs.push_back(a[1].deref());
      return Variant();
    });
  });
}

int32_t FakePlatform::computerNameA(std::string& buffer, uint32_t size) {
  computerNameSizes.push_back(size);
  computerNameBuffersIn.push_back(buffer);
  if (computerNameThrows) throw Error(453, u"Can't find DLL entry point GetComputerNameA");
  if (computerNameResult == 0) return 0;
  std::string written = computerName;
  if (computerNameTerminates) written.push_back('\0');
  if (written.size() > buffer.size()) written.resize(buffer.size());
  buffer.replace(0, written.size(), written);
  return computerNameResult;
}

int32_t FakePlatform::readTcp(std::string& first, std::string& buffer) {
  readTcpCalls.push_back({first, buffer});
  if (readTcpScript) return readTcpScript(first, buffer);
  std::string written = ipAddress + std::string(1, '\0');
  if (written.size() > buffer.size()) written.resize(buffer.size());
  buffer.replace(0, written.size(), written);
  return readTcpResult;
}

int32_t FakePlatform::messageBox(const ustring& prompt, int32_t buttons, const ustring& title) {
  messageBoxes.push_back({prompt, buttons, title});
  if (messageBoxThrows) throw Error(errnum::PermissionDenied, u"no desktop");
  if (!answers.empty()) {
    int32_t a = answers.front();
    answers.pop_front();
    return a;
  }
  return defaultAnswer;
}

ustring FakePlatform::moduleDirectory() {
  if (moduleDirectoryThrows) throw Error(errnum::PathNotFound);
  return moduleDir;
}

intptr_t FakePlatform::htmlHelp(intptr_t window, const std::string& path, uint32_t command, uintptr_t data) {
  helpCalls.push_back({window, path, command, data});
  if (htmlHelpThrows) throw Error(errnum::FileNotFound, u"hhctrl.ocx");
  return helpWindow;
}

int32_t FakePlatform::setWindowPos(intptr_t window, intptr_t insertAfter, int32_t x, int32_t y, int32_t cx, int32_t cy,
                                   uint32_t flags) {
  windowPosCalls.push_back({window, insertAfter, x, y, cx, cy, flags});
  return 1;
}

FakePlatformScope::FakePlatformScope(FakePlatform& p) : previous_(setPlatform(&p)) {
  resetLanguageObjects();
  setHostObject(nullptr);
  err().clear();
}

FakePlatformScope::~FakePlatformScope() {
  resetLanguageObjects();
  setHostObject(nullptr);
  err().clear();
  setPlatform(previous_);
}

}  // namespace lumo::test
