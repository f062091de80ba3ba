// The text-file helper behind the public class clsSaveFile: reads or writes a
// plain text file line by line. Text is kept on disk in the system's 8-bit code
// page (platform().toAnsi / fromAnsi), each line converted as a whole.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "automation/object.h"
#include "display/text_file.h"

namespace lumo::display {

// Enum_Action of the public interface.
namespace action {
constexpr int32_t OpenFile = 1;
constexpr int32_t SaveFile = 2;
}  // namespace action

class SaveFile {
 public:
  SaveFile() = default;
  // Releasing the helper closes its stream; a failure to write the last buffered
  // bytes cannot be reported from here (close() can).
  ~SaveFile();
  SaveFile(const SaveFile&) = delete;
  SaveFile& operator=(const SaveFile&) = delete;

  // Lines read by readLeftLines, accumulated; the class never resets it.
  int32_t lineNum() const { return lineNum_; }
  void setLineNum(int32_t n) { lineNum_ = n; }

  // Must be set before fileName: SaveFile (2) creates, anything else opens for reading.
  int32_t action() const { return action_; }
  void setAction(int32_t a) { action_ = a; }

  const ustring& fileName() const { return fileName_; }
  // Stores the name, closes any stream held so far, then opens the file for
  // reading or creates it for writing according to action. Creating is done as
  // create, close, delete, create, and the second stream stays open. Raises the
  // file system's error (53 file not found, 70 permission denied, 76 path not
  // found, ...) to the caller; the name stays stored.
  void setFileName(const ustring& name);

  // Writes line and CR LF. Raises 91 without a stream, 54 on a stream opened for
  // reading, 57 when the bytes cannot be written.
  void writeTo(const ustring& line);
  // Characters of the lines written so far that the code page has no place for:
  // each was written as the system's default character "?".
  std::size_t replacedChars() const { return replaced_; }

  // The first line: "" when the stream stands at the end of a line (an empty
  // first line, an empty file) or when anything fails; the line end of an empty
  // line is left where it is.
  ustring readFirstLine();

  // A fresh collection of the lines from here up to the first empty line or the
  // end of the file, each counted in lineNum before it is read. Errors end the
  // reading and leave the lines read so far. The collection is kept as well.
  std::shared_ptr<Collection> readLeftLines();
  const std::shared_ptr<Collection>& lastLines() const { return lines_; }

  // Closes the stream. For a stream being written this pushes out the buffered
  // bytes and raises 57 when they (or any earlier line) could not be written.
  void close();

  // Reads from a source that is already open instead of a named file (memory in
  // tests and fuzzing). The file name is left as it is.
  void attachReader(std::unique_ptr<ByteSource> source, std::size_t bufferSize = LineReader::kDefaultBuffer);
  // Writes into a sink that is already open instead of a named file.
  void attachWriter(std::unique_ptr<ByteSink> sink, std::size_t bufferSize = LineWriter::kDefaultBuffer);

 private:
  void drop() noexcept;
  // After the first kSampleLines lines: room in the collection for the lines the
  // rest of the stream will probably give.
  static constexpr std::size_t kSampleLines = 256;
  static constexpr std::size_t kMostReserved = std::size_t(1) << 22;
  void reserveForTheRest(uint64_t start);

  int32_t lineNum_ = 0;
  int32_t action_ = 0;
  std::size_t replaced_ = 0;
  ustring fileName_;
  std::unique_ptr<LineReader> reader_;
  std::unique_ptr<LineWriter> writer_;
  std::shared_ptr<Collection> lines_;
  std::string scratch_;  // one line's bytes, reused
};

}  // namespace lumo::display
