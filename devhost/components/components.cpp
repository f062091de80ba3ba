#include "devhost/components/components.h"

#include "devhost/components/component.h"
#include "devhost/components/gateway_log.h"
#include "devhost/components/notify_components.h"
#include "devhost/components/mobile_components.h"
#include "devhost/components/parameter_set.h"
#include "devhost/components/recordset.h"
#include "devhost/components/sql_dialect.h"

namespace lumo::devhost {

namespace {

using DbPtr = std::shared_ptr<HostDb>;
using DbError = std::optional<Error>;

int32_t intArg(const Variant& v) {
  double d = v.toDouble();
  if (d < -2147483648.0 || d > 2147483647.0) throw Error(errnum::Overflow);
  return static_cast<int32_t>(d);
}

ustring normalLanguage(const ustring& language) { return toLower(trim(language)); }

// ---------------------------------------------------------------------------
// "PropsMgr.ShareProps": the session of each process. SignIn and SignOut are the
// development host's own, for the stand-in client and for script probes.

class ShareProps : public Component {
 public:
  ShareProps(ustring progId, DbPtr database, DbError err)
      : Component(std::move(progId), std::move(database), std::move(err)) {
    method(u"GetProperty", Answer::Text, [this](Args& a) { return getProperty(a); });
    method(u"SignIn", Answer::Text, [this](Args& a) { return signIn(a); });
    method(u"SignOut", Answer::Nothing, [this](Args& a) {
      db().removeSession(processArg(a, 0));
      return Variant();
    });
  }

 private:
  uint32_t processArg(const Args& a, std::size_t index) {
    if (index >= a.size() || a[index].deref().isMissing() || a[index].deref().isEmpty()) return currentProcessId();
    return static_cast<uint32_t>(intArg(a[index].deref()));
  }

  Variant getProperty(Args& a) {
    uint32_t pid = static_cast<uint32_t>(intArg(arg(a, 0, u"GetProperty")));
    ustring name = textArg(a, 1, u"GetProperty");
    std::optional<Session> s = db().sessionOf(pid);
    if (!s)
      throw Error(hosterr::NotSignedIn,
                  u"No user is signed in for process " + toText(static_cast<long long>(pid)) +
                      u": sign in through PropsMgr.ShareProps.SignIn first",
                  progId());
    if (equalsNoCase(name, u"PropsString")) return s->propsString;
    if (equalsNoCase(name, u"UserName")) return s->user.name;
    if (equalsNoCase(name, u"UserID")) return s->user.id;
    if (equalsNoCase(name, u"Language")) return s->language;
    return {};
  }

  Variant signIn(Args& a) {
    ustring name = textArg(a, 0, u"SignIn");
    ustring language = a.size() > 1 && !a[1].deref().isMissing() ? normalLanguage(textArg(a, 1, u"SignIn")) : ustring();
    if (language.empty()) language = u"chs";
    if (language != u"chs" && language != u"en" && language != u"cht")
      throw Error(hosterr::BadArgument, u"SignIn: the language must be chs, en or cht, not '" + language + u"'",
                  progId());
    std::optional<User> u = db().userByName(name);
    if (!u) throw Error(hosterr::BadArgument, u"SignIn: there is no user named '" + name + u"'", progId());
    if (u->forbidden) throw Error(hosterr::BadArgument, u"SignIn: the user '" + name + u"' is forbidden", progId());
    Session s;
    s.processId = processArg(a, 2);
    s.user = *u;
    s.language = language;
    s.propsString = u"UserName=" + u->name + u";UserID=" + toText(u->id) +
                    u";DBMS Name=SQLite;DBMS Version=3;ConnectString={" + connectStringFor(db().path()) + u"}";
    db().storeSession(s);
    return s.propsString;
  }
};

// ---------------------------------------------------------------------------
// "LumoLangInfo.LangInfo"

class LangInfo : public Component {
 public:
  LangInfo(ustring progId, DbPtr database, DbError err)
      : Component(std::move(progId), std::move(database), std::move(err)) {
    method(u"CurrentLanguage", Answer::Text, [this](Args&) {
      std::optional<Session> s = db().sessionOf(currentProcessId());
      return Variant(s ? s->language : ustring(u"chs"));
    });
  }
};

// ---------------------------------------------------------------------------
// "LumoResLoader.Loader" (also reached as "LumoRESLOADER.Loader")

class ResLoader : public Component {
 public:
  ResLoader(ustring progId, DbPtr database, DbError err)
      : Component(std::move(progId), std::move(database), std::move(err)) {
    property(u"ResFileBaseName", Answer::Text, ustring());
    property(u"LanguageID", Answer::Text, ustring(u"chs"));
    property(u"ResDirectory", Answer::Text, ustring());
    method(u"LoadString", Answer::Text, [this](Args& a) { return lookup(textArg(a, 0, u"LoadString")); });
    method(u"LoadString2", Answer::Text, [this](Args& a) { return lookup(textArg(a, 0, u"LoadString2")); });
  }

