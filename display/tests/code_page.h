// A double-byte test code page shaped like the Chinese ANSI code page: ASCII as
// single bytes, CJK ideographs U+4E00..U+9FA5 and the full-width forms
// U+FF01..U+FF5E as a lead byte 0x81..0xF0 and a trail byte 0x40..0xFE (never
// 0x7F), so that no trail byte is ever CR or LF. The byte values are our own,
// not the real code page's; 0x80 is the euro sign. Anything else is written as
// "?", and bytes that form no character read as "?", as the system's
// conversions do with their default character.
#pragma once

#include <string>

#include "automation/text.h"
#include "host/tests/fake_platform.h"

namespace lumo::display::test {

struct TestCodePage {
  static constexpr char16_t kFirstIdeograph = 0x4E00, kLastIdeograph = 0x9FA5;
  static constexpr char16_t kFirstFullWidth = 0xFF01, kLastFullWidth = 0xFF5E;

  // Writes c at out[o...] (room for two bytes) and returns the new end.
  static std::size_t put(char* out, std::size_t o, char16_t c) {
    if (c < 0x80) {
      out[o++] = static_cast<char>(c);
    } else if (c >= kFirstIdeograph && c <= kLastIdeograph) {
      const unsigned idx = c - kFirstIdeograph;
      const unsigned t = idx % 190;
      out[o++] = static_cast<char>(0x81 + idx / 190);
      out[o++] = static_cast<char>(t < 63 ? 0x40 + t : 0x80 + (t - 63));
    } else if (c >= kFirstFullWidth && c <= kLastFullWidth) {
      out[o++] = static_cast<char>(0xF0);
      out[o++] = static_cast<char>(0xA1 + (c - kFirstFullWidth));
    } else if (c == 0x20AC) {
      out[o++] = static_cast<char>(0x80);
    } else {
      out[o++] = '?';
    }
    return o;
  }

  // A lead byte and a trail byte that make one character together.
  static bool isPair(unsigned b, unsigned t) {
    if (b >= 0x81 && b <= 0xEF) return (t >= 0x40 && t <= 0x7E) || (t >= 0x80 && t <= 0xFE);
    return b == 0xF0 && t >= 0xA1 && t <= 0xA1 + unsigned(kLastFullWidth - kFirstFullWidth);
  }

  // Both directions convert a whole text in one pass into a buffer sized for the
  // worst case, as the system's conversions do.
  static std::string toAnsi(const ustring& text) {
    std::string out(text.size() * 2, '\0');
    std::size_t o = 0;
    for (char16_t c : text) o = put(out.data(), o, c);
    out.resize(o);
    return out;
  }

  static ustring fromAnsi(const std::string& bytes) {
    // Sized first, as callers of the system's conversion ask for the length
    // before converting: a text of double-byte characters needs fewer units.
    std::size_t units = 0;
    const std::size_t count = bytes.size();
    for (std::size_t i = 0; i < count; ++i, ++units) {
      const unsigned b = static_cast<unsigned char>(bytes[i]);
      if (i + 1 < count && isPair(b, static_cast<unsigned char>(bytes[i + 1]))) ++i;
    }
    ustring out(units, u'\0');
    std::size_t o = 0;
    const std::size_t n = bytes.size();
    for (std::size_t i = 0; i < n; ++i) {
      const unsigned b = static_cast<unsigned char>(bytes[i]);
      if (b < 0x80) {
        out[o++] = static_cast<char16_t>(b);
        continue;
      }
      if (b == 0x80) {
        out[o++] = 0x20AC;
        continue;
      }
      const unsigned t = i + 1 < n ? static_cast<unsigned char>(bytes[i + 1]) : 0;
      if (!isPair(b, t)) {
        out[o++] = u'?';
        continue;
      }
      if (b <= 0xEF) {
        const unsigned idx = (b - 0x81) * 190 + (t <= 0x7E ? t - 0x40 : t - 0x80 + 63);
        out[o++] = idx <= unsigned(kLastIdeograph - kFirstIdeograph) ? static_cast<char16_t>(kFirstIdeograph + idx) : u'?';
        ++i;
        continue;
      }
      out[o++] = static_cast<char16_t>(kFirstFullWidth + (t - 0xA1));
      ++i;
    }
    out.resize(o);
    return out;
  }
};

// The fake platform with the test code page as the system's 8-bit code page,
// counting the conversions it is asked for.
class CodePagePlatform : public lumo::test::FakePlatform {
 public:
  std::size_t toAnsiCalls = 0, fromAnsiCalls = 0;
  std::string toAnsi(const ustring& text) override {
    ++toAnsiCalls;
    return TestCodePage::toAnsi(text);
  }
  ustring fromAnsi(const std::string& bytes) override {
    ++fromAnsiCalls;
    return TestCodePage::fromAnsi(bytes);
  }
};

}  // namespace lumo::display::test
