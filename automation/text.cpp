#include "automation/text.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace lumo {

ustring fromUtf8(std::string_view s) {
  ustring out;
  out.reserve(s.size());
  std::size_t i = 0;
  while (i < s.size()) {
    unsigned char c = static_cast<unsigned char>(s[i]);
    char32_t cp = 0xFFFD;
    std::size_t len = 1;
    if (c < 0x80) {
      cp = c;
    } else if ((c & 0xE0) == 0xC0 || (c & 0xF0) == 0xE0 || (c & 0xF8) == 0xF0) {
      std::size_t need = (c & 0xE0) == 0xC0 ? 2 : (c & 0xF0) == 0xE0 ? 3 : 4;
      char32_t v = need == 2 ? (c & 0x1F) : need == 3 ? (c & 0x0F) : (c & 0x07);
      bool ok = i + need <= s.size();
      for (std::size_t k = 1; ok && k < need; ++k) {
        unsigned char cc = static_cast<unsigned char>(s[i + k]);
        if ((cc & 0xC0) != 0x80) ok = false;
        else v = (v << 6) | (cc & 0x3F);
      }
      if (ok) {
        static const char32_t minimum[5] = {0, 0, 0x80, 0x800, 0x10000};
        if (v >= minimum[need] && v <= 0x10FFFF && !(v >= 0xD800 && v <= 0xDFFF)) {
          cp = v;
          len = need;
        }
      }
    }
    if (cp >= 0x10000) {
      cp -= 0x10000;
      out.push_back(static_cast<char16_t>(0xD800 + (cp >> 10)));
      out.push_back(static_cast<char16_t>(0xDC00 + (cp & 0x3FF)));
    } else {
      out.push_back(static_cast<char16_t>(cp));
    }
    i += len;
  }
  return out;
}

