#include "devhost/client/client_core.h"

namespace lumo::client {

// ---------------------------------------------------------------- commands

const std::vector<Command>& commands() {
  static const std::vector<Command> list = {
      {u"SetUserMobile", u"修改个人手机号码", false},
      {u"SetAllMobile", u"用户手机号码管理", false},
      {u"SendSms", u"发送短信", false},
      {u"SmsManager", u"审批通知服务管理", true},
      {u"UserSms", u"个人审批通知设置", true},
      {u"ShowSmsLog", u"短信日志", false},
  };
  return list;
}

const Command* findCommand(ustring_view member) {
  for (const Command& c : commands())
    if (equalsNoCase(c.member, member)) return &c;
  return nullptr;
}

// ---------------------------------------------------------------- languages

std::optional<Language> parseLanguage(ustring_view text) {
  if (equalsNoCase(text, u"chs")) return Language::Chs;
  if (equalsNoCase(text, u"en")) return Language::En;
  if (equalsNoCase(text, u"cht")) return Language::Cht;
  return std::nullopt;
}

ustring languageCode(Language l) {
  switch (l) {
    case Language::En: return u"en";
    case Language::Cht: return u"cht";
    case Language::Chs: break;
  }
  return u"chs";
}

ustring languageNameKey(Language l) {
  switch (l) {
    case Language::En: return u"英语";
    case Language::Cht: return u"繁体中文";
    case Language::Chs: break;
  }
  return u"简体中文";
}

// ---------------------------------------------------------------- command line

ustring usageText() {
  return u"LumoErp [--user NAME] [--lang chs|en|cht] [--run COMMAND]... [--exit-after-commands]\n"
         u"        [--log FILE] [--resources FILE] [--no-error-box]\n"
         u"COMMAND: SetUserMobile, SetAllMobile, SendSms, SmsManager, UserSms, ShowSmsLog.\n"
         u"Without --user the sign-in dialog asks for the user and the language.";
}

ParsedOptions parseOptions(const std::vector<ustring>& args) {
  ParsedOptions out;
  Options& o = out.options;
  // Known before anything else, so that an unattended run never waits on a box
  // that reports a mistake further on in its own command line.
  for (const ustring& a : args)
    if (a == u"--no-error-box") o.errorBoxes = false;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const ustring& a = args[i];
    auto value = [&](ustring& into) {
      if (i + 1 >= args.size()) {
        out.error = a + u" needs a value";
        return false;
      }
      into = args[++i];
      return true;
    };
    ustring v;
    if (a == u"--user") {
      if (!value(v)) return out;
      if (trim(v).empty()) {
        out.error = u"--user needs a user name";
        return out;
      }
      o.user = v;
    } else if (a == u"--lang") {
      if (!value(v)) return out;
      o.language = parseLanguage(v);
      if (!o.language) {
        out.error = u"unknown language '" + v + u"' (chs, en or cht)";
        return out;
      }
    } else if (a == u"--run") {
      if (!value(v)) return out;
      const Command* c = findCommand(v);
      if (!c) {
        out.error = u"unknown command '" + v + u"'";
        return out;
      }
      o.run.push_back(c->member);
    } else if (a == u"--exit-after-commands") {
      o.exitAfterCommands = true;
    } else if (a == u"--no-error-box") {
      o.errorBoxes = false;
    } else if (a == u"--log") {
      if (!value(v)) return out;
      o.logFile = v;
    } else if (a == u"--resources") {
      if (!value(v)) return out;
      o.resources = v;
    } else if (a == u"--help" || a == u"-h" || a == u"/?") {
      o.help = true;
    } else {
      out.error = u"unknown argument '" + a + u"'";
      return out;
    }
  }
  return out;
}

// ---------------------------------------------------------------- texts

bool TextTable::parse(std::string_view utf8, ustring* error) {
  auto fail = [&](std::size_t line, const ustring& what) {
    if (error) *error = u"line " + toText(static_cast<long long>(line)) + u": " + what;
    return false;
  };
  if (utf8.substr(0, 3) == "\xEF\xBB\xBF") utf8.remove_prefix(3);
  std::size_t lineNo = 0;
  bool header = true;
  while (!utf8.empty()) {
    std::size_t end = utf8.find('\n');
    std::string_view line = utf8.substr(0, end);
    utf8 = end == std::string_view::npos ? std::string_view() : utf8.substr(end + 1);
    ++lineNo;
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    if (line.empty()) continue;
    std::vector<ustring> cells = split(fromUtf8(line), u"\t");
    if (header) {
      header = false;
      if (cells.size() != 3 || cells[0] != u"key" || cells[1] != u"en" || cells[2] != u"cht")
        return fail(lineNo, u"the header must be key, en, cht");
      continue;
    }
    if (cells.size() != 3) return fail(lineNo, u"a row needs three cells");
    rows_.emplace(trim(cells[0]), Row{cells[1], cells[2]});
  }
  if (header) return fail(lineNo, u"the table is empty");
  return true;
}

