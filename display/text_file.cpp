#include "display/text_file.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

namespace lumo::display {

namespace fs = std::filesystem;

Error fileError(int32_t number) {
  switch (number) {
    case fileerr::BadFileName: return Error(number, u"Bad file name or number");
    case fileerr::PathFileAccessError: return Error(number, u"Path/File access error");
    default: return Error(number);
  }
}

namespace {

fs::path nativePath(const ustring& path) {
  if (path.empty()) throw fileError(fileerr::BadFileName);
  try {
    return fs::path(path);
  } catch (const std::exception&) {
    // Text that is no valid UTF-16 cannot name a file.
    throw fileError(fileerr::BadFileName);
  }
}

// The one place that knows how the system opens a file by name: Windows takes
// the UTF-16 path as it stands, other systems the path's own encoding.
std::FILE* openStdio(const fs::path& p, bool forWriting) {
#ifdef _WIN32
  return _wfopen(p.c_str(), forWriting ? L"wb" : L"rb");
#else
  return std::fopen(p.c_str(), forWriting ? "wb" : "rb");
#endif
}

bool folderOfExists(const fs::path& p) {
  std::error_code ec;
  fs::path parent = p.parent_path();
  if (parent.empty()) return true;  // a bare name lives in the current folder
  return fs::is_directory(parent, ec);
}

// The read-only attribute: no one may overwrite or delete such a file, whatever
// their rights. (On systems without the attribute, no write permission at all.)
bool isReadOnlyFile(const fs::path& p) {
  std::error_code ec;
  const fs::file_status st = fs::status(p, ec);
  if (ec || !fs::is_regular_file(st)) return false;
  const fs::perms writable = fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;
  return (st.permissions() & writable) == fs::perms::none;
}

// The scripting error for a failed open, from the C library's reason.
Error openError(const fs::path& p, int code) {
  switch (code) {
    case ENOENT:
    case ENOTDIR:
      return fileError(folderOfExists(p) ? fileerr::FileNotFound : fileerr::PathNotFound);
    case EACCES:
    case EPERM:
    case EISDIR:
    case EROFS:
    case EBUSY:
    case ETXTBSY:
      return fileError(fileerr::PermissionDenied);
    case EINVAL:
    case ENAMETOOLONG:
      return fileError(fileerr::BadFileName);
    default:
      return fileError(fileerr::PathFileAccessError);
  }
}

class FileSource : public ByteSource {
 public:
  FileSource(std::FILE* f, uint64_t size) : f_(f), size_(size) {}
  ~FileSource() override { std::fclose(f_); }
  FileSource(const FileSource&) = delete;
  FileSource& operator=(const FileSource&) = delete;

  std::size_t read(char* buf, std::size_t size) override {
    const std::size_t n = std::fread(buf, 1, size, f_);
    if (n < size && std::ferror(f_)) throw fileError(fileerr::DeviceIoError);
    return n;
  }
  uint64_t sizeHint() const override { return size_; }

 private:
  std::FILE* f_;
  uint64_t size_;
};

class FileSink : public ByteSink {
 public:
  explicit FileSink(std::FILE* f) : f_(f) {}
  ~FileSink() override {
    if (f_) std::fclose(f_);
  }
  FileSink(const FileSink&) = delete;
  FileSink& operator=(const FileSink&) = delete;

  void write(const char* data, std::size_t size) override {
    if (!f_) throw fileError(fileerr::DeviceIoError);
    if (size && std::fwrite(data, 1, size, f_) != size) throw fileError(fileerr::DeviceIoError);
  }

  void close() override {
    if (!f_) return;
    const bool flushed = std::fflush(f_) == 0 && !std::ferror(f_);
    const bool closed = std::fclose(f_) == 0;
    f_ = nullptr;
    if (!flushed || !closed) throw fileError(fileerr::DeviceIoError);
  }

