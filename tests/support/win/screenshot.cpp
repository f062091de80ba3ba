#include "tests/support/win/screenshot.h"

#include "tests/support/win/pump.h"
#include "tests/support/win/text.h"

#include <cstdint>
#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

namespace lumo::test {
namespace {

uint32_t crc32(const unsigned char* data, std::size_t n, uint32_t crc = 0) {
  static uint32_t table[256];
  static bool ready = false;
  if (!ready) {
    for (uint32_t i = 0; i < 256; ++i) {
      uint32_t c = i;
      for (int k = 0; k < 8; ++k) c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
      table[i] = c;
    }
    ready = true;
  }
  crc = ~crc;
  for (std::size_t i = 0; i < n; ++i) crc = table[(crc ^ data[i]) & 0xFF] ^ (crc >> 8);
  return ~crc;
}

void put32(std::string& out, uint32_t v) {
  for (int s = 24; s >= 0; s -= 8) out.push_back(static_cast<char>((v >> s) & 0xFF));
}

void chunk(std::string& out, const char* type, const std::string& data) {
  put32(out, static_cast<uint32_t>(data.size()));
  std::string body = std::string(type, 4) + data;
  out += body;
  put32(out, crc32(reinterpret_cast<const unsigned char*>(body.data()), body.size()));
}

}  // namespace

bool saveWindowPng(HWND window, const std::wstring& path) {
  RECT r{};
  if (!window || !GetWindowRect(window, &r)) return false;
  const int w = r.right - r.left, h = r.bottom - r.top;
  if (w <= 0 || h <= 0) return false;
  HDC screen = GetDC(nullptr);
  HDC mem = CreateCompatibleDC(screen);
  BITMAPINFO bi{};
  bi.bmiHeader.biSize = sizeof bi.bmiHeader;
  bi.bmiHeader.biWidth = w;
  bi.bmiHeader.biHeight = -h;  // top-down
  bi.bmiHeader.biPlanes = 1;
  bi.bmiHeader.biBitCount = 32;
  bi.bmiHeader.biCompression = BI_RGB;
  void* bits = nullptr;
  HBITMAP bmp = CreateDIBSection(screen, &bi, DIB_RGB_COLORS, &bits, nullptr, 0);
  HGDIOBJ old = SelectObject(mem, bmp);
  BitBlt(mem, 0, 0, w, h, screen, r.left, r.top, SRCCOPY);
  GdiFlush();

  // Raw scan lines: filter byte 0, then RGB.
  std::string raw;
  raw.reserve(static_cast<std::size_t>(h) * (1 + 3 * static_cast<std::size_t>(w)));
  const auto* px = static_cast<const unsigned char*>(bits);
  for (int y = 0; y < h; ++y) {
    raw.push_back('\0');
    for (int x = 0; x < w; ++x) {
      const unsigned char* p = px + (static_cast<std::size_t>(y) * w + x) * 4;  // B G R X
      raw.push_back(static_cast<char>(p[2]));
      raw.push_back(static_cast<char>(p[1]));
      raw.push_back(static_cast<char>(p[0]));
    }
  }
  SelectObject(mem, old);
  DeleteObject(bmp);
  DeleteDC(mem);
  ReleaseDC(nullptr, screen);

  // zlib stream of stored blocks.
  std::string z = "\x78\x01";
  std::size_t pos = 0;
  do {
    const std::size_t n = std::min<std::size_t>(65535, raw.size() - pos);
    const bool last = pos + n == raw.size();
    z.push_back(last ? 1 : 0);
    z.push_back(static_cast<char>(n & 0xFF));
    z.push_back(static_cast<char>(n >> 8));
    z.push_back(static_cast<char>(~n & 0xFF));
    z.push_back(static_cast<char>((~n >> 8) & 0xFF));
    z.append(raw, pos, n);
    pos += n;
  } while (pos < raw.size());
  uint32_t a = 1, b = 0;
  for (unsigned char c : raw) {
    a = (a + c) % 65521;
    b = (b + a) % 65521;
  }
  put32(z, (b << 16) | a);

  std::string png = "\x89PNG\r\n\x1a\n";
  std::string ihdr;
  put32(ihdr, static_cast<uint32_t>(w));
  put32(ihdr, static_cast<uint32_t>(h));
  ihdr += std::string("\x08\x02\x00\x00\x00", 5);  // 8-bit RGB
  chunk(png, "IHDR", ihdr);
  chunk(png, "IDAT", z);
  chunk(png, "IEND", "");
  FILE* f = _wfopen(path.c_str(), L"wb");
  if (!f) return false;
  const bool ok = fwrite(png.data(), 1, png.size(), f) == png.size();
  return fclose(f) == 0 && ok;
}

bool saveShot(HWND window, const std::u16string& name) {
  const ustring dir = environment(L"LUMO_SHOTS_DIR");
  if (dir.empty()) return true;
  RedrawWindow(window, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_UPDATENOW | RDW_ALLCHILDREN | RDW_FRAME);
  pumpFor(500);
  return saveWindowPng(window, wide(dir + u"\\" + name + u".png"));
}

}  // namespace lumo::test