std::optional<ustring> TextTable::find(const ustring& key, Language l) const {
  auto it = rows_.find(key);
  if (it == rows_.end()) return std::nullopt;
  switch (l) {
    case Language::En: return it->second.en;
    case Language::Cht: return it->second.cht;
    case Language::Chs: break;
  }
  return key;
}

ustring formatText(const ustring& format, const std::vector<ustring>& args) {
  ustring out;
  for (std::size_t i = 0; i < format.size();) {
    if (format[i] == u'%' && i + 1 < format.size() && format[i + 1] >= u'1' && format[i + 1] <= u'9') {
      std::size_t j = i + 1;
      std::size_t n = 0;
      while (j < format.size() && format[j] >= u'0' && format[j] <= u'9') n = n * 10 + (format[j++] - u'0');
      if (n >= 1 && n <= args.size()) {
        out += args[n - 1];
        i = j;
        continue;
      }
      out.append(format, i, j - i);
      i = j;
      continue;
    }
    out += format[i++];
  }
  return out;
}

ustring stripMnemonic(const ustring& caption) {
  ustring out;
  for (std::size_t i = 0; i < caption.size(); ++i) {
    if (caption[i] == u'&') {
      if (i + 1 < caption.size() && caption[i + 1] == u'&') {
        out += u'&';
        ++i;
      }
      continue;
    }
    out += caption[i];
  }
  return out;
}

// ---------------------------------------------------------------- session string

std::vector<std::pair<ustring, ustring>> parseProps(const ustring& props) {
  std::vector<std::pair<ustring, ustring>> out;
  std::size_t i = 0;
  while (i < props.size()) {
    std::size_t eq = props.find(u'=', i);
    std::size_t semi = props.find(u';', i);
    if (eq == ustring::npos || (semi != ustring::npos && semi < eq)) {
      // An entry without "=": skip it.
      if (semi == ustring::npos) break;
      i = semi + 1;
      continue;
    }
    ustring key = trim(ustring_view(props).substr(i, eq - i));
    std::size_t v = eq + 1;
    while (v < props.size() && props[v] == u' ') ++v;
    ustring value;
    if (v < props.size() && props[v] == u'{') {
      std::size_t close = props.find(u'}', v + 1);
      if (close == ustring::npos) close = props.size();
      value = props.substr(v + 1, close - v - 1);
      std::size_t next = props.find(u';', close);
      i = next == ustring::npos ? props.size() : next + 1;
    } else {
      std::size_t next = props.find(u';', v);
      value = props.substr(v, (next == ustring::npos ? props.size() : next) - v);
      i = next == ustring::npos ? props.size() : next + 1;
    }
    if (!key.empty()) out.emplace_back(key, trim(value));
  }
  return out;
}

std::optional<ustring> propsValue(const ustring& props, const ustring& key) {
  for (auto& [k, v] : parseProps(props))
    if (equalsNoCase(k, key)) return v;
  return std::nullopt;
}

ustring databaseLabel(const ustring& props) {
  ustring dbms = propsValue(props, u"DBMS Name").value_or(u"");
  ustring database;
  if (std::optional<ustring> conn = propsValue(props, u"ConnectString")) {
    for (const char16_t* k : {u"Database", u"DBQ", u"Initial Catalog", u"dbname", u"Data Source"}) {
      if (std::optional<ustring> d = propsValue(*conn, k); d && !d->empty()) {
        database = *d;
        break;
      }
    }
    std::size_t slash = database.find_last_of(u"/\\");
    if (slash != ustring::npos && slash + 1 < database.size()) database = database.substr(slash + 1);
  }
  if (database.empty()) database = propsValue(props, u"DBName").value_or(u"");
  if (dbms.empty()) return database;
  if (database.empty()) return dbms;
  return dbms + u" " + database;
}

// ---------------------------------------------------------------- report lines

static ustring oneLine(ustring s) {
  for (char16_t& c : s)
    if (c == u'\r' || c == u'\n' || c == u'\t') c = u' ';
  return s;
}

ustring commandOkLine(const ustring& member) { return u"command-ok: " + member; }

ustring commandErrorLine(const ustring& member, const ustring& source, const ustring& description) {
  return u"command-error: " + member + u": " + oneLine(source) + u": " + oneLine(description);
}

ustring signInOkLine(const ustring& user, const ustring& languageCode) {
  return u"signin-ok: " + oneLine(user) + u" " + languageCode;
}

ustring signInErrorLine(const ustring& source, const ustring& description) {
  return u"signin-error: " + oneLine(source) + u": " + oneLine(description);
}

}  // namespace lumo::client