 private:
  std::FILE* f_;
};

}  // namespace

std::unique_ptr<ByteSource> openFileForReading(const ustring& path) {
  const fs::path p = nativePath(path);
  std::error_code ec;
  // Opening a folder as a text file is refused as the system refuses it.
  if (fs::is_directory(p, ec)) throw fileError(fileerr::PermissionDenied);
  std::FILE* f = openStdio(p, false);
  if (!f) throw openError(p, errno);
  // Our own buffers are large; the stream needs none of its own.
  std::setvbuf(f, nullptr, _IONBF, 0);
  const uintmax_t size = fs::file_size(p, ec);
  return std::make_unique<FileSource>(f, ec ? 0 : static_cast<uint64_t>(size));
}

std::unique_ptr<ByteSink> createFile(const ustring& path) {
  const fs::path p = nativePath(path);
  if (isReadOnlyFile(p)) throw fileError(fileerr::PermissionDenied);
  std::FILE* f = openStdio(p, true);
  if (!f) {
    const int code = errno;
    // Creating in a missing folder is a missing path, not a missing file.
    if (code == ENOENT || code == ENOTDIR) throw fileError(fileerr::PathNotFound);
    throw openError(p, code);
  }
  std::setvbuf(f, nullptr, _IONBF, 0);
  return std::make_unique<FileSink>(f);
}

void deleteFile(const ustring& path) {
  const fs::path p = nativePath(path);
  std::error_code ec;
  const fs::file_status st = fs::status(p, ec);
  if (!fs::exists(st)) throw fileError(folderOfExists(p) ? fileerr::FileNotFound : fileerr::PathNotFound);
  if (fs::is_directory(st)) throw fileError(fileerr::FileNotFound);
  if (isReadOnlyFile(p)) throw fileError(fileerr::PermissionDenied);
  if (!fs::remove(p, ec) || ec) throw fileError(fileerr::PermissionDenied);
}

// ---- memory --------------------------------------------------------------------

std::size_t MemorySource::read(char* buf, std::size_t size) {
  const std::size_t n = std::min({size, chunk_, bytes_.size() - pos_});
  std::memcpy(buf, bytes_.data() + pos_, n);
  pos_ += n;
  return n;
}

// ---- LineReader ------------------------------------------------------------------

namespace {
constexpr std::size_t kUnknown = static_cast<std::size_t>(-1);
}

LineReader::LineReader(std::unique_ptr<ByteSource> source, std::size_t bufferSize)
    : source_(std::move(source)), buf_(std::max<std::size_t>(bufferSize, 1)), nextCr_(kUnknown), nextLf_(kUnknown) {}

bool LineReader::fill() {
  if (eof_) return false;
  consumedBefore_ += end_;
  pos_ = end_ = 0;
  nextCr_ = nextLf_ = kUnknown;
  const std::size_t n = source_->read(buf_.data(), buf_.size());
  if (n == 0) {
    eof_ = true;
    return false;
  }
  end_ = n;
  return true;
}

bool LineReader::ensure() {
  for (;;) {
    if (pos_ == end_ && !fill()) return false;
    if (skipLf_) {
      skipLf_ = false;
      if (buf_[pos_] == '\n') {
        ++pos_;
        continue;
      }
    }
    return true;
  }
}

bool LineReader::atEndOfStream() { return !ensure(); }

bool LineReader::atEndOfLine() {
  if (!ensure()) return true;
  const char c = buf_[pos_];
  return c == '\r' || c == '\n';
}

void LineReader::readLine(std::string& out) {
  out.clear();
  if (!ensure()) throw fileError(fileerr::InputPastEnd);
  auto next = [this](char c, std::size_t& cache) {
    if (cache == kUnknown || cache < pos_) {
      const void* hit = std::memchr(buf_.data() + pos_, c, end_ - pos_);
      cache = hit ? static_cast<std::size_t>(static_cast<const char*>(hit) - buf_.data()) : end_;
    }
    return cache;
  };
  for (;;) {
    const std::size_t stop = std::min(next('\r', nextCr_), next('\n', nextLf_));
    if (stop < end_) {
      out.append(buf_.data() + pos_, stop - pos_);
      pos_ = stop + 1;
      // A CR may be the first half of CR LF; its LF is dropped when it comes.
      if (buf_[stop] == '\r') skipLf_ = true;
      return;
    }
    out.append(buf_.data() + pos_, end_ - pos_);
    pos_ = end_;
    if (!fill()) return;  // the last line needs no ending
  }
}

// ---- LineWriter ------------------------------------------------------------------

LineWriter::LineWriter(std::unique_ptr<ByteSink> sink, std::size_t bufferSize)
    : sink_(std::move(sink)), buf_(std::max<std::size_t>(bufferSize, 2)) {}

LineWriter::~LineWriter() {
  try {
    close();
  } catch (const std::exception&) {
    // Releasing the writer cannot report anything; close() is the place for that.
  }
}

void LineWriter::flushBuffer() {
  if (used_ == 0) return;
  try {
    sink_->write(buf_.data(), used_);
  } catch (...) {
    failed_ = true;
    used_ = 0;
    throw;
  }
  used_ = 0;
}

void LineWriter::writeLine(std::string_view bytes) {
  if (failed_ || !sink_) throw fileError(fileerr::DeviceIoError);
  const std::size_t need = bytes.size() + 2;
  if (used_ + need > buf_.size()) flushBuffer();
  if (need > buf_.size()) {
    // A line larger than the buffer goes straight to the sink.
    try {
      sink_->write(bytes.data(), bytes.size());
      sink_->write("\r\n", 2);
    } catch (...) {
      failed_ = true;
      throw;
    }
    return;
  }
  std::memcpy(buf_.data() + used_, bytes.data(), bytes.size());
  used_ += bytes.size();
  buf_[used_++] = '\r';
  buf_[used_++] = '\n';
}

void LineWriter::close() {
  if (!sink_) return;
  bool ok = !failed_;
  if (ok) {
    try {
      flushBuffer();
    } catch (const std::exception&) {
      ok = false;
    }
  }
  try {
    sink_->close();
  } catch (const std::exception&) {
    ok = false;
  }
  sink_.reset();
  if (!ok) {
    failed_ = true;
    throw fileError(fileerr::DeviceIoError);
  }
}

}  // namespace lumo::display