 private:
  // Simplified Chinese is the key itself; an unknown key comes back unchanged.
  Variant lookup(const ustring& key) {
    const Variant& lang = propertyValue(u"LanguageID");
    ustring language = lang.isNull() ? ustring() : normalLanguage(lang.toString());
    if (language.empty() || language == u"chs") return key;
    Variant text =
        db().connection().scalar(u"SELECT FText FROM dh_Resource WHERE FKey=? AND FLanguage=?", {key, language});
    if (text.isString()) return text;
    return key;
  }
};

// ---------------------------------------------------------------------------
// "FrmRes.FrmResLoader"

ustring fontFor(const ustring& language) {
  ustring l = normalLanguage(language);
  if (l == u"cht") return u"新細明體";
  if (l == u"en") return u"Tahoma";
  return u"宋体";
}

int16_t charsetFor(const ustring& language) {
  ustring l = normalLanguage(language);
  if (l == u"cht") return 136;  // Chinese (traditional)
  if (l == u"en") return 0;     // Western
  return 134;                   // Chinese (simplified)
}

class FrmResLoader : public Component {
 public:
  FrmResLoader(ustring progId, DbPtr database, DbError err)
      : Component(std::move(progId), std::move(database), std::move(err)) {
    property(u"NeedMLColumnHeaders", Answer::Bool, false);
    // The forms are the add-in's own windows, which this loader cannot walk:
    // the call is journalled and answered without touching the form.
    method(u"LoadFrmResStrings", Answer::Nothing, [this](Args& a) {
      arg(a, 0, u"LoadFrmResStrings");
      return Variant();
    });
    // A form that shows its Font gets the language's face and character set, as
    // the host's own forms do; the name is the answer either way.
    method(u"SetFrmFont", Answer::Text, [this](Args& a) {
      const Variant& form = arg(a, 0, u"SetFrmFont");
      const ustring language = a.size() > 1 ? textArg(a, 1, u"SetFrmFont") : ustring();
      const ObjectPtr formObject = form.isObject() ? form.toObject() : nullptr;
      if (formObject && formObject->hasMember(u"Font")) {
        if (ObjectPtr font = formObject->get(u"Font").toObject()) {
          font->put(u"Name", fontFor(language));
          font->put(u"Charset", charsetFor(language));
        }
      }
      return Variant(fontFor(language));
    });
    method(u"GetLumoFontProps", Answer::Text,
           [this](Args& a) { return Variant(fontFor(a.empty() ? ustring() : textArg(a, 0, u"GetLumoFontProps"))); });
  }
};

// ---------------------------------------------------------------------------
// "OxaBase.LogServer"

class LogServer : public Component {
 public:
  LogServer(ustring progId, DbPtr database, DbError err)
      : Component(std::move(progId), std::move(database), std::move(err)) {
    method(u"WriteLog", Answer::Long, [this](Args& a) { return writeLog(a); });
    method(u"WriteBatchLog", Answer::Nothing, [this](Args& a) { return writeBatchLog(a); });
  }

