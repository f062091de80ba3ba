#include "display/save_file.h"

#include <algorithm>
#include <cstdint>
#include <new>

#include "host/platform.h"

namespace lumo::display {

SaveFile::~SaveFile() { drop(); }

void SaveFile::drop() noexcept {
  reader_.reset();
  // The writer closes itself and swallows what it cannot report.
  writer_.reset();
}

void SaveFile::close() {
  reader_.reset();
  if (writer_) {
    std::unique_ptr<LineWriter> w = std::move(writer_);
    w->close();
  }
}

void SaveFile::setFileName(const ustring& name) {
  fileName_ = name;
  drop();
  if (action_ != action::SaveFile) {
    reader_ = std::make_unique<LineReader>(openFileForReading(name));
    return;
  }
  // Create, close, delete, create: an existing file of any length is replaced by
  // an empty one before the first line is written.
  createFile(name)->close();
  deleteFile(name);
  writer_ = std::make_unique<LineWriter>(createFile(name));
}

void SaveFile::attachReader(std::unique_ptr<ByteSource> source, std::size_t bufferSize) {
  drop();
  reader_ = std::make_unique<LineReader>(std::move(source), bufferSize);
}

void SaveFile::attachWriter(std::unique_ptr<ByteSink> sink, std::size_t bufferSize) {
  drop();
  writer_ = std::make_unique<LineWriter>(std::move(sink), bufferSize);
}

void SaveFile::writeTo(const ustring& line) {
  if (!writer_) {
    if (reader_) throw Error(errnum::BadFileMode);
    throw Error(errnum::ObjectVariableNotSet);
  }
  // One conversion per line; the bytes go into the writer's buffer.
  const std::string bytes = platform().toAnsi(line);
  // A character the code page cannot hold comes out as "?": more of them in the
  // bytes than in the line are replacements (no lead or trail byte is a "?").
  const auto marks = static_cast<std::size_t>(std::count(bytes.begin(), bytes.end(), '?'));
  const auto own = static_cast<std::size_t>(std::count(line.begin(), line.end(), u'?'));
  if (marks > own) replaced_ += marks - own;
  writer_->writeLine(bytes);
}

ustring SaveFile::readFirstLine() {
  try {
    if (!reader_) return {};
    if (reader_->atEndOfLine()) return {};
    reader_->readLine(scratch_);
    return platform().fromAnsi(scratch_);
  } catch (const std::exception&) {
    return {};
  }
}

std::shared_ptr<Collection> SaveFile::readLeftLines() {
  lines_ = std::make_shared<Collection>();
  try {
    if (!reader_) throw Error(errnum::ObjectVariableNotSet);
    if (writer_) throw Error(errnum::BadFileMode);
    Platform& p = platform();
    const uint64_t start = reader_->bytesConsumed();
    while (!reader_->atEndOfLine()) {
      if (lineNum_ == INT32_MAX) throw Error(errnum::Overflow);
      ++lineNum_;
      reader_->readLine(scratch_);
      lines_->add(Variant(p.fromAnsi(scratch_)));
      if (lines_->count() == kSampleLines) reserveForTheRest(start);
    }
  } catch (const std::exception&) {
    // What was read so far is the result.
  }
  return lines_;
}

void SaveFile::reserveForTheRest(uint64_t start) {
  // Growing a collection of a million lines one doubling at a time costs more
  // than reading them; the lines read so far tell how many the rest will make.
  const uint64_t size = reader_->sizeHint();
  const uint64_t done = reader_->bytesConsumed();
  if (size <= done || done <= start) return;
  const uint64_t rest = size - done;
  const double perLine = static_cast<double>(done - start) / static_cast<double>(kSampleLines);
  // A little more than the estimate, and never more than one entry per 16 bytes
  // left, however short the sample's lines were.
  const double estimate = static_cast<double>(rest) / perLine * 1.05 + 64;
  const double bound = static_cast<double>(rest / 16 + 64);
  // And never more than kMostReserved: for a hint of gigabytes a 32-bit process
  // would be asked for more room than it can address (refused, and the refusal
  // ended the reading) or for the memory the lines themselves need. Past that the
  // collection grows as the lines come. The count is bounded while still a double,
  // so that it always fits the integer it becomes.
  const double wanted = std::min({estimate, bound, static_cast<double>(kMostReserved)});
  try {
    lines_->reserve(kSampleLines + static_cast<std::size_t>(wanted));
  } catch (const std::bad_alloc&) {
    // Only a guess: without the room the lines are read all the same.
  }
}

}  // namespace lumo::display
