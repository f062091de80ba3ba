// The common behaviour of the development host's components: members by name,
// every call journalled before it is answered, and the failure switches tests
// set in dh_Switch consulted before each answer.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "automation/object.h"
#include "devhost/components/hostdb.h"

namespace lumo::devhost {

// What a member answers; a member switched to 'empty' answers the empty value
// of its kind ("" / 0 / False / a recordset without rows / a collection without
// items / Empty).
enum class Answer { Nothing, Text, Long, Bool, Recordset, Value, Collection };

class Component : public Object {
 public:
  // db is null when the database could not be opened; every call then raises dbError.
  Component(ustring progId, std::shared_ptr<HostDb> db, std::optional<Error> dbError);

  Variant invoke(const ustring& name, InvokeKind kind, Args& args) final;
  bool hasMember(const ustring& name) const final;
  ustring className() const override;

  const ustring& progId() const { return progId_; }

 protected:
  using Handler = std::function<Variant(Args&)>;
  // A method (also reachable as a property get, as late-bound callers do).
  void method(const ustring& name, Answer answer, Handler h);
  // A read/write property holding a value.
  void property(const ustring& name, Answer answer, Variant initial);
  Variant& propertyValue(const ustring& name);

  HostDb& db() { return *db_; }

  // How an argument is written into the journal; the value's short form unless a
  // component knows better (a parameter set is put as its name=value pairs).
  virtual ustring describeArgument(const Variant& v);

  // Argument helpers: raise 450 naming the member when an argument is missing.
  const Variant& arg(const Args& args, std::size_t index, const ustring& member) const;
  ustring textArg(const Args& args, std::size_t index, const ustring& member) const;

 private:
  struct Member {
    ustring name;
    Answer answer;
    Handler handler;  // empty for a property
    Variant value;    // a property's value
  };
  Member* find(const ustring& name);
  const Member* find(const ustring& name) const;
  Variant answer(Member& m, InvokeKind kind, Args& args);

  ustring progId_;
  std::shared_ptr<HostDb> db_;
  std::optional<Error> dbError_;
  std::vector<Member> members_;
};

// Reads a member of an object handed in by a caller that may be a property (get)
// or a method, as collections of different makers expose Count and Item either way.
Variant readMember(const ObjectPtr& o, const ustring& name, Args args);

// The journal's text of a result ("<recordset: 3 rows, 2 fields>" for recordsets).
ustring describeResult(const Variant& v);

}  // namespace lumo::devhost
