#include "host/platform.h"

namespace lumo {

namespace {
Platform* g_platform = nullptr;
}  // namespace

Platform& platform() {
  if (!g_platform) throw Error(errnum::ObjectVariableNotSet);
  return *g_platform;
}

ClassObjectHold::ClassObjectHold() : platform_(g_platform) {
  if (platform_) platform_->holdClassObjects(true);
}

ClassObjectHold::~ClassObjectHold() {
  if (platform_) platform_->holdClassObjects(false);
}

Platform* setPlatform(Platform* p) {
  Platform* previous = g_platform;
  g_platform = p;
  return previous;
}

std::string Platform::toAnsi(const ustring& text) {
  std::string out;
  out.reserve(text.size());
  for (char16_t c : text) out.push_back(c <= 0xFF ? static_cast<char>(static_cast<unsigned char>(c)) : '?');
  return out;
}

ustring Platform::fromAnsi(const std::string& bytes) {
  ustring out;
  out.reserve(bytes.size());
  for (char b : bytes) out.push_back(static_cast<char16_t>(static_cast<unsigned char>(b)));
  return out;
}

}  // namespace lumo
