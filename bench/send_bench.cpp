// The send window's model side over a large directory: the search that loads the
// whole department tree and finds its last employee, Add with every employee
// checked, and the number check of the resulting list; each next to a plain single
// pass over the same data, at half and at full size.
//
//   send_bench [employees departments]   (default: 100000 2000, and half of it)
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <unordered_map>

#include "fake_platform.h"
#include "fake_recordset.h"
#include "fake_send_view.h"
#include "host/services.h"
#include "sms/send_sms.h"

using namespace lumo;
using namespace lumo::sms;
using lumo::test::FakeTable;

namespace {

struct Person {
  int32_t id;
  ustring name, mobile;
};

// The host side: departments 1..departments, each with its share of employees.
struct Company {
  std::vector<std::vector<Person>> byDepartment;  // index 0 unused
  std::unordered_map<ustring, std::size_t> memberSql;
  FakeTable departmentRows;

  Company(int employees, int departments) : byDepartment(static_cast<std::size_t>(departments) + 1) {
    for (int i = 1; i <= employees; ++i) {
      const int d = 1 + (i - 1) * departments / employees;
      ustring mobile = toText(i);
      mobile = u"139" + ustring(8 - mobile.size(), u'0') + mobile;
      byDepartment[static_cast<std::size_t>(d)].push_back({i, u"员工" + toText(i), mobile});
    }
    departmentRows.columns = {u"FDepartmentID", u"FDepartName"};
    for (int d = 1; d <= departments; ++d) {
      departmentRows.rows.push_back({int32_t(d), ustring(u"部门" + toText(d))});
      memberSql.emplace(departmentMembersSql(toText(d)), static_cast<std::size_t>(d));
    }
  }

