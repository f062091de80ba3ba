// The stand-in ERP client's logic that needs no window: its command line, the
// translation table it shares with the resource loaders, the session string it
// shows in the status line, and the six commands of the SMS menu.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "automation/text.h"

namespace lumo::client {

// ---------------------------------------------------------------- commands

struct Command {
  const char16_t* member;   // the clsSmsManager member the host calls
  const char16_t* caption;  // the menu text (simplified Chinese, the lookup key)
  bool takesType;           // called with one string argument (strType)
};

// The SMS menu in its order.
const std::vector<Command>& commands();
// The command with this member name (letter case ignored), or nullptr.
const Command* findCommand(ustring_view member);

// ---------------------------------------------------------------- languages

enum class Language { Chs, En, Cht };

// "chs", "en", "cht" (letter case ignored); nullopt for anything else.
std::optional<Language> parseLanguage(ustring_view text);
ustring languageCode(Language l);     // "chs", "en", "cht"
ustring languageNameKey(Language l);  // the key of the language's display name

// ---------------------------------------------------------------- command line

struct Options {
  std::optional<ustring> user;
  std::optional<Language> language;
  std::vector<ustring> run;  // members, in the order given
  bool exitAfterCommands = false;
  bool errorBoxes = true;  // --no-error-box turns the message boxes off (unattended runs)
  std::optional<ustring> logFile;
  std::optional<ustring> resources;
  bool help = false;
};

struct ParsedOptions {
  Options options;
  ustring error;  // empty when the command line was understood
};

ParsedOptions parseOptions(const std::vector<ustring>& args);
ustring usageText();

// ---------------------------------------------------------------- texts

// The translation table: simplified-Chinese key -> English and traditional Chinese.
class TextTable {
 public:
  // Reads "key<TAB>en<TAB>cht" lines (UTF-8, header first). Returns false and sets
  // error for a malformed table; rows read before the problem are kept.
  bool parse(std::string_view utf8, ustring* error = nullptr);
  std::size_t size() const { return rows_.size(); }
  // The translation of a trimmed key, or nullopt when the table has none.
  std::optional<ustring> find(const ustring& key, Language l) const;

 private:
  struct Row {
    ustring en, cht;
  };
  std::map<ustring, Row> rows_;
};

// Looks a text up as the resource loaders do: simplified Chinese returns the text
// unchanged; otherwise the trimmed text is translated and its leading and trailing
// blanks are put back. 'ask' is tried first (the host's loader); an empty answer,
// or one equal to the key, falls back to the table; the key is the last resort.
template <class Ask>
ustring translate(const ustring& text, Language l, const TextTable& table, Ask&& ask) {
  if (l == Language::Chs) return text;
  ustring key = trim(text);
  if (key.empty()) return text;
  ustring found;
  if (std::optional<ustring> asked = ask(key); asked && !asked->empty() && *asked != key) {
    found = *asked;
  } else if (std::optional<ustring> row = table.find(key, l)) {
    found = *row;
  } else {
    found = key;
  }
  return ustring(leadingBlanks(text), u' ') + found + ustring(trailingBlanks(text), u' ');
}

// Replaces "%1", "%2", ... by the arguments, counting from 1; a placeholder without
// an argument stays as it is.
ustring formatText(const ustring& format, const std::vector<ustring>& args);

// Removes the mnemonic marks of a caption ("文件(&F)" -> "文件(F)", "&&" -> "&").
ustring stripMnemonic(const ustring& caption);

// ---------------------------------------------------------------- session string

// The entries of a session property string ("key=value;..."; a value in braces may
// hold ";"). Keys are compared without regard to letter case; the first wins.
std::vector<std::pair<ustring, ustring>> parseProps(const ustring& props);
std::optional<ustring> propsValue(const ustring& props, const ustring& key);

// What the status line names as the database: the DBMS name, when known, and the
// database of the connect string (its file name for a path), e.g. "SQLite demo.db".
// Empty when the session says nothing about it.
ustring databaseLabel(const ustring& props);

// ---------------------------------------------------------------- report lines

// One line per outcome, as tests read them from stderr and the log file.
ustring commandOkLine(const ustring& member);
ustring commandErrorLine(const ustring& member, const ustring& source, const ustring& description);
ustring signInOkLine(const ustring& user, const ustring& languageCode);
ustring signInErrorLine(const ustring& source, const ustring& description);

}  // namespace lumo::client
