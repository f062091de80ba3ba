#include "devhost/components/component.h"

#include "devhost/components/recordset.h"

namespace lumo::devhost {

Component::Component(ustring progId, std::shared_ptr<HostDb> db, std::optional<Error> dbError)
    : progId_(std::move(progId)), db_(std::move(db)), dbError_(std::move(dbError)) {}

ustring Component::className() const {
  std::size_t dot = progId_.rfind(u'.');
  return dot == ustring::npos ? progId_ : progId_.substr(dot + 1);
}

void Component::method(const ustring& name, Answer answer, Handler h) {
  members_.push_back({name, answer, std::move(h), {}});
}

void Component::property(const ustring& name, Answer answer, Variant initial) {
  members_.push_back({name, answer, nullptr, std::move(initial)});
}

Variant& Component::propertyValue(const ustring& name) {
  Member* m = find(name);
  if (!m || m->handler) throw Error(errnum::NotSupported);
  return m->value;
}

Component::Member* Component::find(const ustring& name) {
  for (auto& m : members_)
    if (equalsNoCase(m.name, name)) return &m;
  return nullptr;
}

const Component::Member* Component::find(const ustring& name) const {
  for (const auto& m : members_)
    if (equalsNoCase(m.name, name)) return &m;
  return nullptr;
}

bool Component::hasMember(const ustring& name) const { return find(name) != nullptr; }

const Variant& Component::arg(const Args& args, std::size_t index, const ustring& member) const {
  if (index >= args.size() || args[index].deref().isMissing())
    throw Error(errnum::WrongArgumentCount,
                progId_ + u"." + member + u" needs argument " + toText(static_cast<long long>(index + 1)), progId_);
  return args[index].deref();
}

ustring Component::textArg(const Args& args, std::size_t index, const ustring& member) const {
  const Variant& v = arg(args, index, member);
  return v.isNull() ? ustring() : v.toString();
}

Variant readMember(const ObjectPtr& o, const ustring& name, Args args) {
  try {
    return o->get(name, args);
  } catch (const Error& e) {
    if (e.number() != errnum::NotSupported && e.number() != static_cast<int32_t>(0x80020003)) throw;
  }
  return o->call(name, std::move(args));
}

ustring Component::describeArgument(const Variant& v) { return v.deref().describe(); }

ustring describeResult(const Variant& v) {
  const Variant& d = v.deref();
  if (d.isObject()) {
    if (auto rs = std::dynamic_pointer_cast<RecordsetObject>(d.toObject()))
      return u"<recordset: " + toText(static_cast<long long>(rs->rowCount())) + u" rows, " +
             toText(static_cast<long long>(rs->fieldCount())) + u" fields>";
  }
  return d.describe();
}

static Variant emptyOf(Answer a) {
  switch (a) {
    case Answer::Text: return ustring();
    case Answer::Long: return static_cast<int32_t>(0);
    case Answer::Bool: return false;
    case Answer::Recordset: return ObjectPtr(std::make_shared<RecordsetObject>());
    case Answer::Collection: return ObjectPtr(std::make_shared<Collection>());
    default: return {};
  }
}

Variant Component::answer(Member& m, InvokeKind kind, Args& args) {
  bool put = kind == InvokeKind::Put || kind == InvokeKind::PutRef;
  switch (db_->memberMode(progId_, m.name)) {
    case SwitchMode::Raise:
      throw Error(hosterr::Switched,
                  progId_ + u"." + m.name + u" failed: the development host's switch for this member is set to 'raise'",
                  progId_);
    case SwitchMode::Empty: return put ? Variant() : emptyOf(m.answer);
    default: break;
  }
  if (m.handler) {
    if (put) throw Error(errnum::NotSupported, progId_ + u"." + m.name + u" cannot be assigned", progId_);
    return m.handler(args);
  }
  if (put) {
    if (args.empty()) throw Error(errnum::WrongArgumentCount);
    m.value = args.back().deref();
    return {};
  }
  if (!args.empty()) throw Error(errnum::WrongArgumentCount, progId_ + u"." + m.name + u" takes no arguments", progId_);
  return m.value;
}

Variant Component::invoke(const ustring& name, InvokeKind kind, Args& args) {
  if (!db_) throw *dbError_;
  Member* m = find(name);
  const ustring method = m ? m->name : name;
  ustring arguments;
  for (std::size_t k = 0; k < args.size(); ++k) {
    if (k) arguments += u", ";
    arguments += describeArgument(args[k]);
  }
  long long seq = db_->journalCall(progId_, method, kind, arguments);
  try {
    if (!m)
      throw Error(errnum::NotSupported,
                  progId_ + u" has no member '" + name + u"' (" + standardDescription(errnum::NotSupported) + u")",
                  progId_);
    Variant result = answer(*m, kind, args);
    db_->journalResult(seq, describeResult(result));
    return result;
  } catch (Error& e) {
    e.withSource(progId_);
    try {
      db_->journalResult(seq, u"error " + toText(e.number()) + u": " + e.description());
    } catch (...) {
    }
    throw;
  } catch (const std::exception& e) {
    Error err(static_cast<int32_t>(0x80004005), fromUtf8(e.what()), progId_);
    try {
      db_->journalResult(seq, u"error " + toText(err.number()) + u": " + err.description());
    } catch (...) {
    }
    throw err;
  }
}

}  // namespace lumo::devhost