std::string toUtf8(ustring_view s) {
  std::string out;
  out.reserve(s.size() * 3);
  for (std::size_t i = 0; i < s.size(); ++i) {
    char32_t cp = s[i];
    if (cp >= 0xD800 && cp <= 0xDBFF && i + 1 < s.size() && s[i + 1] >= 0xDC00 && s[i + 1] <= 0xDFFF) {
      cp = 0x10000 + ((cp - 0xD800) << 10) + (s[i + 1] - 0xDC00);
      ++i;
    } else if (cp >= 0xD800 && cp <= 0xDFFF) {
      cp = 0xFFFD;
    }
    if (cp < 0x80) {
      out.push_back(static_cast<char>(cp));
    } else if (cp < 0x800) {
      out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
      out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else if (cp < 0x10000) {
      out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
      out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else {
      out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
      out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    }
  }
  return out;
}

std::size_t leadingBlanks(ustring_view s) {
  std::size_t n = 0;
  while (n < s.size() && s[n] == u' ') ++n;
  return n;
}

std::size_t trailingBlanks(ustring_view s) {
  std::size_t n = 0;
  while (n < s.size() && s[s.size() - 1 - n] == u' ') ++n;
  return n;
}

bool isBlank(ustring_view s) { return leadingBlanks(s) == s.size(); }

ustring trimLeft(ustring_view s) { return ustring(s.substr(leadingBlanks(s))); }
ustring trimRight(ustring_view s) { return ustring(s.substr(0, s.size() - trailingBlanks(s))); }

ustring trim(ustring_view s) {
  std::size_t a = leadingBlanks(s);
  if (a == s.size()) return ustring();
  return ustring(s.substr(a, s.size() - a - trailingBlanks(s)));
}

char16_t foldCase(char16_t c) {
  if (c >= u'a' && c <= u'z') return static_cast<char16_t>(c - 32);
  if (c < 0x80) return c;
  if ((c >= 0xE0 && c <= 0xFE && c != 0xF7)) return static_cast<char16_t>(c - 32);
  if (c >= 0x3B1 && c <= 0x3C9 && c != 0x3C2) return static_cast<char16_t>(c - 32);
  if (c >= 0x430 && c <= 0x44F) return static_cast<char16_t>(c - 32);
  if (c >= 0x450 && c <= 0x45F) return static_cast<char16_t>(c - 80);
  if (c >= 0xFF41 && c <= 0xFF5A) return static_cast<char16_t>(c - 32);
  if (c >= 0x100 && c <= 0x17F && (c & 1) && c != 0x131 && c != 0x138 && c != 0x149 && c != 0x17F)
    return static_cast<char16_t>(c - 1);
  return c;
}

static char16_t lowerCase(char16_t c) {
  if (c >= u'A' && c <= u'Z') return static_cast<char16_t>(c + 32);
  if (c < 0x80) return c;
  if (c >= 0xC0 && c <= 0xDE && c != 0xD7) return static_cast<char16_t>(c + 32);
  if (c >= 0x391 && c <= 0x3A9 && c != 0x3A2) return static_cast<char16_t>(c + 32);
  if (c >= 0x410 && c <= 0x42F) return static_cast<char16_t>(c + 32);
  if (c >= 0x400 && c <= 0x40F) return static_cast<char16_t>(c + 80);
  if (c >= 0xFF21 && c <= 0xFF3A) return static_cast<char16_t>(c + 32);
  if (c >= 0x100 && c <= 0x17F && !(c & 1) && c != 0x130 && c != 0x138) return static_cast<char16_t>(c + 1);
  return c;
}

ustring toUpper(ustring_view s) {
  ustring r(s);
  for (auto& c : r) c = foldCase(c);
  return r;
}

ustring toLower(ustring_view s) {
  ustring r(s);
  for (auto& c : r) c = lowerCase(c);
  return r;
}

bool equalsNoCase(ustring_view a, ustring_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i)
    if (foldCase(a[i]) != foldCase(b[i])) return false;
  return true;
}

#if !defined(__SSE2__)
namespace {

// A 64-bit word holds four units. After an exclusive or with the unit looked
// for in every lane, the lanes that matched are zero.
constexpr uint64_t kLaneOnes = 0x0001000100010001u, kLaneTops = 0x8000800080008000u, kLaneLows = 0x7FFF7FFF7FFF7FFFu;

uint64_t wordAt(const char16_t* p) {
  uint64_t word = 0;
  std::memcpy(&word, p, sizeof word);
  return word;
}

// The top bit of exactly the lanes that are zero.
uint64_t zeroLanes(uint64_t v) { return ~(((v & kLaneLows) + kLaneLows) | v) & kLaneTops; }

}  // namespace
#endif

UnitScan scanUnits(ustring_view s, char16_t counted, char16_t a, char16_t b) {
  UnitScan scan;
  const char16_t* p = s.data();
  std::size_t i = 0;
#if defined(__SSE2__)
  // Eight units at a time; a matching lane sets two bits of the byte mask.
  const __m128i pc = _mm_set1_epi16(static_cast<short>(counted)), pa = _mm_set1_epi16(static_cast<short>(a)),
                pb = _mm_set1_epi16(static_cast<short>(b));
  std::size_t countedBits = 0;
  int either = 0;
  for (; i + 8 <= s.size(); i += 8) {
    const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i));
    countedBits += static_cast<std::size_t>(std::popcount(static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi16(block, pc)))));
    either |= _mm_movemask_epi8(_mm_or_si128(_mm_cmpeq_epi16(block, pa), _mm_cmpeq_epi16(block, pb)));
  }
  scan.count = countedBits / 2;
  scan.either = either != 0;
#else
  const uint64_t pc = kLaneOnes * counted, pa = kLaneOnes * a, pb = kLaneOnes * b;
  uint64_t either = 0;
  for (; i + 4 <= s.size(); i += 4) {
    const uint64_t word = wordAt(p + i);
    scan.count += static_cast<std::size_t>(std::popcount(zeroLanes(word ^ pc)));
    either |= zeroLanes(word ^ pa) | zeroLanes(word ^ pb);
  }
  scan.either = either != 0;
#endif
  for (; i < s.size(); ++i) {
    scan.count += p[i] == counted;
    scan.either = scan.either || p[i] == a || p[i] == b;
  }
  return scan;
}

std::size_t find(ustring_view hay, ustring_view needle, std::size_t from) {
  if (from > hay.size()) return ustring::npos;
  return hay.find(needle, from);
}

std::size_t findNoCase(ustring_view hay, ustring_view needle, std::size_t from) {
  if (from > hay.size()) return ustring::npos;
  if (needle.empty()) return from;
  if (needle.size() > hay.size()) return ustring::npos;
  const char16_t first = foldCase(needle[0]);
  for (std::size_t i = from; i + needle.size() <= hay.size(); ++i) {
    if (foldCase(hay[i]) != first) continue;
    std::size_t k = 1;
    while (k < needle.size() && foldCase(hay[i + k]) == foldCase(needle[k])) ++k;
    if (k == needle.size()) return i;
  }
  return ustring::npos;
}

bool startsWith(ustring_view s, ustring_view prefix) { return s.starts_with(prefix); }

bool endsWith(ustring_view s, ustring_view suffix) { return s.ends_with(suffix); }

