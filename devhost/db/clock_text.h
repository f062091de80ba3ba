// Moments as the development host writes them, "YYYY-MM-DD HH:MM:SS.fff" (local
// time, no zone), from a count of milliseconds since 1970-01-01. Header only: the
// database generator, which builds on its own, and the components share it.
#pragma once

#include <cstdio>
#include <string>

namespace lumo::devhost {

inline std::string clockText(long long millis) {
  long long days = millis >= 0 ? millis / 86400000 : (millis - 86399999) / 86400000;
  const long long ms = millis - days * 86400000;
  // The civil date of a day count (days since 1970-01-01).
  const long long z = days + 719468;
  const long long era = (z >= 0 ? z : z - 146096) / 146097;
  const long long doe = z - era * 146097;
  const long long yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  long long y = yoe + era * 400;
  const long long doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const long long mp = (5 * doy + 2) / 153;
  const long long d = doy - (153 * mp + 2) / 5 + 1;
  const long long m = mp < 10 ? mp + 3 : mp - 9;
  if (m <= 2) ++y;
  char buf[160];
  std::snprintf(buf, sizeof buf, "%04lld-%02lld-%02lld %02lld:%02lld:%02lld.%03lld", y, m, d, ms / 3600000,
                ms / 60000 % 60, ms / 1000 % 60, ms % 1000);
  return buf;
}

}  // namespace lumo::devhost
