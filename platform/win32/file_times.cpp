#include "detail/file_times.h"

#include "system/posix/utc_offset.h"

#include <cstdint>

namespace {

constexpr std::uint64_t ticks_per_second = 10'000'000;
constexpr std::int64_t seconds_from_1601_to_1970 = 11'644'473'600;
constexpr std::uint64_t seconds_per_day = 86'400;

std::uint64_t ticks(const FILETIME& time) {
    return static_cast<std::uint64_t>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
}

FILETIME from_ticks(std::uint64_t value) {
    return {static_cast<DWORD>(value), static_cast<DWORD>(value >> 32)};
}

struct Date {
    WORD year, month, day;
};

// Days since 1601-01-01, which begins a 400-year cycle of the Gregorian calendar. Years are counted from
// March, so that the leap day is a year's last.
Date date_of_day(std::uint64_t days) {
    constexpr std::uint64_t days_per_cycle = 146'097;
    constexpr std::uint64_t days_from_march_1600 = 306;
    const std::uint64_t shifted = days + days_from_march_1600;
    const std::uint64_t day_of_cycle = shifted % days_per_cycle;
    const std::uint64_t year_of_cycle =
        (day_of_cycle - day_of_cycle / 1460 + day_of_cycle / 36'524 - day_of_cycle / 146'096) / 365;
    const std::uint64_t day_of_year =
        day_of_cycle - (365 * year_of_cycle + year_of_cycle / 4 - year_of_cycle / 100);
    const std::uint64_t month_from_march = (5 * day_of_year + 2) / 153;
    const std::uint64_t day = day_of_year - (153 * month_from_march + 2) / 5 + 1;
    const std::uint64_t month = month_from_march < 10 ? month_from_march + 3 : month_from_march - 9;
    const std::uint64_t year = 1600 + shifted / days_per_cycle * 400 + year_of_cycle + (month <= 2 ? 1 : 0);
    return {static_cast<WORD>(year), static_cast<WORD>(month), static_cast<WORD>(day)};
}

}  // namespace

namespace win32_detail {

FILETIME to_file_time(const timespec& time) {
    const std::int64_t seconds = time.tv_sec + seconds_from_1601_to_1970;
    if (seconds < 0) return from_ticks(0);
    return from_ticks(static_cast<std::uint64_t>(seconds) * ticks_per_second +
                      static_cast<std::uint64_t>(time.tv_nsec / 100));
}

}  // namespace win32_detail

BOOL FileTimeToLocalFileTime(const FILETIME* utc, FILETIME* local) {
    *local = from_ticks(ticks(*utc) +
                        static_cast<std::uint64_t>(system_detail::utc_offset_seconds()) * ticks_per_second);
    return TRUE;
}

BOOL FileTimeToSystemTime(const FILETIME* time, SYSTEMTIME* parts) {
    const std::uint64_t value = ticks(*time);
    if (value >> 63 != 0) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    const std::uint64_t seconds = value / ticks_per_second;
    const std::uint64_t days = seconds / seconds_per_day;
    const std::uint64_t second_of_day = seconds % seconds_per_day;
    const Date date = date_of_day(days);
    *parts = {date.year,
              date.month,
              static_cast<WORD>((days + 1) % 7),  // 1601-01-01 was a Monday
              date.day,
              static_cast<WORD>(second_of_day / 3600),
              static_cast<WORD>(second_of_day / 60 % 60),
              static_cast<WORD>(second_of_day % 60),
              static_cast<WORD>(value / 10'000 % 1000)};
    return TRUE;
}