std::vector<ustring> split(ustring_view s, ustring_view sep) {
  std::vector<ustring> parts;
  if (sep.empty()) {
    parts.emplace_back(s);
    return parts;
  }
  std::size_t start = 0;
  for (;;) {
    std::size_t p = s.find(sep, start);
    if (p == ustring_view::npos) {
      parts.emplace_back(s.substr(start));
      return parts;
    }
    parts.emplace_back(s.substr(start, p - start));
    start = p + sep.size();
  }
}

ustring join(const std::vector<ustring>& parts, ustring_view sep) {
  ustring out;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    if (i) out.append(sep);
    out.append(parts[i]);
  }
  return out;
}

ustring toText(long long v) {
  char buf[32];
  std::snprintf(buf, sizeof buf, "%lld", v);
  return fromUtf8(buf);
}

bool parseNumber(ustring_view s, double& out) {
  std::size_t i = 0, n = s.size();
  auto blank = [](char16_t c) { return c == u' ' || c == u'\t' || c == 0x3000; };
  while (i < n && blank(s[i])) ++i;
  while (n > i && blank(s[n - 1])) --n;
  if (i == n) return false;
  if (s[i] == u'&' && i + 1 < n) {
    char16_t kind = foldCase(s[i + 1]);
    unsigned base = kind == u'H' ? 16 : kind == u'O' ? 8 : 0;
    if (!base) return false;
    std::size_t j = i + 2;
    if (j == n) return false;
    unsigned long long v = 0;
    for (; j < n; ++j) {
      char16_t c = foldCase(s[j]);
      unsigned d = (c >= u'0' && c <= u'9') ? c - u'0' : (c >= u'A' && c <= u'F') ? c - u'A' + 10 : 99;
      if (d >= base) return false;
      v = v * base + d;
      if (v > 0xFFFFFFFFull) return false;
    }
    // Hexadecimal literals of up to 16 bits and up to 32 bits are signed as the language reads them.
    if (n - i - 2 <= 4 && base == 16) out = static_cast<double>(static_cast<int16_t>(v));
    else out = static_cast<double>(static_cast<int32_t>(static_cast<uint32_t>(v)));
    return true;
  }
  std::string ascii;
  std::size_t j = i;
  if (s[j] == u'+' || s[j] == u'-') ascii.push_back(static_cast<char>(s[j++]));
  bool digits = false;
  while (j < n && ((s[j] >= u'0' && s[j] <= u'9') || s[j] == u',')) {
    if (s[j] != u',') {
      ascii.push_back(static_cast<char>(s[j]));
      digits = true;
    }
    ++j;
  }
  if (j < n && s[j] == u'.') {
    ascii.push_back('.');
    ++j;
    while (j < n && s[j] >= u'0' && s[j] <= u'9') {
      ascii.push_back(static_cast<char>(s[j++]));
      digits = true;
    }
  }
  if (!digits) return false;
  if (j < n && (s[j] == u'e' || s[j] == u'E' || s[j] == u'd' || s[j] == u'D')) {
    ascii.push_back('e');
    ++j;
    if (j < n && (s[j] == u'+' || s[j] == u'-')) ascii.push_back(static_cast<char>(s[j++]));
    bool expDigits = false;
    while (j < n && s[j] >= u'0' && s[j] <= u'9') {
      ascii.push_back(static_cast<char>(s[j++]));
      expDigits = true;
    }
    if (!expDigits) return false;
  }
  if (j != n) return false;
  char* end = nullptr;
  double v = std::strtod(ascii.c_str(), &end);
  if (!std::isfinite(v)) return false;
  out = v;
  return true;
}

double roundHalfEven(double v) {
  double r = std::nearbyint(v);  // default rounding mode is to nearest, ties to even
  return r;
}

ustring doubleToText(double v) {
  if (v == 0) return u"0";
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.15G", v);
  std::string t(buf);
  std::size_t e = t.find('E');
  std::string mant = e == std::string::npos ? t : t.substr(0, e);
  std::string exp = e == std::string::npos ? "" : t.substr(e);
  if (mant.find('.') != std::string::npos) {
    while (!mant.empty() && mant.back() == '0') mant.pop_back();
    if (!mant.empty() && mant.back() == '.') mant.pop_back();
  }
  if (!exp.empty()) {
    // "E+05" -> "E+5"
    std::string sign = exp.substr(1, 1);
    std::string digits = exp.substr(2);
    while (digits.size() > 1 && digits[0] == '0') digits.erase(0, 1);
    exp = "E" + sign + digits;
  }
  return fromUtf8(mant + exp);
}

}  // namespace lumo
