// lumo-dbgen: writes the development host's demo ERP database (SQLite).
//
//   lumo-dbgen --out FILE [--size demo|large|N|N-employees] [--resources FILE | --no-resources]
//
// The data is a pure function of the arguments (fixed seeds, no environment), so
// two runs with the same inputs give the same database. The one use of the clock:
// the SMS gateway's month of history ends at --now, by default the moment the
// database is made, so that a new demo shows recent messages.
// "demo" is a small hand-written company that reaches every branch the add-in's
// windows have; the numeric sizes are generated and meant for benchmarks.
#include <sqlite3.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <algorithm>
#include <fstream>
#include <iterator>
#include <optional>
#include <span>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "clock_text.h"

extern const char* const kLumoSchemaSql;

namespace {

// ---------------------------------------------------------------------------
// SQLite helpers

struct Failure : std::runtime_error {
  using std::runtime_error::runtime_error;
};

class Db {
 public:
  explicit Db(const std::string& path) {
    if (sqlite3_open_v2(path.c_str(), &db_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr) != SQLITE_OK) {
      std::string msg = db_ ? sqlite3_errmsg(db_) : "out of memory";
      sqlite3_close(db_);
      throw Failure("cannot create " + path + ": " + msg);
    }
  }
  ~Db() { sqlite3_close(db_); }
  Db(const Db&) = delete;
  Db& operator=(const Db&) = delete;

  void exec(const char* sql) {
    char* err = nullptr;
    if (sqlite3_exec(db_, sql, nullptr, nullptr, &err) != SQLITE_OK) {
      std::string msg = err ? err : "unknown error";
      sqlite3_free(err);
      throw Failure("SQL failed: " + msg);
    }
  }
  sqlite3* get() const { return db_; }

 private:
  sqlite3* db_ = nullptr;
};

// A prepared INSERT; values are bound in column order, nullopt binds NULL.
class Insert {
 public:
  using Value = std::optional<std::string>;
  Insert(Db& db, const char* sql) : db_(db) {
    if (sqlite3_prepare_v2(db.get(), sql, -1, &st_, nullptr) != SQLITE_OK)
      throw Failure(std::string("prepare failed: ") + sqlite3_errmsg(db.get()) + " in " + sql);
  }
  ~Insert() { sqlite3_finalize(st_); }
  Insert(const Insert&) = delete;
  Insert& operator=(const Insert&) = delete;

  Insert& i(long long v) {
    sqlite3_bind_int64(st_, ++col_, v);
    return *this;
  }
  Insert& t(const std::string& v) {
    sqlite3_bind_text(st_, ++col_, v.data(), static_cast<int>(v.size()), SQLITE_TRANSIENT);
    return *this;
  }
  Insert& t(const char* v) {
    if (v)
      sqlite3_bind_text(st_, ++col_, v, -1, SQLITE_TRANSIENT);
    else
      sqlite3_bind_null(st_, ++col_);
    return *this;
  }
  Insert& null() {
    sqlite3_bind_null(st_, ++col_);
    return *this;
  }
  Insert& iOrNull(std::optional<long long> v) { return v ? i(*v) : null(); }
  Insert& tOrNull(const std::optional<std::string>& v) { return v ? t(*v) : null(); }
  void run() {
    if (sqlite3_step(st_) != SQLITE_DONE) throw Failure(std::string("insert failed: ") + sqlite3_errmsg(db_.get()));
    sqlite3_reset(st_);
    sqlite3_clear_bindings(st_);
    col_ = 0;
  }

