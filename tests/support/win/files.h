// Files the Windows tests write and read back, in the system's own terms.
#pragma once

#include <string>

namespace lumo::test {

// The bytes of a file; "<missing>" when it cannot be opened.
std::string readFile(const std::wstring& path);

// A path in the system's temporary folder where no file stands (one left by an
// earlier run is deleted).
std::wstring tempFile(const std::wstring& name);

}  // namespace lumo::test