 private:
  static ustring text(const Variant& v) { return v.isNull() || v.isEmpty() ? ustring() : v.toString(); }

  void insert(const std::optional<User>& u, const ustring& func, const Variant& statement, const ustring& desc,
              const ustring& machine, const ustring& ip, bool batch) {
    db().connection().execute(
        u"INSERT INTO dh_AuditLog (FUserID, FUserName, FFuncID, FStatement, FDesc, FMachineName, FIPAddress, FBatch, "
        u"FProcessID) VALUES (?,?,?,?,?,?,?,?,?)",
        {u ? Variant(u->id) : Variant::null(), u ? Variant(u->name) : Variant::null(), func, statement, desc, machine,
         ip, static_cast<int32_t>(batch ? 1 : 0), static_cast<int32_t>(currentProcessId())});
  }

  Variant writeLog(Args& a) {
    User u = db().resolveSession(arg(a, 0, u"WriteLog"));
    ustring func = textArg(a, 1, u"WriteLog");
    int32_t action = intArg(arg(a, 2, u"WriteLog"));
    ustring desc = a.size() > 3 ? text(a[3].deref()) : ustring();
    ustring machine = a.size() > 4 ? text(a[4].deref()) : ustring();
    ustring ip = a.size() > 5 ? text(a[5].deref()) : ustring();
    insert(u, func, action, desc, machine, ip, false);
    return static_cast<int32_t>(1);
  }

  // WriteBatchLog(records) or WriteBatchLog(props, records): a collection of
  // keyed records with the fields FFuncID, FStatement, FDesc, FMachineName, FIPAddress.
  Variant writeBatchLog(Args& a) {
    std::optional<User> u;
    const Variant* records = nullptr;
    if (a.size() >= 2) {
      u = db().resolveSession(arg(a, 0, u"WriteBatchLog"));
      records = &arg(a, 1, u"WriteBatchLog");
    } else {
      records = &arg(a, 0, u"WriteBatchLog");
      if (std::optional<Session> s = db().sessionOf(currentProcessId())) u = s->user;
    }
    ObjectPtr list = records->toObject();
    if (!list) throw Error(errnum::ObjectVariableNotSet, u"WriteBatchLog: the record collection is Nothing", progId());
    int32_t count = readMember(list, u"Count", {}).toI4();
    struct Row {
      ustring func, desc, machine, ip;
      Variant statement;
    };
    std::vector<Row> rows;
    for (int32_t i = 1; i <= count; ++i) {
      ObjectPtr rec = readMember(list, u"Item", {i}).toObject();
      if (!rec)
        throw Error(hosterr::BadArgument, u"WriteBatchLog: record " + toText(i) + u" is not an object", progId());
      auto field = [&](const char16_t* name) {
        try {
          return readMember(rec, u"Item", {ustring(name)});
        } catch (const Error& e) {
          throw Error(hosterr::BadArgument,
                      u"WriteBatchLog: record " + toText(i) + u" has no field " + name + u" (" + e.description() + u")",
                      progId());
        }
      };
      Row r;
      r.func = text(field(u"FFuncID"));
      r.statement = field(u"FStatement");
      r.desc = text(field(u"FDesc"));
      r.machine = text(field(u"FMachineName"));
      r.ip = text(field(u"FIPAddress"));
      if (!r.statement.isNull() && !r.statement.isEmpty()) r.statement = intArg(r.statement);
      rows.push_back(std::move(r));
    }
    odbc::Transaction t(db().connection());
    for (const Row& r : rows) insert(u, r.func, r.statement, r.desc, r.machine, r.ip, true);
    t.commit();
    return {};
  }
};

// ---------------------------------------------------------------------------
// "OxaBase.SecurityInfo"

class SecurityInfo : public Component {
 public:
  SecurityInfo(ustring progId, DbPtr database, DbError err)
      : Component(std::move(progId), std::move(database), std::move(err)) {
    method(u"AccessCheck", Answer::Bool, [this](Args& a) { return accessCheck(a); });
    method(u"GetCurrentUser", Answer::Text,
           [this](Args& a) { return Variant(db().resolveSession(arg(a, 0, u"GetCurrentUser")).name); });
    method(u"GetCurrentUserID", Answer::Long,
           [this](Args& a) { return Variant(db().resolveSession(arg(a, 0, u"GetCurrentUserID")).id); });
    method(u"CheckEmpIsGroup", Answer::Bool, [this](Args& a) {
      return checkEmpIsGroup(db(), arg(a, 0, u"CheckEmpIsGroup"), arg(a, 1, u"CheckEmpIsGroup"));
    });
  }

