// clsSaveFile through IDispatch: values and errors as a late-bound caller sees them.
#include <windows.h>

#include "com_support.h"

namespace comtest {
namespace {

class SaveFileCom : public ComObjectTest {
 protected:
  void SetUp() override {
    file_ = create(L"LumoSmsManager.clsSaveFile");
    ASSERT_NE(nullptr, file_);
  }
  void TearDown() override {
    if (file_) file_->Release();
    ComObjectTest::TearDown();
  }
  static std::wstring temp(const wchar_t* name) {
    wchar_t dir[MAX_PATH] = {};
    GetTempPathW(MAX_PATH, dir);
    std::wstring p = std::wstring(dir) + name;
    DeleteFileW(p.c_str());
    return p;
  }
  IDispatch* file_ = nullptr;
};

TEST_F(SaveFileCom, MissingFileFailsWithItsNumberAndSource) {
  Late f(file_);
  EXPECT_EQ(S_OK, f.put(L"action", V(1)).hr);
  const Outcome o = f.put(L"fileName", V(temp(L"lumo-missing.ldg")));
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
  const std::wstring path = temp(L"lumo-lines.txt");
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
  ASSERT_EQ(S_OK, f.put(L"fileName", V(temp(L"lumo-lines-2.txt"))).hr);  // lets go of the first file
  DeleteFileW(path.c_str());
}

}  // namespace
}  // namespace comtest
