// The list window's print preview: one page at a time, the size of an A4 sheet
// shrunk into the window, turned with the keys, the mouse and the scroll bar.
#pragma once

#include <windows.h>

#include "display/list_model.h"
#include "display/win/page_layout.h"
#include "win32/window.h"

namespace lumo::win32 {

class FrmPreview final : public Window {
 public:
  // Opens the preview of 'list' (which must outlive it) with 'title' on every
  // page, in 'font' (null: the default GUI font), owned by 'owner'.
  FrmPreview(const display::ListModel& list, const ustring& title, HFONT font, HWND owner);

 private:
  bool onMessage(UINT msg, WPARAM wParam, LPARAM lParam, LRESULT& result) override;
  void go(int32_t page);
  void updateCaption();
  void paint();

  PageMetrics page_;
  PageLayout layout_;
  int32_t current_ = 0;
};

}  // namespace lumo::win32