 private:
  Db& db_;
  sqlite3_stmt* st_ = nullptr;
  int col_ = 0;
};

struct Inserts {
  explicit Inserts(Db& db)
      : item(db, "INSERT INTO t_Item (FItemID, FItemClassID, FNumber, FName, FParentID, FDetail, FDeleted) VALUES (?,?,?,?,?,?,?)"),
        dept(db, "INSERT INTO t_Department (FItemID, FNumber, FName) VALUES (?,?,?)"),
        emp(db, "INSERT INTO t_Emp (FItemID, FNumber, FName, FDepartmentID, FMobilePhone) VALUES (?,?,?,?,?)"),
        user(db, "INSERT INTO t_User (FUserID, FName, FEmpID, FForbidden, FDescription, FUserType) VALUES (?,?,?,?,?,?)"),
        group(db, "INSERT INTO t_Group (FGroupID, FUserID) VALUES (?,?)"),
        profile(db, "INSERT INTO t_SystemProfile (FCategory, FKey, FValue, FDescription) VALUES (?,?,?,?)"),
        right(db, "INSERT INTO dh_Right (FUserID, FObjectType, FObjectID, FAccessMask) VALUES (?,?,?,?)"),
        resource(db, "INSERT OR REPLACE INTO dh_Resource (FKey, FLanguage, FText) VALUES (?,?,?)") {}
  Insert item, dept, emp, user, group, profile, right, resource;
};

constexpr int kClassDepartment = 2;
constexpr int kClassEmployee = 3;
constexpr int kObjectTypeMobile = 65010;
constexpr int kUserOrdinary = 0, kUserSystem = 1, kUserGroup = 2;
constexpr long long kAllMobileRights =
    0x1 | 0x2 | 0x10 | 0x40 | 0x10000 | 0x20000 | 0x100000 | 0x200000 | 0x400000 | 0x1000000;

struct Counts {
  long long departments = 0, employees = 0, users = 0, groups = 0, memberships = 0, resources = 0, logReceivers = 0;
};

void addDepartment(Inserts& in, Counts& c, long long id, const std::string& number, const char* name) {
  in.item.i(id).i(kClassDepartment).t(number).t(name).i(0).i(1).i(0).run();
  in.dept.i(id).t(number).t(name).run();
  ++c.departments;
}

void addEmployee(Inserts& in, Counts& c, long long id, const std::string& number, const std::string& name,
                 std::optional<long long> dept, const std::optional<std::string>& mobile, bool deleted,
                 long long parent) {
  in.item.i(id).i(kClassEmployee).t(number).t(name).i(parent).i(1).i(deleted ? 1 : 0).run();
  in.emp.i(id).t(number).t(name).iOrNull(dept).tOrNull(mobile).run();
  ++c.employees;
}

void addUser(Inserts& in, Counts& c, long long id, const std::string& name, std::optional<long long> emp,
             bool forbidden, const char* description, int type) {
  in.user.i(id).t(name).iOrNull(emp).i(forbidden ? 1 : 0).t(description).i(type).run();
  if (type == kUserGroup)
    ++c.groups;
  else
    ++c.users;
}

void addMember(Inserts& in, Counts& c, long long group, long long user) {
  in.group.i(group).i(user).run();
  ++c.memberships;
}

void addRight(Inserts& in, long long user, long long mask) { in.right.i(user).i(kObjectTypeMobile).i(0).i(mask).run(); }

void addProfile(Inserts& in) {
  in.profile.t("Base").t("CompanyName").t("演示科技有限公司").t("公司名称").run();
  in.profile.t("Base").t("DBVersion").t("1.0").t("数据库版本").run();
  in.profile.t("SMS").t("MaxLength").t("130").t("短信最大长度").run();
}

// ---------------------------------------------------------------------------
// The demo company

constexpr long long kAdminGroup = 40001;  // "Administrators"

void generateDemo(Inserts& in, Counts& c) {
  struct D {
    long long id;
    const char* number;
    const char* name;
  };
  // 质量管理部 has nobody; 研发中心 only a deleted employee; 11 has no name.
  const D departments[] = {
      {101, "01", "总经理办公室"}, {102, "02", "财务部"},     {103, "03", "销售部"},     {104, "04", "采购部"},
      {105, "05", "生产部"},       {106, "06", "仓储部"},     {107, "07", "人力资源部"}, {108, "08", "信息技术部"},
      {109, "09", "质量管理部"},   {110, "10", "研发中心"},   {111, "11", nullptr},
  };
  for (const auto& d : departments) addDepartment(in, c, d.id, d.number, d.name);

  // Grouping nodes of the employee item tree (not employees themselves).
  in.item.i(900).i(kClassEmployee).t("G01").t("管理人员").i(0).i(0).i(0).run();
  in.item.i(901).i(kClassEmployee).t("G02").t("业务人员").i(0).i(0).i(0).run();

  // Employees without a department have FDepartmentID NULL or 0; among them the
  // numbers admin, ADMIN, SUPER and super, which the no-department list leaves
  // out, while "Admin" belongs to a department and is listed there. Numbers may be
  // NULL, empty or blanks only; some names hold "("; some items are deleted.
  struct E {
    long long id;
    const char* number;
    const char* name;
    long long dept;  // -1: NULL
    const char* mobile;  // nullptr: NULL
    bool deleted;
  };
  const E employees[] = {
      {1001, "001", "王建国", 101, "13901010001", false},
      {1002, "002", "李秀英", 101, "13901010002", false},
      {1003, "003", "张伟", 102, "13801020003", false},
      {1004, "004", "刘芳", 102, "13801020004", false},
      {1005, "005", "陈静", 102, nullptr, false},
      {1006, "006", "杨洋", 103, "13601030006", false},
      {1007, "007", "赵磊", 103, "13601030007", false},
      {1008, "008", "黄丽", 103, "   ", false},
      {1009, "009", "周杰", 103, "13601030009", false},
      {1010, "010", "吴敏", 103, "", false},
      {1011, "011", "徐强", 103, "13601030011", true},
      {1012, "012", "孙丽娟", 104, "15001040012", false},
      {1013, "013", "马超", 104, "15001040013", false},
      {1014, "014", "朱红", 105, "15801050014", false},
      {1015, "015", "胡军", 105, "15801050015", false},
      {1016, "016", "郭涛", 105, "15801050016", false},
      {1017, "017", "何平", 105, nullptr, false},
      {1018, "018", "高峰", 106, "18601060018", false},
      {1019, "019", "林晓燕", 106, "18601060019", false},
      {1020, "020", "罗刚", 107, "18901070020", false},
      {1021, "021", "郑欣", 107, "18901070021", false},
      {1022, "022", "梁宇", 108, "13501080022", false},
      {1023, "023", "谢婷", 108, "13501080023", false},
      {1024, "024", "宋佳", 108, "13501080024", false},
      {1025, "025", "唐亮", 110, "13701100025", true},
      {1026, "026", "韩梅", 111, "13701110026", false},
      {1027, "027", "冯雪", -1, "13701000027", false},
      {1028, "028", "董浩", 0, "13701000028", false},
      {1029, "029", "萧然", -1, nullptr, false},
      {1030, "030", "程蕾", -1, "13701000030", true},
      {1031, "admin", "系统管理员", -1, "13700000031", false},
      {1032, "SUPER", "超级用户", -1, "13700000032", false},
      {1033, "Admin", "管理员(销售)", 103, "13700000033", false},
      {1034, "034", "张伟(大)", 105, "13801050034", false},
      {1035, "035", "曹颖", 102, "13801020035", false},
      {1036, "036", "邓超", 103, "13601030036", false},
      {1037, "037", "许晴", 104, "15001040037", false},
      {1038, "038", "傅雷", 106, "18601060038", false},
      {1039, "039", "沈冰", 107, "18901070039", false},
      {1040, "040", "曾敏", 108, "13501080040", false},
      {1041, "super", "超级管理员", 0, "13700000041", false},
      {1042, "ADMIN", "管理员(总部)", 0, "13700000042", false},
      {1043, "043", "张伟", 105, "15801050043", false},  // the same name as 1003
      {1044, "044", "钱进", 108, "13501080022", false},  // the number 梁宇 (1022) holds too
  };
  for (const auto& e : employees) {
    std::optional<long long> dept;
    if (e.dept >= 0) dept = e.dept;
    std::optional<std::string> mobile;
    if (e.mobile) mobile = e.mobile;
    addEmployee(in, c, e.id, e.number, e.name, dept, mobile, e.deleted, e.dept == 101 || e.dept < 0 ? 900 : 901);
  }

  // Groups are rows of t_User; 外部用户组 holds only members the group query
  // filters out, 空组 has no members at all.
  struct G {
    long long id;
    const char* name;
    const char* description;
  };
  const G groups[] = {
      {kAdminGroup, "Administrators", "系统管理员组"}, {40002, "财务组", "财务人员"},
      {40003, "销售组", "销售人员"},                    {40004, "采购仓储组", "采购与仓储人员"},
      {40005, "人事行政组", "人事与行政人员"},          {40006, "外部用户组", "停用及外部账号"},
      {40007, "空组", "没有成员的组"},
  };
  for (const auto& g : groups) addUser(in, c, g.id, g.name, std::nullopt, false, g.description, kUserGroup);

  // System users lie outside 16384..32767.
  addUser(in, c, 16, "administrator", 1031, false, "系统管理员", kUserSystem);
  addUser(in, c, 17, "guest", std::nullopt, true, "来宾", kUserSystem);
  addUser(in, c, 33001, "接口服务", std::nullopt, false, "系统接口账号", kUserSystem);

  // Ordinary users. 周杰 and 罗刚 are forbidden; 临时用户 is bound to no employee,
  // 徐强 to a deleted one and 失联用户 to one that does not exist; 陈静's employee
  // has no number, 黄丽's a blank one; 赵磊 stands in two groups; two users named
  // 张伟 stand in different groups (the second bound to the second 张伟); 王建国's
  // employee has a second account.
  struct U {
    long long id;
    const char* name;
    long long emp;  // -1: NULL
    bool forbidden;
  };
  const U users[] = {
      {16384, "王建国", 1001, false}, {16385, "李秀英", 1002, false}, {16386, "张伟", 1003, false},
      {16387, "刘芳", 1004, false},   {16388, "陈静", 1005, false},   {16389, "杨洋", 1006, false},
      {16390, "赵磊", 1007, false},   {16391, "黄丽", 1008, false},   {16392, "周杰", 1009, true},
      {16393, "吴敏", 1010, false},   {16394, "孙丽娟", 1012, false}, {16395, "高峰", 1018, false},
      {16396, "罗刚", 1020, true},    {16397, "梁宇", 1022, false},   {16398, "临时用户", -1, false},
      {16399, "徐强", 1011, false},   {16400, "韩梅", 1026, false},   {16401, "冯雪", 1027, false},
      {16402, "谢婷", 1023, false},   {16403, "失联用户", 9999, false}, {16404, "张伟", 1043, false},
      {16405, "王建国(备)", 1001, false},  // a second account of 王建国's employee, in no group
  };
  for (const auto& u : users) {
    std::optional<long long> emp;
    if (u.emp >= 0) emp = u.emp;
    addUser(in, c, u.id, u.name, emp, u.forbidden, nullptr, kUserOrdinary);
  }

  const long long members[][2] = {
      {kAdminGroup, 16},    {kAdminGroup, 16384}, {kAdminGroup, 16397},                         //
      {40002, 16386},       {40002, 16387},       {40002, 16388},       {40002, 33001},          //
      {40003, 16389},       {40003, 16390},       {40003, 16391},       {40003, 16392},          //
      {40003, 16393},       {40003, 16398},       {40003, 16399},                                //
      {40004, 16390},       {40004, 16394},       {40004, 16395},       {40004, 16404},          //
      {40005, 16385},       {40005, 16396},       {40005, 16400},       {40005, 16401},          //
      {40005, 16403},                                                                          //
      {40006, 17},          {40006, 33001},                                                    //
  };
  for (const auto& m : members) addMember(in, c, m[0], m[1]);

  addRight(in, 16385, kAllMobileRights);
  addRight(in, 16386, 0x2 | 0x10);
  addRight(in, 40002, 0x10 | 0x1000000);
  addRight(in, 40003, 0x2);
  addProfile(in);
}

// ---------------------------------------------------------------------------
// Generated companies of a given size

class Rng {  // splitmix64: tiny, fast and the same everywhere
 public:
  explicit Rng(uint64_t seed) : s_(seed) {}
  uint64_t next() {
    uint64_t z = (s_ += 0x9E3779B97F4A7C15ull);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
  }
  uint64_t below(uint64_t n) { return n ? next() % n : 0; }
  bool chance(unsigned perMille) { return below(1000) < perMille; }

