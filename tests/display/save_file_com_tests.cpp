// clsSaveFile through IDispatch: values and errors as a late-bound caller sees them.
#include <windows.h>

#include "com_support.h"
#include "held_file.h"
#include "tests/support/win/files.h"

namespace lumo::com {
namespace {

using lumo::test::readFile;
using lumo::test::tempFile;

class SaveFileCom : public ComObjectTest {
 protected:
  void SetUp() override {
    file_ = keep(L"LumoSmsManager.clsSaveFile");
    ASSERT_NE(nullptr, file_);
  }
  // Setting fileName for saving must fail with 70 and leave no stream to write to.
  void expectRefused(const std::wstring& path) {
    Late f(file_);
    ASSERT_EQ(S_OK, f.put(L"action", V(2)).hr);
    const Outcome o = f.put(L"fileName", V(path));
    EXPECT_EQ(DISP_E_EXCEPTION, o.hr) << o;
    EXPECT_EQ(static_cast<SCODE>(0x800A0046), o.scode) << o;  // 70
    EXPECT_EQ(L"SmsManager.clsSaveFile.fileName", o.source);
    EXPECT_EQ(L"Permission denied", o.description);
    V line(L"不该写入");
    const Outcome w = f.call(L"WriteTo", {V::byRef(line)});
    EXPECT_EQ(static_cast<SCODE>(0x800A005B), w.scode) << "no stream was left open: " << w;  // 91
  }
  // The helper that was refused saves normally once the file is free again (and
  // is released afterwards).
  void expectSavesAgain(const std::wstring& path) {
    Late f(file_);
    ASSERT_EQ(S_OK, f.put(L"fileName", V(path)).hr);
    V line(L"新内容");
    ASSERT_EQ(S_OK, f.call(L"WriteTo", {V::byRef(line)}).hr);
    ASSERT_EQ(S_OK, f.put(L"action", V(1)).hr);
    ASSERT_EQ(S_OK, f.put(L"fileName", V(path)).hr);
    EXPECT_EQ(L"新内容", f.call(L"readFirstLine").text());
    // Releasing the helper closes the file.
    release();
    file_ = nullptr;
  }
  IDispatch* file_ = nullptr;
};

TEST_F(SaveFileCom, MissingFileFailsWithItsNumberAndSource) {
  Late f(file_);
  EXPECT_EQ(S_OK, f.put(L"action", V(1)).hr);
  const Outcome o = f.put(L"fileName", V(tempFile(L"lumo-missing.ldg")));
  EXPECT_EQ(DISP_E_EXCEPTION, o.hr) << o;
  EXPECT_EQ(static_cast<SCODE>(0x800A0035), o.scode) << o;  // 53
  EXPECT_EQ(L"SmsManager.clsSaveFile.fileName", o.source);
  EXPECT_EQ(L"File not found", o.description);
}

TEST_F(SaveFileCom, WriteWithoutAFileFailsNamingTheMember) {
  V line(L"x");
  const Outcome o = Late(file_).call(L"WriteTo", {V::byRef(line)});
  EXPECT_EQ(DISP_E_EXCEPTION, o.hr) << o;
  EXPECT_EQ(static_cast<SCODE>(0x800A005B), o.scode) << o;  // 91
  EXPECT_EQ(L"SmsManager.clsSaveFile.WriteTo", o.source);
}

TEST_F(SaveFileCom, LinesComeBackAsACollection) {
  const std::wstring path = tempFile(L"lumo-lines.txt");
  Late f(file_);
  ASSERT_EQ(S_OK, f.put(L"action", V(2)).hr);
  ASSERT_EQ(S_OK, f.put(L"fileName", V(path)).hr);
  for (const wchar_t* text : {L"头行", L"一", L"二", L"", L"三"}) {
    V line(text);
    ASSERT_EQ(S_OK, f.call(L"WriteTo", {V::byRef(line)}).hr);
  }
  ASSERT_EQ(S_OK, f.put(L"action", V(1)).hr);
  ASSERT_EQ(S_OK, f.put(L"fileName", V(path)).hr);
  EXPECT_EQ(L"头行", f.call(L"readFirstLine").text());
  Outcome lines = f.call(L"readLeftLines");
  ASSERT_EQ(S_OK, lines.hr) << lines;
  ASSERT_EQ(VT_DISPATCH, lines.result.vt());
  Late c(V_DISPATCH(lines.result.get()));
  EXPECT_EQ(2, c.get(L"Count").result.ref().lVal);
  EXPECT_EQ(L"二", c.call(L"Item", {V(2)}).text());
  EXPECT_EQ(2, f.get(L"lineNum").result.ref().lVal);
  lines = Outcome();
  ASSERT_EQ(S_OK, f.put(L"action", V(2)).hr);
  ASSERT_EQ(S_OK, f.put(L"fileName", V(tempFile(L"lumo-lines-2.txt"))).hr);  // lets go of the first file
  DeleteFileW(path.c_str());
}

TEST_F(SaveFileCom, ATargetHeldOpenByAnotherProgramIsRefusedWithPermissionDenied) {
  const std::wstring path = tempFile(L"lumo-held.ldg");
  {
    disptest::HeldFile held(path, "precious\r\n");
    ASSERT_TRUE(held.held());
    expectRefused(path);
  }
  EXPECT_EQ("precious\r\n", readFile(path)) << "the other program's file is untouched";
  expectSavesAgain(path);
  DeleteFileW(path.c_str());
}

TEST_F(SaveFileCom, AReadOnlyTargetIsRefusedWithPermissionDenied) {
  const std::wstring path = tempFile(L"lumo-readonly.ldg");
  ASSERT_TRUE(disptest::makeReadOnlyFile(path, "precious\r\n"));
  expectRefused(path);
  EXPECT_EQ("precious\r\n", readFile(path));
  EXPECT_TRUE(GetFileAttributesW(path.c_str()) & FILE_ATTRIBUTE_READONLY) << "the attribute stays";
  SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
  expectSavesAgain(path);
  disptest::removeReadOnlyFile(path);
}

}  // namespace
}  // namespace lumo::com
