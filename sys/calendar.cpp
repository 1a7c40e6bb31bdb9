// SPDX-License-Identifier: MIT

#include "sys/calendar.h"

namespace {

SYS_TIME FromFields(const tm& fields) {
  return {
      .year = static_cast<uint16_t>(1900 + fields.tm_year),
      .month = static_cast<uint16_t>(fields.tm_mon + 1),
      .day = static_cast<uint16_t>(fields.tm_mday),
      .hour = static_cast<uint16_t>(fields.tm_hour),
      .minute = static_cast<uint16_t>(fields.tm_min),
      .second = static_cast<uint16_t>(fields.tm_sec),
      .milliseconds = 0,
  };
}

}  // namespace

SYS_TIME calendar::Local(time_t instant) {
  tm fields{};
  localtime_r(&instant, &fields);
  return FromFields(fields);
}

SYS_TIME calendar::Utc(time_t instant) {
  tm fields{};
  gmtime_r(&instant, &fields);
  return FromFields(fields);
}
