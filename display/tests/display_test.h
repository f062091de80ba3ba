// The fixture shared by the display tests: the fake platform with the test code
// page, a folder of its own for files, and small file helpers.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

#include "code_page.h"
#include "display/text_file.h"
#include "tests/support/errors.h"

#ifndef _WIN32
#include <csignal>
#include <sys/resource.h>
#endif

namespace lumo::display::test {

namespace fs = std::filesystem;
using lumo::test::errorOf;

// A folder that exists for one test and goes with everything in it.
class TempDir {
 public:
  TempDir() {
    std::random_device rd;
    for (int attempt = 0; attempt < 100; ++attempt) {
      fs::path p = fs::temp_directory_path() / ("lumo-display-" + std::to_string(rd()) + "-" + std::to_string(attempt));
      std::error_code ec;
      if (fs::create_directory(p, ec)) {
        path_ = p;
        return;
      }
    }
    throw std::runtime_error("no temporary folder");
  }
  ~TempDir() {
    std::error_code ec;
    // Read-only files would keep the folder on systems that honour the attribute.
    for (auto it = fs::recursive_directory_iterator(path_, ec); it != fs::recursive_directory_iterator(); ++it)
      fs::permissions(it->path(), fs::perms::owner_all, fs::perm_options::add, ec);
    fs::remove_all(path_, ec);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const fs::path& path() const { return path_; }

 private:
  fs::path path_;
};

inline std::string readBytes(const fs::path& p) {
  std::ifstream in(p, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void writeBytes(const fs::path& p, const std::string& bytes) {
  std::ofstream out(p, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

inline void makeReadOnly(const fs::path& p) {
  fs::permissions(p, fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write,
                  fs::perm_options::remove);
}

// A sink that takes 'limit' bytes and then refuses, as a full disk does.
class FailingSink : public ByteSink {
 public:
  FailingSink(std::shared_ptr<std::string> out, std::size_t limit) : out_(std::move(out)), limit_(limit) {}
  void write(const char* data, std::size_t size) override {
    if (out_->size() + size > limit_) throw fileError(fileerr::DeviceIoError);
    out_->append(data, size);
  }
  void close() override {}

 private:
  std::shared_ptr<std::string> out_;
  std::size_t limit_;
};

#ifndef _WIN32
// Lowers the process's file-size limit for a scope: writes beyond it fail with
// EFBIG, a real write failure from the system.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) {
    getrlimit(RLIMIT_FSIZE, &old_);
    rlimit lowered = old_;
    lowered.rlim_cur = bytes;
    setrlimit(RLIMIT_FSIZE, &lowered);
    previous_ = std::signal(SIGXFSZ, SIG_IGN);
  }
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &old_);
    std::signal(SIGXFSZ, previous_);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  rlimit old_{};
  void (*previous_)(int) = nullptr;
};
#define LUMO_HAVE_FILE_SIZE_LIMIT 1
#endif

class DisplayTest : public ::testing::Test {
 protected:
  CodePagePlatform fake;
  lumo::test::FakePlatformScope scope{fake};
  TempDir dir;

  fs::path file(const std::string& name) const { return dir.path() / name; }
  ustring path(const std::string& name) const { return file(name).u16string(); }
  static std::string ansi(const ustring& s) { return TestCodePage::toAnsi(s); }
};

}  // namespace lumo::display::test