 private:
  // Administrators hold every right; others the union of the masks granted to
  // them and to their groups. A forbidden user holds none.
  Variant accessCheck(Args& a) {
    User u = db().resolveSession(arg(a, 0, u"AccessCheck"));
    int32_t objectType = intArg(arg(a, 1, u"AccessCheck"));
    int32_t objectId = intArg(arg(a, 2, u"AccessCheck"));
    int32_t mask = intArg(arg(a, 3, u"AccessCheck"));
    if (u.forbidden) return false;
    if (db().isAdministrator(u)) return true;
    const uint32_t granted = db().grantedRights(u, objectType, objectId);
    uint32_t wanted = static_cast<uint32_t>(mask);
    return (granted & wanted) == wanted;
  }
};

// ---------------------------------------------------------------------------
// The employee behind a session: the one its user is bound to, unless deleted.

std::optional<Employee> sessionEmployee(HostDb& db, const Variant& props) {
  return db.employeeOf(db.resolveSession(props));
}

// ---------------------------------------------------------------------------
// "LumoMSmsManager.CSerivceInfo"

class ServiceInfo : public Component {
 public:
  ServiceInfo(ustring progId, DbPtr database, DbError err)
      : Component(std::move(progId), std::move(database), std::move(err)) {
    // The name that signs the user's messages; "" tells the add-in that the user
    // is bound to no employee.
    method(u"EmpInfo", Answer::Text, [this](Args& a) {
      std::optional<Employee> e = sessionEmployee(db(), arg(a, 0, u"EmpInfo"));
      return Variant(e ? e->name : ustring());
    });
  }
};

// ---------------------------------------------------------------------------
// "LumoMSmsManager.clsBillUseInfo"

class BillUseInfo : public Component {
 public:
  BillUseInfo(ustring progId, DbPtr database, DbError err)
      : Component(std::move(progId), std::move(database), std::move(err)) {
    method(u"GetData", Answer::Recordset, [this](Args& a) { return getData(a); });
    // The sender id of the send window: the number as stored, "" when it is null.
    method(u"GetEmpMobile", Answer::Text, [this](Args& a) {
      std::optional<Employee> e = sessionEmployee(db(), arg(a, 0, u"GetEmpMobile"));
      return Variant(e && !e->mobile.isNull() ? e->mobile.toString() : ustring());
    });
    addServiceQueries([this](const ustring& name, Answer answer, Handler h) { method(name, answer, std::move(h)); },
                      [this]() -> HostDb& { return db(); }, this->progId());
  }

 private:
  Variant getData(Args& a) {
    db().resolveSession(arg(a, 0, u"GetData"));
    ustring sql = textArg(a, 1, u"GetData");
    if (db().isSqlite()) sql = adaptSqlForSqlite(sql);
    return ObjectPtr(std::make_shared<RecordsetObject>(db().connection().query(sql)));
  }
};

// ---------------------------------------------------------------------------
// "VtMobileOpen.MobileOpen": the SMS gateway. SendMessage checks the parameter set
// the send window builds, keeps the message in dh_Outbox with one
// dh_OutboxReceiver row per receiver, and answers the message id.

class MobileOpen : public Component {
 public:
  MobileOpen(ustring progId, DbPtr database, DbError err)
      : Component(std::move(progId), std::move(database), std::move(err)) {
    method(u"SendMessage", Answer::Text, [this](Args& a) { return sendMessage(a); });
    // The message log: one row per receiver, its delivery as it stands now.
    method(u"QueryLog", Answer::Recordset, [this](Args& a) { return Variant(queryLog(db(), a)); });
  }