 private:
  uint64_t s_;
};

const char* const kSurnames[] = {"王", "李", "张", "刘", "陈", "杨", "黄", "赵", "吴", "周", "徐", "孙", "马", "朱",
                                 "胡", "郭", "何", "高", "林", "罗", "郑", "梁", "谢", "宋", "唐", "许", "韩", "冯",
                                 "邓", "曹", "彭", "曾", "萧", "田", "董", "袁", "潘", "于", "蒋", "蔡", "余", "杜",
                                 "叶", "程", "苏", "魏", "吕", "丁", "任", "沈", "姚", "卢", "姜", "崔", "钟", "谭",
                                 "陆", "汪", "范", "金", "石", "廖", "贾", "夏", "韦", "付", "方", "白", "邹", "孟"};
const char* const kGiven[] = {"伟", "芳", "娜", "敏", "静", "丽", "强", "磊", "军", "洋", "勇", "艳", "杰", "娟",
                              "涛", "明", "超", "秀", "霞", "平", "刚", "桂", "英", "华", "玉", "萍", "红", "鹏",
                              "辉", "建", "文", "斌", "宇", "浩", "凯", "欣", "婷", "雪", "琳", "晨", "阳", "佳",
                              "俊", "峰", "颖", "蕾", "倩", "瑶", "然", "博", "翔", "昊", "轩", "宁", "亮", "晶",
                              "慧", "莉", "东", "海", "波", "成", "林", "志", "国", "春", "雨", "新", "立", "嘉"};
const char* const kRegions[] = {"华北", "华东", "华南", "华中", "西南", "西北", "东北", "总部"};
const char* const kFunctions[] = {"销售", "财务", "采购", "生产", "仓储", "人力资源", "信息技术", "质量",
                                  "研发", "客服", "市场", "物流", "行政", "法务", "审计", "工程"};
const char* const kMobilePrefixes[] = {"130", "131", "132", "133", "135", "136", "137", "138", "139", "150",
                                       "151", "152", "155", "158", "159", "176", "180", "186", "188", "189"};
// One of the choices, drawn evenly.
const char* pick(Rng& r, std::span<const char* const> choices) {
  return choices[static_cast<std::size_t>(r.below(choices.size()))];
}

std::string personName(Rng& r) {
  std::string s = pick(r, kSurnames);
  s += pick(r, kGiven);
  if (r.chance(600)) s += pick(r, kGiven);
  return s;
}

std::string mobileNumber(Rng& r) {
  std::string s = pick(r, kMobilePrefixes);
  char digits[9];
  std::snprintf(digits, sizeof digits, "%08llu", static_cast<unsigned long long>(r.below(100000000ull)));
  return s + digits;
}

std::string numbered(const char* prefix, long long n, int width) {
  char buf[32];
  std::snprintf(buf, sizeof buf, "%s%0*lld", prefix, width, n);
  return buf;
}

void generateSized(Inserts& in, Counts& c, long long employees) {
  Rng r(0x4C756D6F44423031ull ^ static_cast<uint64_t>(employees));
  const long long departments = employees / 50 > 0 ? employees / 50 : 1;
  long long users = employees * 16384 / 100000;
  if (users < 1) users = 1;
  if (users > 16384) users = 16384;
  long long groups = (users * 1000 + 8191) / 16384;
  if (groups < 1) groups = 1;

  const long long firstDept = 100001, firstEmp = 200001, firstUser = 16384, firstGroup = 40001;
  const std::size_t nr = std::size(kRegions), nf = std::size(kFunctions);
  for (long long d = 0; d < departments; ++d) {
    std::string name = std::string(kRegions[d % nr]) + kFunctions[(d / nr) % nf] + "部";
    if (d >= static_cast<long long>(nr * nf)) name += std::to_string(d / (nr * nf) + 1);
    addDepartment(in, c, firstDept + d, numbered("D", d + 1, 5), name.c_str());
  }
  for (long long e = 0; e < employees; ++e) {
    std::optional<long long> dept;
    if (!r.chance(10)) dept = firstDept + static_cast<long long>(r.below(static_cast<uint64_t>(departments)));
    std::optional<std::string> mobile;
    unsigned m = static_cast<unsigned>(r.below(1000));
    if (m < 30) {
      // no number
    } else if (m < 32) {
      mobile = "   ";
    } else {
      mobile = mobileNumber(r);
    }
    addEmployee(in, c, firstEmp + e, numbered("E", e + 1, 6), personName(r), dept, mobile, r.chance(5), 0);
  }

  addUser(in, c, firstGroup, "Administrators", std::nullopt, false, "系统管理员组", kUserGroup);
  for (long long g = 1; g < groups; ++g) {
    std::string name = std::string(kRegions[g % nr]) + kFunctions[(g / nr) % nf] + "组" + std::to_string(g);
    addUser(in, c, firstGroup + g, name, std::nullopt, false, nullptr, kUserGroup);
  }
  addUser(in, c, 16, "administrator", std::nullopt, false, "系统管理员", kUserSystem);
  addUser(in, c, 17, "guest", std::nullopt, true, "来宾", kUserSystem);
  addMember(in, c, firstGroup, 16);

  // Users are bound to employees spread over the whole range, each to a different one.
  for (long long u = 0; u < users; ++u) {
    std::optional<long long> emp;
    if (!r.chance(20)) emp = firstEmp + u * employees / users;
    std::string name = personName(r) + std::to_string(u + 1);
    addUser(in, c, firstUser + u, name, emp, r.chance(10), nullptr, kUserOrdinary);
    long long g = u % groups;
    addMember(in, c, firstGroup + g, firstUser + u);
    if (groups > 1 && r.chance(50)) {
      long long g2 = (g + 1 + static_cast<long long>(r.below(static_cast<uint64_t>(groups - 1)))) % groups;
      addMember(in, c, firstGroup + g2, firstUser + u);
    }
  }
  addRight(in, firstGroup + (groups > 1 ? 1 : 0), 0x2 | 0x10);
  addProfile(in);
}

// ---------------------------------------------------------------------------
// The SMS gateway's history: a month of messages up to --now, one receiver row
// per receiver with its delivery as the gateway decided it. The last hour's
// receivers are still on their way (waiting or sent) when the database is made.

// Seconds since 1970-01-01 of a naive "YYYY-MM-DD HH:MM:SS" (no time zone), and back.
long long secondsOf(const std::string& text) {
  int y = 0, mo = 0, d = 0, h = 0, mi = 0, se = 0;
  if (std::sscanf(text.c_str(), "%d-%d-%d %d:%d:%d", &y, &mo, &d, &h, &mi, &se) != 6 || mo < 1 || mo > 12 || d < 1 ||
      d > 31 || h > 23 || mi > 59 || se > 59)
    throw Failure("--now must be 'YYYY-MM-DD HH:MM:SS', not '" + text + "'");
  y -= mo <= 2;
  const long long era = (y >= 0 ? y : y - 399) / 400;
  const long long yoe = y - era * 400;
  const long long doy = (153 * (mo + (mo > 2 ? -3 : 9)) + 2) / 5 + d - 1;
  const long long doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return (era * 146097 + doe - 719468) * 86400 + h * 3600 + mi * 60 + se;
}

std::string timeOf(long long secs, int millis = 0) { return lumo::devhost::clockText(secs * 1000 + millis); }

std::string localNow() {
  std::time_t t = std::time(nullptr);
  std::tm tm{};
  localtime_r(&t, &tm);
  char buf[32];
  std::strftime(buf, sizeof buf, "%Y-%m-%d %H:%M:%S", &tm);
  return buf;
}

// Rows of a query, every column as text ("" for NULL).
std::vector<std::vector<std::string>> selectAll(Db& db, const char* sql) {
  sqlite3_stmt* st = nullptr;
  if (sqlite3_prepare_v2(db.get(), sql, -1, &st, nullptr) != SQLITE_OK)
    throw Failure(std::string("prepare failed: ") + sqlite3_errmsg(db.get()));
  std::vector<std::vector<std::string>> rows;
  while (sqlite3_step(st) == SQLITE_ROW) {
    std::vector<std::string> row;
    for (int c = 0; c < sqlite3_column_count(st); ++c) {
      const unsigned char* v = sqlite3_column_text(st, c);
      row.emplace_back(v ? reinterpret_cast<const char*>(v) : "");
    }
    rows.push_back(std::move(row));
  }
  sqlite3_finalize(st);
  return rows;
}

const char* const kMessageTexts[] = {
    "请于今天下午三点到三楼会议室参加月度例会", "您有一张采购订单待审批，请及时处理", "本周五下午系统升级，期间暂停使用",
    "请在月底前提交本月报销单据", "仓库盘点定于明天上午九点开始", "客户回访记录请于今日内录入系统",
    "Meeting moved to 10:00 tomorrow, room 301", "新版考勤制度自下月一日起执行，请查阅附件",
};
// Numbers the operator does not know, and numbers it refuses.
const char* const kUnknownNumbers[] = {"10086", "1234567", "95588", "12345678901"};
const char* const kBlockedNumbers[] = {"13900000000", "13800138000", "15000000001"};

long long generateHistory(Db& db, long long messages, int maxReceivers, const std::string& now, uint64_t seed) {
  Rng r(seed);
  const auto senders = selectAll(db,
                                 "SELECT u.FUserID, u.FName, e.FName, IFNULL(e.FMobilePhone,'') FROM t_User u JOIN t_Emp e "
                                 "ON e.FItemID = u.FEmpID WHERE u.FUserID BETWEEN 16384 AND 32767 AND u.FForbidden = 0 "
                                 "ORDER BY u.FUserID");
  const auto numbers = selectAll(
      db, "SELECT FMobilePhone FROM t_Emp WHERE length(FMobilePhone) = 11 AND FMobilePhone NOT GLOB '*[^0-9]*' "
          "ORDER BY FItemID");
  if (senders.empty() || numbers.empty() || messages <= 0) return 0;
  Insert block(db, "INSERT OR IGNORE INTO dh_BlockList (FNumber) VALUES (?)");
  for (const char* n : kBlockedNumbers) block.t(n).run();
  Insert outbox(db,
                "INSERT INTO dh_Outbox (FMessageID, FTime, FUserID, FUserName, FTitle, FMsgType, FPropstr, FIsRevertible, "
                "FReceivers, FSenderID, FFuncNumber, FProcessID, FMachineName) VALUES (?,?,?,?,?,0,'',0,?,?,'YDSW',0,?)");
  Insert receiver(db,
                  "INSERT INTO dh_OutboxReceiver (FMessageID, FSeq, FReceiver, FOutcome, FReason, FSentAt, FDoneAt) "
                  "VALUES (?,?,?,?,?,?,?)");
  const long long end = secondsOf(now), month = 30LL * 86400;
  long long rows = 0;
  for (long long m = 0; m < messages; ++m) {
    // Oldest first, spread over the month; the last ten in the last hour, five
    // minutes apart, the newest a minute ago.
    const long long fromEnd = messages - 1 - m;
    const long long older = std::max(1LL, messages - 10);
    const long long at = fromEnd < 10 ? end - 60 - fromEnd * 300
                                      : end - 3600 - (fromEnd - 10) * (month - 3600) / older;
    const auto& sender = senders[static_cast<std::size_t>(r.below(senders.size()))];
    const int count = 1 + static_cast<int>(r.below(static_cast<uint64_t>(maxReceivers)));
    std::vector<std::string> list;
    for (int k = 0; k < count; ++k) {
      unsigned roll = static_cast<unsigned>(r.below(1000));
      if (roll < 60)
        list.push_back(pick(r, kUnknownNumbers));
      else if (roll < 90)
        list.push_back(pick(r, kBlockedNumbers));
      else
        list.push_back(numbers[static_cast<std::size_t>(r.below(numbers.size()))][0]);
    }
    std::string joined;
    for (const auto& n : list) joined += (joined.empty() ? "" : ",") + n;
    const std::string title = std::string(pick(r, kMessageTexts)) + "--" + sender[2];
    outbox.i(m + 1).t(timeOf(at, static_cast<int>(r.below(1000)))).i(std::stoll(sender[0])).t(sender[1]).t(title)
        .t(joined).t(sender[3]).t(m % 3 == 0 ? "OFFICE-PC" : "FRONTDESK-PC").run();
    // Within the last hour the operator has not answered for everyone yet.
    const bool recent = end - at < 3600;
    for (int k = 0; k < count; ++k) {
      const std::string& n = list[static_cast<std::size_t>(k)];
      int outcome = 2;
      const char* reason = nullptr;
      if (n.size() != 11 || n[0] != '1' || n[1] < '3') {
        outcome = 3;
        reason = "号码不存在";
      } else if (std::find(std::begin(kBlockedNumbers), std::end(kBlockedNumbers), n) != std::end(kBlockedNumbers)) {
        outcome = 3;
        reason = "号码在黑名单中";
      } else if (r.chance(25)) {
        outcome = 3;
        reason = "运营商投递失败";
      }
      receiver.i(m + 1).i(k + 1).t(n).i(outcome).t(reason);
      if (recent) {
        // Sent in a few minutes' time, done later still.
        const long long sent = end + static_cast<long long>(r.below(600)) - 300;
        receiver.t(timeOf(sent)).t(timeOf(sent + 600 + static_cast<long long>(r.below(1800))));
      } else {
        receiver.null().null();
      }
      receiver.run();
      ++rows;
    }
  }
  return rows;
}

// ---------------------------------------------------------------------------
// Approval-notification services: bill-type groups and bill types of the three
// mobile modules, workflows, subscriptions and the two flags.

struct ServiceInserts {
  explicit ServiceInserts(Db& db)
      : group(db, "INSERT INTO t_SMSBillGroup (FID, FName, FModule) VALUES (?,?,?)"),
        bill(db, "INSERT INTO t_SMSBillUse (FID, FGroupID, FName, FIsRun) VALUES (?,?,?,?)"),
        flow(db, "INSERT INTO t_MobileFlow (FID, FMCName, FIsMobileServiceRun) VALUES (?,?,?)"),
        prescribe(db, "INSERT INTO t_SMSPrescribe (FUserID, FKind, FServiceID) VALUES (?,?,?)") {}
  Insert group, bill, flow, prescribe;
};

constexpr int kPrescribeBill = 2, kPrescribeFlow = 3;

void addServiceFlags(Inserts& in, const char* use, const char* audit) {
  in.profile.t("SMS").t("UseFlag").t(use).t("启用短信通知").run();
  in.profile.t("SMS").t("AuditFlag").t(audit).t("短信审核").run();
}

// Some services on and some off, one bill type whose state is NULL, a group
// without bill types, one workflow that no module's range claims, users
// subscribed and not, and one subscription to a workflow that no longer exists.
void generateDemoServices(Db& db, Inserts& in) {
  ServiceInserts s(db);
  struct Gr {
    long long id;
    const char* name;
    const char* module;
  };
  const Gr groups[] = {{1, "采购管理", "W"}, {2, "销售管理", "W"}, {3, "库存管理", "W"},
                       {4, "生产管理", "Z"}, {5, "费用管理", "C"}, {6, "质量管理", "Z"}};
  for (const auto& g : groups) s.group.i(g.id).t(g.name).t(g.module).run();
  struct B {
    long long id, group;
    const char* name;
    int run;  // -1: NULL
  };
  const B bills[] = {
      {101, 1, "采购申请单", 1}, {102, 1, "采购订单", 1},   {103, 1, "采购入库单", 0}, {201, 2, "销售报价单", 0},
      {202, 2, "销售订单", 1},   {203, 2, "销售出库单", 0}, {301, 3, "调拨单", 0},     {302, 3, "盘点单", 1},
      {401, 4, "生产任务单", 1}, {402, 4, "生产领料单", 0}, {501, 5, "费用报销单", 1}, {502, 5, "借款单", -1},
  };
  for (const auto& b : bills) {
    std::optional<long long> run;
    if (b.run >= 0) run = b.run;
    s.bill.i(b.id).i(b.group).t(b.name).iOrNull(run).run();
  }
  struct F {
    long long id;
    const char* name;
    int run;
  };
  const F flows[] = {
      {1001001, "采购订单审批流", 1}, {1003001, "销售合同审批流", 0}, {1002001, "生产计划审批流", 1},
      {1002002, "工艺变更审批流", 0}, {1006001, "费用报销审批流", 1}, {1009001, "付款申请审批流", 0},
      {2000001, "跨部门协作审批流", 0},
  };
  for (const auto& f : flows) s.flow.i(f.id).t(f.name).i(f.run).run();
  const long long subscriptions[][3] = {
      {16386, kPrescribeBill, 102}, {16386, kPrescribeBill, 501}, {16386, kPrescribeFlow, 1001001},
      {16386, kPrescribeFlow, 1999999}, {16394, kPrescribeBill, 102}, {16394, kPrescribeFlow, 1006001},
      {16384, kPrescribeBill, 202},
  };
  for (const auto& p : subscriptions) s.prescribe.i(p[0]).i(p[1]).i(p[2]).run();
  addServiceFlags(in, "1", "0");
}

// As many bill types and workflows as a fiftieth of the employees (2,000 each
// for the large size), spread over the modules' ranges; every fourth workflow
// lies outside them. Every third service is on.
void generateSizedServices(Db& db, Inserts& in, long long employees) {
  ServiceInserts s(db);
  long long services = employees / 50;
  if (services < 20) services = 20;
  if (services > 2000) services = 2000;
  const long long groups = (services + 19) / 20;
  const char* const modules[] = {"W", "Z", "C"};
  const std::size_t nf = std::size(kFunctions);
  for (long long g = 0; g < groups; ++g) {
    const std::string name = std::string(kFunctions[g % nf]) + "单据" + std::to_string(g + 1);
    s.group.i(g + 1).t(name).t(modules[g % 3]).run();
  }
  for (long long b = 0; b < services; ++b)
    s.bill.i(100001 + b).i(b / 20 + 1).t(numbered("单据类型", b + 1, 4)).i(b % 3 == 0 ? 1 : 0).run();
  const long long bases[] = {1001000, 1002000, 1000000, 2000000};
  for (long long f = 0; f < services; ++f)
    s.flow.i(bases[f % 4] + f / 4).t(numbered("审批流", f + 1, 4)).i(f % 3 == 0 ? 1 : 0).run();
  for (long long u = 0; u < 200 && u < services; ++u) {
    s.prescribe.i(16384 + u).i(kPrescribeBill).i(100001 + u).run();
    s.prescribe.i(16384 + u).i(kPrescribeFlow).i(bases[u % 4] + u / 4).run();
  }
  addServiceFlags(in, "1", "0");
}

// ---------------------------------------------------------------------------
// Resources: key<TAB>en<TAB>cht, one row per simplified-Chinese text.

std::vector<std::string> splitTabs(const std::string& line) {
  std::vector<std::string> out;
  std::size_t start = 0;
  for (;;) {
    std::size_t p = line.find('\t', start);
    if (p == std::string::npos) {
      out.push_back(line.substr(start));
      return out;
    }
    out.push_back(line.substr(start, p - start));
    start = p + 1;
  }
}

long long loadResources(Inserts& in, const std::string& path) {
  std::ifstream f(path, std::ios::binary);
  if (!f) throw Failure("cannot read resources file " + path);
  std::stringstream ss;
  ss << f.rdbuf();
  std::string text = ss.str();
  if (text.starts_with("\xEF\xBB\xBF")) text.erase(0, 3);

  int colEn = 1, colCht = 2;
  bool first = true;
  long long rows = 0;
  std::size_t pos = 0;
  while (pos <= text.size()) {
    std::size_t nl = text.find('\n', pos);
    std::string line = text.substr(pos, nl == std::string::npos ? std::string::npos : nl - pos);
    pos = nl == std::string::npos ? text.size() + 1 : nl + 1;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (line.empty()) continue;
    std::vector<std::string> cells = splitTabs(line);
    if (first) {
      first = false;
      if (cells[0] == "key") {  // the header names the language columns
        colEn = colCht = -1;
        for (std::size_t i = 1; i < cells.size(); ++i) {
          if (cells[i] == "en") colEn = static_cast<int>(i);
          if (cells[i] == "cht") colCht = static_cast<int>(i);
        }
        continue;
      }
    }
    const std::string& key = cells[0];
    if (key.empty()) continue;
    auto put = [&](int col, const char* lang) {
      if (col < 0 || static_cast<std::size_t>(col) >= cells.size() || cells[col].empty()) return;
      in.resource.t(key).t(lang).t(cells[col]).run();
    };
    put(colEn, "en");
    put(colCht, "cht");
    ++rows;
  }
  return rows;
}

// ---------------------------------------------------------------------------

struct Options {
  std::string out;
  std::string size = "demo";
  std::string resources;
  bool noResources = false;
  bool quiet = false;
  std::string now;  // the end of the message history; the clock when not given
};

[[noreturn]] void usage(const char* why) {
  std::fprintf(stderr,
               "lumo-dbgen: %s\n"
               "usage: lumo-dbgen --out FILE [--size demo|large|N|N-employees] [--resources FILE | --no-resources] "
               "[--now 'YYYY-MM-DD HH:MM:SS'] [--quiet]\n",
               why);
  std::exit(2);
}

long long employeesOf(const std::string& size) {
  if (size == "demo") return 0;
  if (size == "large") return 100000;
  std::string digits = size;
  const std::string suffix = "-employees";
  if (digits.size() > suffix.size() && digits.compare(digits.size() - suffix.size(), suffix.size(), suffix) == 0)
    digits.erase(digits.size() - suffix.size());
  if (digits.empty() || digits.size() > 8 || digits.find_first_not_of("0123456789") != std::string::npos)
    usage("--size must be demo, large or a number of employees");
  long long n = std::stoll(digits);
  if (n < 1) usage("--size needs at least one employee");
  return n;
}

void removeFiles(const std::string& path) {
  for (const char* suffix : {"", "-journal", "-wal", "-shm"}) std::remove((path + suffix).c_str());
}

}  // namespace

