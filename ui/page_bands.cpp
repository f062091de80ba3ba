#include "ui/page_bands.h"

#include <algorithm>

namespace lumo::ui {

PagePlan::PagePlan(std::span<const int32_t> columnTwips, int32_t dataRows, const PageFrame& frame,
                   const TextMeasure& measure)
    : rows_(std::max(0, dataRows)) {
  const int32_t dpi = std::max(1, frame.dpi);
  const int32_t padding = std::max(1, dpi * 6 / 96);
  line_ = std::max(1, std::max(measure.lineHeight(false), measure.lineHeight(true)) + padding);
  // Title (two lines), header line and footer line on every page.
  const int64_t usableHeight = int64_t(frame.height) - 2 * int64_t(frame.margin) - 4 * int64_t(line_);
  rowsPerPage_ = static_cast<int32_t>(std::clamp<int64_t>(usableHeight / line_, 1, INT32_MAX));
  blocks_ = std::max<int32_t>(1, static_cast<int32_t>((int64_t(rows_) + rowsPerPage_ - 1) / rowsPerPage_));

  const int64_t left = frame.margin;
  const int64_t right = std::max<int64_t>(left + 1, int64_t(frame.width) - frame.margin);
  auto widthOf = [&](std::size_t i) {
    // Twips to device units; a width no page could hold is still only cut at the margin.
    return int64_t(std::max(0, columnTwips[i])) * dpi / 1440;
  };
  const std::size_t n = columnTwips.size();
  repeatFirst_ = n > 1 && widthOf(0) * 2 <= right - left;

  auto place = [&](std::vector<PlacedColumn>& band, std::size_t i, int64_t x) {
    const int64_t end = x + widthOf(i);
    band.push_back(PlacedColumn{.column = static_cast<int32_t>(i + 1),
                                .left = static_cast<int32_t>(x),
                                .right = static_cast<int32_t>(std::min(end, right)),
                                .clipped = end > right});
    return std::min(end, right);
  };
  // The room a column has on a band of its own.
  const int64_t freshRoom = right - left - (repeatFirst_ ? widthOf(0) : 0);
  std::size_t next = 0;
  while (next < n) {
    std::vector<PlacedColumn> band;
    int64_t x = left;
    if (next > 0 && repeatFirst_) x = place(band, 0, x);
    const std::size_t firstHere = next;
    while (next < n) {
      // A column that does not fit goes to the next band when it gets more room
      // there; otherwise (a band's first column, or one wider than any band) it
      // is printed here, cut at the margin.
      if (next != firstHere && x + widthOf(next) > right && freshRoom > right - x) break;
      x = place(band, next, x);
      ++next;
    }
    bands_.push_back(std::move(band));
  }
  if (bands_.empty()) bands_.emplace_back();
}

PageContent PagePlan::page(int32_t index) const {
  index = std::clamp(index, 0, pageCount() - 1);
  PageContent p;
  p.block = index / bandCount();
  p.band = index % bandCount();
  p.firstRow = 1 + p.block * rowsPerPage_;
  p.lastRow = std::min(rows_, p.firstRow + rowsPerPage_ - 1);
  p.columns = bands_[static_cast<std::size_t>(p.band)];
  return p;
}

}  // namespace lumo::ui
