#include "tools/keltoctl/Moment.hpp"

#include <array>
#include <clocale>
#include <cstdio>
#include <ctime>
#include <string_view>

#include <langinfo.h>

#include "tools/keltoctl/TerminalText.hpp"

namespace kelto::ctl {

namespace {

constexpr std::int64_t perSecond = 1000;

struct Unit {
    std::int64_t seconds;
    std::string_view name;
    bool hasPlural;
};
constexpr std::array units = {
    Unit{86400, "day", true}, Unit{3600, "h", false}, Unit{60, "min", false}, Unit{1, "s", false}};

std::string named(std::int64_t count, const Unit& unit) {
    if (unit.hasPlural) return counted(static_cast<std::size_t>(count), unit.name);
    return std::to_string(count) + " " + std::string(unit.name);
}

/// Rounded down, also before 1970.
std::int64_t wholeSeconds(std::int64_t milliseconds) {
    return milliseconds / perSecond - (milliseconds % perSecond < 0 ? 1 : 0);
}

bool hasNoLanguage() {
    const std::string_view name = std::setlocale(LC_TIME, nullptr);
    return name == "C" || name == "POSIX" || name.starts_with("C.");
}

const char* shortForm() {
    if (hasNoLanguage()) return "%Y-%m-%d %H:%M";
    // Where a language names the halves of the day, hours are counted to twelve.
    return *::nl_langinfo(AM_STR) == '\0' ? "%x %H:%M" : "%x %I:%M %p";
}

}  // namespace

std::string localTime(std::int64_t milliseconds) {
    const std::time_t seconds = wholeSeconds(milliseconds);
    std::tm parts{};
    std::array<char, 128> text{};
    if (::localtime_r(&seconds, &parts) == nullptr ||
        std::strftime(text.data(), text.size(), shortForm(), &parts) == 0)
        return std::to_string(milliseconds) + " ms";
    return text.data();
}

std::string isoTime(std::int64_t milliseconds) {
    const std::time_t seconds = wholeSeconds(milliseconds);
    std::tm parts{};
    if (::gmtime_r(&seconds, &parts) == nullptr) return "";
    constexpr int firstYear = 1900;
    const int year = parts.tm_year + firstYear;
    if (year < 0 || year > 9999) return "";
    std::array<char, 128> text{};
    std::snprintf(text.data(),
                  text.size(),
                  "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ",
                  year,
                  parts.tm_mon + 1,
                  parts.tm_mday,
                  parts.tm_hour,
                  parts.tm_min,
                  parts.tm_sec,
                  static_cast<int>(milliseconds - seconds * perSecond));
    return text.data();
}

std::string duration(std::int64_t milliseconds) {
    const std::int64_t all = (milliseconds + perSecond - 1) / perSecond;
    for (std::size_t at = 0; at < units.size(); ++at) {
        if (all < units[at].seconds) continue;
        std::string text = named(all / units[at].seconds, units[at]);
        if (at + 1 == units.size()) return text;
        const std::int64_t rest = all % units[at].seconds / units[at + 1].seconds;
        return rest == 0 ? text : text + " " + named(rest, units[at + 1]);
    }
    return "0 s";
}

}  // namespace kelto::ctl