 protected:
  ustring describeArgument(const Variant& v) override {
    const Variant& d = v.deref();
    if (d.isObject() && d.toObject()) {
      try {
        return describeParameterSet(readParameterSet(d.toObject(), parameterNames()));
      } catch (...) {
        // Not readable as a parameter set: SendMessage reports why.
      }
    }
    return Component::describeArgument(v);
  }

 private:
  static const std::vector<ustring>& parameterNames() {
    static const std::vector<ustring> names = {u"title",     u"msgType",  u"Propstr",   u"isRevertible",
                                               u"receivers", u"senderid", u"FuncNumber"};
    return names;
  }

  // The receivers text split at ",", empty entries left out, order kept; each
  // entry as it stands.
  static std::vector<ustring> receiversOf(const ustring& receivers) {
    std::vector<ustring> out;
    for (ustring& r : split(receivers, u","))
      if (!r.empty()) out.push_back(std::move(r));
    return out;
  }

  [[noreturn]] void refuse(const ustring& why, int32_t number = hosterr::BadArgument) {
    throw Error(number, progId() + u".SendMessage: " + why, progId());
  }

  static bool isFlag(const Variant& v) {
    if (v.type() != Variant::Type::I2 && v.type() != Variant::Type::I4) return false;
    int32_t n = v.toI4();
    return n == 0 || n == 1;
  }

  static ustring listOfNames() { return join(parameterNames(), u", "); }

  // The parameter set's names, exactly (case counts), each once; every one present.
  void checkNames(const ParameterSet& set) {
    std::vector<ustring> seen;
    for (const Parameter& p : set.entries) {
      ustring name = parameterName(p.name);
      bool known = false;
      ustring sameButCase;
      for (const ustring& n : parameterNames()) {
        if (p.name.isString() && n == p.name.rawString()) known = true;
        else if (p.name.isString() && equalsNoCase(n, p.name.rawString())) sameButCase = n;
      }
      if (!known) {
        ustring why = u"the parameter set holds '" + name + u"', which is not a parameter of SendMessage (" +
                      listOfNames() + u")";
        if (!sameButCase.empty()) why += u"; names are exact: '" + sameButCase + u"' is meant";
        refuse(why);
      }
      for (const ustring& s : seen)
        if (s == name) refuse(u"the parameter set holds '" + name + u"' twice");
      seen.push_back(name);
    }
    for (const ustring& n : parameterNames()) {
      bool present = false;
      for (const ustring& s : seen) present |= s == n;
      if (!present) refuse(u"the parameter set has no '" + n + u"' (it needs " + listOfNames() + u")");
    }
    if (set.unnamed)
      refuse(u"the parameter set holds " + toText(static_cast<long long>(set.entries.size() + set.unnamed)) +
             u" entries; only " + listOfNames() + u" belong to SendMessage");
  }

  static const Variant& valueOf(const ParameterSet& set, const ustring& name) {
    for (const Parameter& p : set.entries)
      if (p.name.isString() && p.name.rawString() == name) return p.value;
    throw Error(hosterr::BadArgument, u"no " + name);  // checkNames has made sure it is there
  }

