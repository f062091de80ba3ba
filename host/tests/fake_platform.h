// A scripted platform for the core's tests: host components registered by
// ProgID, a journal of every call they receive, and the operating-system calls
// answered from fields the test sets.
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "automation/object.h"
#include "host/platform.h"
#include "tests/support/text.h"

namespace lumo::test {

class FakePlatform;

// One call received by a fake component.
struct JournalEntry {
  ustring component;          // ProgID the component was created under, as spelled
  ustring member;             // member name as called
  InvokeKind kind;            // method, property get, put or put-ref
  std::vector<ustring> args;  // Variant::describe() of each argument, as received

  // "PropsMgr.ShareProps.GetProperty(4242, 'PropsString')", "X.Y = 'v'", "X.Y" (a property read).
  std::string text() const;
};

// A host component built from DynamicObject whose every call is journalled.
class FakeComponent : public DynamicObject {
 public:
  FakeComponent(FakePlatform& platform, ustring progId);
  Variant invoke(const ustring& name, InvokeKind kind, Args& args) override;
  const ustring& progId() const { return progId_; }

 private:
  FakePlatform& platform_;
  ustring progId_;
};

struct MessageBoxCall {
  ustring prompt;
  int32_t buttons;
  ustring title;
};

struct HelpCall {
  intptr_t window;
  std::string path;
  uint32_t command;
  uintptr_t data;
};

struct WindowPosCall {
  intptr_t window, insertAfter;
  int32_t x, y, cx, cy;
  uint32_t flags;
};

class FakePlatform : public Platform {
 public:
  using Factory = std::function<ObjectPtr()>;
  // Sets up a freshly created component (its handlers and properties).
  using Setup = std::function<void(FakeComponent&)>;

  // ---- components -------------------------------------------------------
  // Registers a factory; ProgIDs compare without regard to case, as COM does.
  void registerFactory(const ustring& progId, Factory factory);
  // Registers a journalled FakeComponent that 'setup' prepares at each creation.
  void registerComponent(const ustring& progId, Setup setup);
  void unregister(const ustring& progId);
  ObjectPtr create(const ustring& progId) override;

  // ProgIDs in creation order, as the caller spelled them (failed creations
  // included, marked with a leading "!"). Two spellings that differ in case reach
  // the same registration but are counted and journalled apart, so a test can
  // tell which code created a component.
  std::vector<ustring> creations;
  // Instances created under progId (exact spelling) that are still alive.
  std::size_t liveInstances(const ustring& progId) const;
  std::size_t creationCount(const ustring& progId) const;

  // ---- journal ----------------------------------------------------------
  std::vector<JournalEntry> journal;
  // Texts of the journal entries, optionally only those of one component (exact spelling).
  std::vector<std::string> calls(const ustring& progId = {}) const;
  void clearJournal() { journal.clear(); creations.clear(); }

  // ---- ready-made host components ----------------------------------------
  // "PropsMgr.ShareProps" answering GetProperty(pid, "PropsString") with props.
  void setSessionString(const ustring& props);
  // "LumoLangInfo.LangInfo" with CurrentLanguage = language.
  void setCurrentLanguage(const ustring& language);
  // A resource loader under progId: LoadString(k) gives "<LanguageID>:k" unless
  // 'table' holds k, LoadString2(k) gives "<LanguageID>2:k"; properties
  // ResDirectory, ResFileBaseName, LanguageID. Each lookup first clears err(), as
  // the callee's own error handling would.
  void addResLoader(const ustring& progId, std::map<ustring, ustring> table = {});
  // A resource loader whose lookups raise 'number' (after disturbing err()).
  void addFailingResLoader(const ustring& progId, int32_t number = 48);
  // "OxaBase.LogServer": WriteLog returns 'result'; WriteBatchLog keeps its records.
  void addLogServer(int32_t result = 1);
  std::vector<Variant> batchLogs;  // the record collections handed to WriteBatchLog

  // What holdClassObjects was told, in order.
  std::vector<bool> classObjectHolds;
  void holdClassObjects(bool hold) override { classObjectHolds.push_back(hold); }

  // ---- operating system ----------------------------------------------------
  uint32_t processId = 4242;
  uint32_t currentProcessId() override { return processId; }

  // GetComputerNameA: writes computerName and a NUL into the buffer in place
  // (the rest of the buffer stays as the caller filled it). computerNameResult 0
  // means failure (buffer untouched); computerNameThrows raises instead.
  std::string computerName = "WORKSTATION01";
  int32_t computerNameResult = 1;
  bool computerNameTerminates = true;
  bool computerNameThrows = false;
  std::vector<uint32_t> computerNameSizes;
  std::vector<std::string> computerNameBuffersIn;
  int32_t computerNameA(std::string& buffer, uint32_t size) override;

  // ReadTcp: by default writes ipAddress and a NUL into the buffer and returns
  // readTcpResult. readTcpScript replaces that behaviour entirely.
  std::string ipAddress = "192.168.10.21";
  int32_t readTcpResult = 1;
  std::function<int32_t(std::string& first, std::string& buffer)> readTcpScript;
  struct ReadTcpCall {
    std::string first, buffer;
  };
  std::vector<ReadTcpCall> readTcpCalls;  // arguments as received
  int32_t readTcp(std::string& first, std::string& buffer) override;

  // Message boxes: recorded; answered from 'answers' in order, then defaultAnswer.
  std::vector<MessageBoxCall> messageBoxes;
  std::deque<int32_t> answers;
  int32_t defaultAnswer = 1;
  bool messageBoxThrows = false;
  int32_t messageBox(const ustring& prompt, int32_t buttons, const ustring& title) override;

  ustring moduleDir = u"C:\\Program Files\\Lumo\\SmsManager";
  bool moduleDirectoryThrows = false;
  ustring moduleDirectory() override;

  std::vector<HelpCall> helpCalls;
  intptr_t helpWindow = 0x5150;
  bool htmlHelpThrows = false;
  intptr_t htmlHelp(intptr_t window, const std::string& path, uint32_t command, uintptr_t data) override;

  std::vector<WindowPosCall> windowPosCalls;
  int32_t setWindowPos(intptr_t window, intptr_t insertAfter, int32_t x, int32_t y, int32_t cx, int32_t cy,
                       uint32_t flags) override;

 private:
  friend class FakeComponent;
  struct NoCaseLess {
    bool operator()(const ustring& a, const ustring& b) const { return toUpper(a) < toUpper(b); }
  };
  std::map<ustring, Factory, NoCaseLess> factories_;
  std::vector<std::pair<ustring, std::weak_ptr<Object>>> instances_;
  ustring creatingAs_;
};

// Installs a fake platform for the scope of a test and leaves the process-wide
// state (loaders, host object, pending error) clean before and after.
class FakePlatformScope {
 public:
  explicit FakePlatformScope(FakePlatform& p);
  ~FakePlatformScope();
  FakePlatformScope(const FakePlatformScope&) = delete;
  FakePlatformScope& operator=(const FakePlatformScope&) = delete;

 private:
  Platform* previous_;
};

}  // namespace lumo::test
