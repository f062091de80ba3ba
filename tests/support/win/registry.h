// The registry of the test prefix as the tests read it back.
#pragma once

#include <windows.h>

#include <string>

namespace lumo::test {

// The default (or named) string value of a key; "<missing>" when it is not there.
std::wstring regText(HKEY root, const std::wstring& path, const wchar_t* name = nullptr);
bool keyExists(HKEY root, const std::wstring& path);

}  // namespace lumo::test