  Variant sendMessage(Args& a) {
    const Variant& arg0 = arg(a, 0, u"SendMessage");
    if (!arg0.isObject() || !arg0.toObject())
      refuse(u"the argument must be a parameter set (a name-to-value object), not " + arg0.describe());
    ParameterSet set;
    try {
      set = readParameterSet(arg0.toObject(), parameterNames());
    } catch (const Error& e) {
      refuse(e.description());
    }
    checkNames(set);

    const Variant& title = valueOf(set, u"title");
    if (!title.isString() || title.rawString().empty())
      refuse(u"title must be non-empty text, not " + title.describe());
    const Variant& msgType = valueOf(set, u"msgType");
    if (!isFlag(msgType)) refuse(u"msgType must be the integer 0 or 1, not " + msgType.describe());
    const Variant& propstr = valueOf(set, u"Propstr");
    if (!propstr.isString()) refuse(u"Propstr must be a session string, not " + propstr.describe());
    User sender;
    try {
      sender = db().resolveSession(propstr);
    } catch (const Error& e) {
      refuse(u"Propstr is not a known session (" + e.description() + u")", e.number());
    }
    const Variant& revertible = valueOf(set, u"isRevertible");
    if (!isFlag(revertible)) refuse(u"isRevertible must be the integer 0 or 1, not " + revertible.describe());
    const Variant& receivers = valueOf(set, u"receivers");
    if (!receivers.isString() || receivers.rawString().empty())
      refuse(u"receivers must be non-empty text, not " + receivers.describe());
    std::vector<ustring> list = receiversOf(receivers.rawString());
    if (list.empty()) refuse(u"receivers " + receivers.describe() + u" names no receiver");
    const Variant& senderId = valueOf(set, u"senderid");
    if (!senderId.isString()) refuse(u"senderid must be text, not " + senderId.describe());
    const Variant& funcNumber = valueOf(set, u"FuncNumber");
    if (!funcNumber.isString() || funcNumber.rawString() != u"YDSW")
      refuse(u"FuncNumber must be 'YDSW', not " + funcNumber.describe());

    odbc::Connection& c = db().connection();
    odbc::Transaction t(c);
    c.execute(u"INSERT INTO dh_Outbox (FUserID, FUserName, FTitle, FMsgType, FPropstr, FIsRevertible, FReceivers, "
              u"FSenderID, FFuncNumber, FProcessID, FMachineName) VALUES (?,?,?,?,?,?,?,?,?,?,?)",
              {sender.id, sender.name, title, msgType.toI4(), propstr, revertible.toI4(), receivers, senderId,
               funcNumber, static_cast<int32_t>(currentProcessId()), workstationName()});
    long long id = db().lastInsertId();
    // Each receiver's fate is decided now and reached at the gateway's pace.
    const bool deliveryFails = db().memberMode(progId(), u"Deliver") == SwitchMode::Raise;
    const int32_t pace = deliverySeconds(db());
    for (std::size_t k = 0; k < list.size(); ++k) {
      const Delivery d = deliveryOf(db(), list[k], deliveryFails);
      c.execute(u"INSERT INTO dh_OutboxReceiver (FMessageID, FSeq, FReceiver, FOutcome, FReason, FSentAt, FDoneAt) "
                u"VALUES (?,?,?,?,?,"
                u" CASE WHEN ? > 0 THEN strftime('%Y-%m-%d %H:%M:%f', 'now', 'localtime', ?) END,"
                u" CASE WHEN ? > 0 THEN strftime('%Y-%m-%d %H:%M:%f', 'now', 'localtime', ?) END)",
                {static_cast<double>(id), static_cast<int32_t>(k + 1), list[k], d.outcome,
                 d.reason.empty() ? Variant::null() : Variant(d.reason), pace,
                 u"+" + fromUtf8(std::to_string(pace / 2.0)) + u" seconds", pace, u"+" + toText(pace) + u" seconds"});
    }
    t.commit();
    return toText(id);
  }
};

// ---------------------------------------------------------------------------

template <class T>
ObjectPtr make(const ustring& progId, DbPtr db, DbError err) {
  return std::make_shared<T>(progId, std::move(db), std::move(err));
}

struct Entry {
  ComponentClass cls;
  ObjectPtr (*make)(const ustring&, DbPtr, DbError);
};

const std::vector<Entry>& entries() {
  static const std::vector<Entry> e = {
      {{u"PropsMgr.ShareProps", u"{CF091B90-086E-4B9A-81E8-0A02D3159EC4}", u"Development host shared properties"},
       &make<ShareProps>},
      {{u"LumoResLoader.Loader", u"{F82A3F3B-13ED-426E-8E0D-148889409892}", u"Development host resource loader"},
       &make<ResLoader>},
      {{u"FrmRes.FrmResLoader", u"{272B7086-D104-47A9-9561-F7918B9C7923}", u"Development host form resource loader"},
       &make<FrmResLoader>},
      {{u"LumoLangInfo.LangInfo", u"{F29839DA-0A57-4771-BA5B-94001B6AF6D0}", u"Development host language information"},
       &make<LangInfo>},
      {{u"OxaBase.LogServer", u"{CCBC6078-F70C-4907-ADA5-E84F9F27DA73}", u"Development host audit log server"},
       &make<LogServer>},
      {{u"OxaBase.SecurityInfo", u"{82D60FF5-1765-4C10-AB21-37EB0B51600E}", u"Development host security information"},
       &make<SecurityInfo>},
      {{u"LumoMSmsManager.clsBillUseInfo", u"{C7DE10CC-F459-497C-A23C-65ED157B5DE7}",
        u"Development host bill use information"},
       &make<BillUseInfo>},
      {{u"LumoMSmsManager.CSerivceInfo", u"{799675B1-A76B-4289-B726-429CD490966D}",
        u"Development host service information"},
       &make<ServiceInfo>},
      {{u"VtMobileOpen.MobileOpen", u"{919FB0E2-869F-484D-AFD2-A9EAEB773157}", u"Development host SMS gateway"},
       &make<MobileOpen>},
      {{u"LumoMSmsManager.clsBillUseUpdate", u"{E59FFB13-AF7D-4A44-84BD-682EBCAD80D5}",
        u"Development host bill use update"},
       &makeBillUseUpdate},
      {{u"LumoMMobileMCSrv.CGetData", u"{8D0487B4-2BD7-4F87-9A5F-F6691B59FECB}", u"Development host mobile workflows"},
       &makeFlowData},
      {{u"OxaGLItem.ItemUpdate", u"{5B0E7A52-3C1F-4D8E-9A61-2F4C8B7D1E03}", u"Development host item update"},
       &makeItemUpdate},
      {{u"OxcGLView.GLView", u"{A3D9C6F1-7E24-4B5A-8C0D-91E6F2B4A758}", u"Development host item lookup"},
       &makeGLView},
      {{u"OxaBase.SecurityAdmin", u"{E1F47B2C-95D3-4A68-B7E0-3C2A6D8F5B91}", u"Development host security administration"},
       &makeSecurityAdmin},
      {{u"LumoMRightManage.CUserInfo", u"{7C2B58E4-1A9F-4D36-8E5B-C40F9A2D6E17}", u"Development host user rights"},
       &makeUserInfo},
  };
  return e;
}

const Entry* findEntry(const ustring& progId) {
  for (const auto& e : entries())
    if (equalsNoCase(e.cls.progId, progId)) return &e;
  return nullptr;
}

}  // namespace

const std::vector<ComponentClass>& componentClasses() {
  static const std::vector<ComponentClass> classes = [] {
    std::vector<ComponentClass> v;
    for (const auto& e : entries()) v.push_back(e.cls);
    return v;
  }();
  return classes;
}

const ComponentClass* findComponentClass(const ustring& progId) {
  for (const auto& c : componentClasses())
    if (equalsNoCase(c.progId, progId)) return &c;
  return nullptr;
}

ObjectPtr createComponent(const ustring& progId) {
  const Entry* e = findEntry(progId);
  if (!e)
    throw Error(errnum::CannotCreateObject,
                standardDescription(errnum::CannotCreateObject) + u": '" + progId +
                    u"' is not a component of the development host",
                u"LumoDevHost");
  DbPtr db;
  DbError err;
  try {
    db = HostDb::current();
  } catch (const Error& x) {
    err = x;  // reported by every call, so that the reason is seen
  }
  if (db && db->creationMode(e->cls.progId) == SwitchMode::Missing)
    throw Error(errnum::CannotCreateObject,
                standardDescription(errnum::CannotCreateObject) + u": '" + ustring(e->cls.progId) +
                    u"' is switched to 'missing' in dh_Switch",
                u"LumoDevHost");
  return e->make(e->cls.progId, std::move(db), std::move(err));
}

}  // namespace lumo::devhost