int main(int argc, char** argv) {
  Options o;
  for (int i = 1; i < argc; ++i) {
    std::string a = argv[i];
    auto value = [&]() -> std::string {
      if (i + 1 >= argc) usage(("missing value after " + a).c_str());
      return argv[++i];
    };
    if (a == "--out")
      o.out = value();
    else if (a == "--size")
      o.size = value();
    else if (a == "--resources")
      o.resources = value();
    else if (a == "--no-resources")
      o.noResources = true;
    else if (a == "--quiet")
      o.quiet = true;
    else if (a == "--now")
      o.now = value();
    else if (a == "--help" || a == "-h")
      usage("writes the development host's demo database");
    else
      usage(("unknown argument " + a).c_str());
  }
  if (o.out.empty()) usage("--out is required");
  const long long employees = employeesOf(o.size);
#ifdef LUMO_DEFAULT_RESOURCES
  if (o.resources.empty() && !o.noResources) {
    std::ifstream probe(LUMO_DEFAULT_RESOURCES);
    if (probe) o.resources = LUMO_DEFAULT_RESOURCES;
  }
#endif
  if (o.noResources) o.resources.clear();

  auto started = std::chrono::steady_clock::now();
  // Built under a temporary name and renamed at the end, so that a reader never
  // sees a half-written database.
  const std::string tmp = o.out + ".tmp";
  try {
    removeFiles(tmp);
    Counts c;
    long long resources = 0;
    {
      Db db(tmp);
      db.exec("PRAGMA journal_mode=MEMORY; PRAGMA synchronous=OFF;");
      db.exec(kLumoSchemaSql);
      db.exec("BEGIN");
      {
        Inserts in(db);
        if (employees == 0)
          generateDemo(in, c);
        else
          generateSized(in, c, employees);
        if (employees == 0)
          generateDemoServices(db, in);
        else
          generateSizedServices(db, in, employees);
        if (!o.resources.empty()) resources = loadResources(in, o.resources);
      }
      // The demo: a few hundred messages; the large database a million receivers.
      const std::string now = o.now.empty() ? localNow() : o.now;
      if (employees == 0)
        c.logReceivers = generateHistory(db, 300, 5, now, 0x4C756D6F4C4F4731ull);
      else
        c.logReceivers = generateHistory(db, employees * 2, 9, now, 0x4C756D6F4C4F4732ull ^ static_cast<uint64_t>(employees));
      db.exec("COMMIT");
      db.exec("PRAGMA journal_mode=DELETE;");
    }
    removeFiles(o.out);
    if (std::rename(tmp.c_str(), o.out.c_str()) != 0) throw Failure("cannot rename " + tmp + " to " + o.out);
    double secs = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    if (!o.quiet)
      std::printf("%s: %lld departments, %lld employees, %lld users, %lld groups, %lld memberships, %lld resource rows,"
                  " %lld log receivers in %.2f s\n",
                  o.out.c_str(), c.departments, c.employees, c.users, c.groups, c.memberships, resources, c.logReceivers,
                  secs);
  } catch (const std::exception& e) {
    removeFiles(tmp);
    std::fprintf(stderr, "lumo-dbgen: %s\n", e.what());
    return 1;
  }
  return 0;
}
