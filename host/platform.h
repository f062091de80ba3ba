// What the add-in's core needs from the operating system and the COM runtime.
// The Windows build installs an implementation over the real calls; native tests
// install a scripted one. Every call is made on the host's UI thread.
#pragma once

#include <cstdint>
#include <string>

#include "automation/object.h"

namespace lumo {

class Platform : public ComponentFactory {
 public:
  // ComponentFactory::create(progId): a new instance of a host component,
  // or Error 429 naming the identifier when it cannot be created.

  virtual uint32_t currentProcessId() = 0;

  // GetComputerNameA into a buffer of 'size' bytes; returns the call's result
  // (non-zero on success). The buffer holds raw bytes, NUL-terminated on success.
  virtual int32_t computerNameA(std::string& buffer, uint32_t size) = 0;

  // ReadTcp of the host library: 'first' and 'buffer' are 8-bit text passed as
  // the language passes strings to a DLL (writable in place). Returns the call's
  // result; raises (53, 48, 453 ...) when the library or function is missing.
  virtual int32_t readTcp(std::string& first, std::string& buffer) = 0;

  // The standard message box; returns an Enum_MsgBoxResult value.
  virtual int32_t messageBox(const ustring& prompt, int32_t buttons, const ustring& title) = 0;

  // The add-in's own directory, without a trailing separator.
  virtual ustring moduleDirectory() = 0;

  // HtmlHelpA(window, path, command, data); returns the help window handle (0 when none).
  virtual intptr_t htmlHelp(intptr_t window, const std::string& path, uint32_t command, uintptr_t data) = 0;

  // SetWindowPos(window, insertAfter, x, y, cx, cy, flags); returns the call's result.
  virtual int32_t setWindowPos(intptr_t window, intptr_t insertAfter, int32_t x, int32_t y, int32_t cx, int32_t cy,
                               uint32_t flags) = 0;

  // While held (by an open window, see ClassObjectHold), create() may keep what
  // it looked up for each component (the class objects) for the next creation;
  // each creation still makes a new instance. Holds are counted: when the last
  // is released, everything kept is let go.
  virtual void holdClassObjects(bool hold) { (void)hold; }

  // Text handed to and read from the 8-bit ("A") functions above, in the system's
  // 8-bit code page. The defaults map U+0000..U+00FF byte for byte and write '?'
  // for anything else; the Windows platform uses the ANSI code page.
  virtual std::string toAnsi(const ustring& text);
  virtual ustring fromAnsi(const std::string& bytes);
};

// A hold on the installed platform's class objects for the holder's lifetime
// (nothing when no platform is installed).
class ClassObjectHold {
 public:
  ClassObjectHold();
  ~ClassObjectHold();
  ClassObjectHold(const ClassObjectHold&) = delete;
  ClassObjectHold& operator=(const ClassObjectHold&) = delete;

 private:
  Platform* platform_;
};

// The process's platform. Raises 91 when none is installed.
Platform& platform();
// Installs the platform (not owned); returns the previous one. nullptr uninstalls.
Platform* setPlatform(Platform* p);

}  // namespace lumo
