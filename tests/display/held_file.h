// Files in the states that make a save fail: held open by another program that
// shares nothing with anyone, or marked read-only.
#pragma once

#include <windows.h>

#include <string>

namespace disptest {

// Creates (or replaces) the file with 'bytes' and keeps it open with no sharing
// at all, as a program that has it open for its own exclusive use.
class HeldFile {
 public:
  HeldFile(const std::wstring& path, const std::string& bytes)
      : handle_(CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                            FILE_ATTRIBUTE_NORMAL, nullptr)) {
    DWORD written = 0;
    if (handle_ != INVALID_HANDLE_VALUE)
      WriteFile(handle_, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
  }
  ~HeldFile() { release(); }
  HeldFile(const HeldFile&) = delete;
  HeldFile& operator=(const HeldFile&) = delete;

  bool held() const { return handle_ != INVALID_HANDLE_VALUE; }
  void release() {
    if (handle_ != INVALID_HANDLE_VALUE) CloseHandle(handle_);
    handle_ = INVALID_HANDLE_VALUE;
  }

 private:
  HANDLE handle_;
};

// Writes the file and sets its read-only attribute.
inline bool makeReadOnlyFile(const std::wstring& path, const std::string& bytes) {
  HANDLE h = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (h == INVALID_HANDLE_VALUE) return false;
  DWORD written = 0;
  const BOOL ok = WriteFile(h, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
  CloseHandle(h);
  return ok && SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY);
}

// Clears the read-only attribute and deletes the file.
inline void removeReadOnlyFile(const std::wstring& path) {
  SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
  DeleteFileW(path.c_str());
}

}  // namespace disptest
