// The little file layer under the text-file helper: bytes in and out of a file
// (or of memory), read and written a line at a time through large buffers.
// Text conversion is not done here: lines travel as 8-bit bytes in the system's
// code page, and the helper converts a whole line at once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "automation/error.h"

namespace lumo::display {

// File-system errors as the scripting file objects raise them.
namespace fileerr {
constexpr int32_t BadFileName = 52;          // "Bad file name or number"
constexpr int32_t FileNotFound = errnum::FileNotFound;
constexpr int32_t BadFileMode = errnum::BadFileMode;
constexpr int32_t DeviceIoError = errnum::DeviceIoError;
constexpr int32_t InputPastEnd = errnum::InputPastEnd;
constexpr int32_t PermissionDenied = errnum::PermissionDenied;
constexpr int32_t PathFileAccessError = 75;  // "Path/File access error"
constexpr int32_t PathNotFound = errnum::PathNotFound;
}  // namespace fileerr

// An Error with the file system's standard description for number.
Error fileError(int32_t number);

// Where bytes come from. read() returns how many bytes it put into buf (0 at
// the end) and raises 57 on a read failure.
class ByteSource {
 public:
  virtual ~ByteSource() = default;
  virtual std::size_t read(char* buf, std::size_t size) = 0;
  // The number of bytes the source holds in all, when it knows (0 otherwise);
  // only used to size collections ahead.
  virtual uint64_t sizeHint() const { return 0; }
};

// Where bytes go. write() takes every byte or raises 57; close() pushes out
// whatever is pending and raises 57 when that fails. Destroying a sink that was
// not closed closes it and ignores any failure.
class ByteSink {
 public:
  virtual ~ByteSink() = default;
  virtual void write(const char* data, std::size_t size) = 0;
  virtual void close() = 0;
};

// ---- files -------------------------------------------------------------------
// Paths are UTF-16 as the caller holds them.

// Opens an existing file for reading: 53 when it is missing, 76 when its folder
// is, 70 when it cannot be read (a folder, no access), 52 for an empty name.
std::unique_ptr<ByteSource> openFileForReading(const ustring& path);
// Creates the file or truncates an existing one. A read-only file is refused with
// 70, as the system refuses to overwrite it whatever the user's rights.
std::unique_ptr<ByteSink> createFile(const ustring& path);
// Deletes a file without forcing: a read-only file is refused with 70, a missing one is 53.
void deleteFile(const ustring& path);

// ---- memory --------------------------------------------------------------------
// Bytes held in memory, handed out at most 'chunk' at a time (small chunks let
// tests place line ends at buffer boundaries).
class MemorySource : public ByteSource {
 public:
  explicit MemorySource(std::string bytes, std::size_t chunk = static_cast<std::size_t>(-1))
      : bytes_(std::move(bytes)), chunk_(chunk == 0 ? 1 : chunk) {}
  std::size_t read(char* buf, std::size_t size) override;
  uint64_t sizeHint() const override { return bytes_.size(); }

 private:
  std::string bytes_;
  std::size_t pos_ = 0;
  std::size_t chunk_;
};

// Collects the bytes written; the text stays readable after the sink is gone.
class MemorySink : public ByteSink {
 public:
  explicit MemorySink(std::shared_ptr<std::string> out) : out_(std::move(out)) {}
  void write(const char* data, std::size_t size) override { out_->append(data, size); }
  void close() override {}

 private:
  std::shared_ptr<std::string> out_;
};

// ---- lines ---------------------------------------------------------------------

// Reads lines from a source. A line ends at CR LF, at a lone LF or at a lone CR;
// the last line of a file needs no ending. The terminator is not part of the line.
class LineReader {
 public:
  static constexpr std::size_t kDefaultBuffer = std::size_t(1) << 20;
  explicit LineReader(std::unique_ptr<ByteSource> source, std::size_t bufferSize = kDefaultBuffer);

  // No byte is left.
  bool atEndOfStream();
  // The next byte ends a line (CR or LF), or nothing is left: what the
  // scripting text stream calls being at the end of a line.
  bool atEndOfLine();
  // Reads the bytes up to the next line end and consumes the end. Raises 62 at
  // the end of the stream and 57 when the source fails.
  void readLine(std::string& out);

  // Bytes taken from the source so far (line ends included) and the source's size hint.
  uint64_t bytesConsumed() const { return consumedBefore_ + pos_; }
  uint64_t sizeHint() const { return source_->sizeHint(); }

 private:
  // Makes at least one byte available unless the source is exhausted; drops the
  // LF of a CR LF whose CR ended the previous line.
  bool ensure();
  bool fill();

  std::unique_ptr<ByteSource> source_;
  std::vector<char> buf_;
  std::size_t pos_ = 0, end_ = 0;
  uint64_t consumedBefore_ = 0;  // bytes of the buffers before this one
  // Positions of the next CR and LF at or after pos_ (end_ when none in the
  // buffer), kept between calls so that a file full of one kind of line end is
  // still scanned only once.
  std::size_t nextCr_ = 0, nextLf_ = 0;
  bool eof_ = false;
  bool skipLf_ = false;
};

// Writes lines, each followed by CR LF, into a sink through one large buffer.
class LineWriter {
 public:
  static constexpr std::size_t kDefaultBuffer = std::size_t(1) << 20;
  explicit LineWriter(std::unique_ptr<ByteSink> sink, std::size_t bufferSize = kDefaultBuffer);
  ~LineWriter();
  LineWriter(const LineWriter&) = delete;
  LineWriter& operator=(const LineWriter&) = delete;

  // Raises 57 when the sink refuses bytes; the writer is then unusable (every
  // later call raises 57 again) so that no line after a lost one is written.
  void writeLine(std::string_view bytes);
  // Pushes everything out and closes the sink; raises 57 when anything failed.
  void close();

 private:
  void flushBuffer();

  std::unique_ptr<ByteSink> sink_;
  std::vector<char> buf_;
  std::size_t used_ = 0;
  bool failed_ = false;
};

}  // namespace lumo::display
