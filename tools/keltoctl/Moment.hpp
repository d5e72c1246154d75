#pragma once

#include <cstdint>
#include <string>

namespace kelto::ctl {

// Moments are milliseconds since 1970.

/// For a person: short, in the local time zone, as LC_TIME has it ("01.05.2024 17:03"). Where no
/// language is set it is "2024-05-01 17:03".
[[nodiscard]] std::string localTime(std::int64_t milliseconds);

/// For a program: "2024-05-01T15:03:20.000Z". Empty for moments outside of the years 0 to 9999,
/// which that form cannot tell.
[[nodiscard]] std::string isoTime(std::int64_t milliseconds);

/// How long something took or will take, in its two largest units: "4 s", "3 min 2 s", "2 h",
/// "5 days 1 h". What is less than a second counts as one, unless it is nothing.
[[nodiscard]] std::string duration(std::int64_t milliseconds);

}  // namespace kelto::ctl