  ObjectPtr query(const ustring& sql) const {
    if (sql == departmentTreeSql()) return test::makeRecordset(departmentRows);
    FakeTable t{{u"FItemID", u"FName", u"FDepartmentID", u"FMobilePhone"}, {}};
    auto it = memberSql.find(sql);
    if (it != memberSql.end()) {
      for (const Person& p : byDepartment[it->second])
        t.rows.push_back({p.id, p.name, int32_t(static_cast<int32_t>(it->second)), p.mobile});
    } else if (sql != noDepartmentMembersSql()) {
      throw Error(5, u"unexpected SQL");
    }
    return test::makeRecordset(std::move(t));
  }
};

double millis(const std::function<void()>& f) {
  const auto start = std::chrono::steady_clock::now();
  f();
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

[[noreturn]] void fail(const char* what) {
  std::fprintf(stderr, "send_bench: %s\n", what);
  std::exit(1);
}

struct Figures {
  double search = 1e300, searchRaw = 1e300, findAgain = 1e300, model = 1e300, checkAll = 1e300, add = 1e300, addRaw = 1e300, numbers = 1e300,
         numbersRaw = 1e300;
};

void measure(int employees, int departments, int rounds) {
  test::FakePlatform fake;
  test::FakePlatformScope scope(fake);
  fake.setSessionString(u"UserName=bench;Language=chs");
  fake.setCurrentLanguage(u"chs");
  fake.addLogServer();
  const Company company(employees, departments);
  fake.registerComponent(u"LumoMSmsManager.clsBillUseInfo", [&company](test::FakeComponent& c) {
    c.on(u"GetData", [&company](InvokeKind, Args& a) { return Variant(company.query(a.at(1).toString())); });
    c.on(u"GetEmpMobile", [](InvokeKind, Args&) { return Variant(u"13800000000"); });
  });

  const Person& last = company.byDepartment.back().back();
  Figures f;
  std::size_t listLength = 0;
  for (int round = 0; round < rounds; ++round) {
    test::FakeView view;
    SendSmsPresenter window(view);
    window.formLoad();
    fake.clearJournal();

    // (b) the search loads every department, then finds the last employee.
    view.find = last.name;
    f.search = std::min(f.search, millis([&] { window.cmdFindClick(); }));
    const TreeModel& t = window.tree(Tree::Department);
    if (t.selectedNode() == kNoNode || t.key(t.selectedNode()) != u"E" + toText(last.id)) fail("search missed");
    if (t.count() != static_cast<std::size_t>(employees + departments + 1)) fail("tree incomplete");
    // The same find once everything is loaded: the walk over 1..count alone.
    f.findAgain = std::min(f.findAgain, millis([&] { window.cmdFindClick(); }));
    if (t.key(t.selectedNode()) != u"E" + toText(last.id)) fail("second search missed");
    // The model alone: the same tree built, its placeholders replaced, then read by position.
    f.model = std::min(f.model, millis([&] {
      TreeModel m;
      std::vector<NodeId> roots;
      for (std::size_t d = 1; d < company.byDepartment.size(); ++d) {
        const ustring key = u"D" + toText(static_cast<long long>(d));
        roots.push_back(m.add(kNoNode, key, u"部门"));
        m.add(roots.back(), key + u"C1", u"正在加载数据");
      }
      for (std::size_t d = 1; d < company.byDepartment.size(); ++d) {
        m.remove(m.firstChild(roots[d - 1]));
        for (const Person& p : company.byDepartment[d]) m.add(roots[d - 1], u"E" + toText(p.id), p.name, p.mobile);
      }
      std::size_t hits = 0;
      for (std::size_t p = 1; p <= m.count(); ++p) hits += contains(m.text(m.at(p)), last.name) ? 1 : 0;
      if (hits != 1) fail("model walk");
    }));
    ustring found;
    f.searchRaw = std::min(f.searchRaw, millis([&] {
      for (const auto& department : company.byDepartment)
        for (const Person& p : department)
          if (found.empty() && contains(p.name, last.name)) found = p.name;
    }));
    if (found != last.name) fail("raw search missed");

    // (c) every employee checked, then Add.
    f.checkAll = std::min(f.checkAll, millis([&] {
      for (const ustring& key : window.topLevelKeys(Tree::Department))
        window.nodeCheck(Tree::Department, window.tree(Tree::Department).find(key), true);
    }));
    view.receivers.clear();
    f.add = std::min(f.add, millis([&] { window.cmdAddClick(); }));
    ustring raw;
    f.addRaw = std::min(f.addRaw, millis([&] {
      for (const auto& department : company.byDepartment)
        for (const Person& p : department) {
          if (!raw.empty()) raw += u',';
          raw += p.mobile;
        }
    }));
    if (view.receivers != raw) fail("Add differs from the plain join");
    listLength = raw.size();

    // (d) the number check of the whole list.
    ustring verdict = u"x";
    f.numbers = std::min(f.numbers, millis([&] { verdict = checkNumbers(view.receivers); }));
    if (!verdict.empty()) fail("number check refused the list");
    std::size_t digits = 0;
    f.numbersRaw = std::min(f.numbersRaw, millis([&] {
      for (char16_t c : raw) digits += (c >= u'0' && c <= u'9') ? 1 : 0;
    }));
    if (digits != static_cast<std::size_t>(employees) * 11) fail("raw digit count");
    if (!fake.messageBoxes.empty()) fail("a message was shown");
  }

  std::printf("%7d employees in %4d departments (list of %zu characters), best of %d:\n", employees, departments,
              listLength, rounds);
  std::printf("  (b) search, whole tree loaded : %9.2f ms   raw pass %7.3f ms   x%.0f\n", f.search, f.searchRaw,
              f.search / f.searchRaw);
  std::printf("      of which finding, loaded  : %9.2f ms\n", f.findAgain);
  std::printf("      the tree model alone      : %9.2f ms   (build, replace placeholders, walk)\n", f.model);
  std::printf("      check every department    : %9.2f ms\n", f.checkAll);
  std::printf("  (c) Add, everyone checked     : %9.2f ms   raw pass %7.3f ms   x%.1f\n", f.add, f.addRaw,
              f.add / f.addRaw);
  std::printf("  (d) number check of the list  : %9.2f ms   raw pass %7.3f ms   x%.1f\n", f.numbers, f.numbersRaw,
              f.numbers / f.numbersRaw);
}

}  // namespace

int main(int argc, char** argv) {
  int employees = 100000, departments = 2000;
  if (argc == 3) {
    employees = std::atoi(argv[1]);
    departments = std::atoi(argv[2]);
  }
  if (employees < 1 || departments < 1 || departments > employees) fail("usage: send_bench [employees departments]");
  measure(employees / 2, std::max(1, departments / 2), 3);
  measure(employees, departments, 3);
  return 0;
}
